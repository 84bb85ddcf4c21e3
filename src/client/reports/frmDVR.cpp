#include "reports/frmDVR.h"

#include "core/AppGlobals.h"
#include "shared/modShared.h"

#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

frmDVR::frmDVR(QWidget* parent) : QDialog(parent) {
    setObjectName(u"frmDVR"_s);
    setWindowTitle(u"DVR Connection Method"_s);
    auto* options = new QWidget(this);
    optStandard_ = new QRadioButton(u"Kestrel Standard (Most DVRs)"_s, options);
    optStandard_->setObjectName(u"optMethod0"_s);
    optDVMS_ = new QRadioButton(u"DVMS Protocol"_s, options);
    optDVMS_->setObjectName(u"optMethod1"_s);
    auto* column = new QVBoxLayout(options);
    column->addWidget(optStandard_);
    column->addWidget(optDVMS_);
    cmdOK_ = modShared::layOutWithOkButton(this, options);

    // A method the dialog does not offer (a hand-edited file) leaves both options clear.
    if (QRadioButton* current = optMethod(gDVRMethod)) current->setChecked(true);
    modShared::subFormOnTop(this);
    resize(modShared::fncFittedSize(this, sizeHint()));
}

QRadioButton* frmDVR::optMethod(int index) const {
    switch (index) {
    case 0:
        return optStandard_;
    case 1:
        return optDVMS_;
    default:
        return nullptr;
    }
}

void frmDVR::done(int result) {
    gDVRMethod = optStandard_->isChecked() ? 0 : 1;
    modShared::subSaveOption(u"DVR"_s, u"Method"_s, QString::number(gDVRMethod));
    QDialog::done(result);
}
