#include "reports/frmExportFormat.h"

#include "shared/modShared.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

frmExportFormat::ModalHandler& modalHandler() {
    static frmExportFormat::ModalHandler handler;
    return handler;
}

} // namespace

frmExportFormat::frmExportFormat(QWidget* parent) : QDialog(parent) {
    setObjectName(u"frmExportFormat"_s);
    setWindowTitle(u"Export Format"_s);
    auto* layout = new QVBoxLayout(this);
    const std::array<QString, 3> captions{u"Comma Delimited Text"_s, u"HTML File"_s,
                                          u"MS Excel Spreadsheet"_s};
    for (std::size_t i = 0; i < captions.size(); ++i) {
        optFormat_[i] = new QRadioButton(captions[i], this);
        optFormat_[i]->setObjectName(u"optFormat%1"_s.arg(i));
        layout->addWidget(optFormat_[i]);
    }
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(u"OK"_s, QDialogButtonBox::AcceptRole);
    ok->setObjectName(u"cmdOK"_s);
    ok->setDefault(true);
    QPushButton* cancel = buttons->addButton(u"Cancel"_s, QDialogButtonBox::RejectRole);
    cancel->setObjectName(u"cmdCancel"_s);
    layout->addWidget(buttons);
    connect(ok, &QPushButton::clicked, this, &frmExportFormat::cmdOK_Click);
    // Cancel, Escape and the close box all leave Selection at the "0" the dialog opened with.
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmExportFormat::showEvent(QShowEvent* event) {
    optFormat_[0]->setChecked(true);
    mstrSelection = u"0"_s;
    QDialog::showEvent(event);
}

void frmExportFormat::cmdOK_Click() {
    for (std::size_t i = 0; i < optFormat_.size(); ++i)
        if (optFormat_[i]->isChecked()) mstrSelection = QString::number(i + 1);
    accept();
}

QString frmExportFormat::fncAskFormat() {
    frmExportFormat dialog(modShared::fncOwnerWindow());
    if (modalHandler()) {
        dialog.show();
        modalHandler()(dialog);
        dialog.close();
    } else {
        dialog.exec();
    }
    return dialog.Selection();
}

frmExportFormat::ModalHandler frmExportFormat::setModalHandler(ModalHandler handler) {
    return std::exchange(modalHandler(), std::move(handler));
}
