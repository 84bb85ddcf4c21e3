#include "link/frmSites.h"

#include "core/AppGlobals.h"
#include "core/modError.h"
#include "link/frmToolbar.h"
#include "settings/modSites.h"
#include "shared/modShared.h"
#include "vb/Convert.h"

#include <QCheckBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <exception>

using namespace Qt::Literals::StringLiterals;
using settings::gSites;

namespace {

void showMessage(const QString& text) {
    modShared::fncMessageBox(text, core::applicationTitle(), modShared::vbOKOnly);
}

settings::Site& siteAt(std::int16_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= gSites.size())
        vb::raise(vb::err::SubscriptOutOfRange);
    return gSites[static_cast<std::size_t>(index)];
}

// The password itself is never shown, only its length.
QString lineOf(const settings::Site& site) {
    return site.Name + u" - Address: "_s + site.Address + u"  Port: "_s +
           QString::number(site.Port) + u"  Password: "_s + QString(site.Password.size(), u'*');
}

} // namespace

frmSites::frmSites(core::Session& session, frmToolbar* toolbar, QWidget* parent)
    : QDialog(parent), session_(session), toolbar_(toolbar) {
    setObjectName(u"frmSites"_s);
    setWindowTitle(u"Tillsight Remote Sites"_s);
    buildEntryPanel();
    buildList();
    connectBehaviours();
    subRefreshList();
}

QPushButton* frmSites::addButton(QWidget* parent, const QString& name, const QString& caption) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    // Enter in a text box must not press whichever button happens to come next.
    button->setAutoDefault(false);
    return button;
}

QLineEdit* frmSites::addTextBox(const QString& name) {
    auto* box = new QLineEdit(elaAddEntry_);
    box->setObjectName(name);
    return box;
}

void frmSites::buildEntryPanel() {
    elaAddEntry_ = new QGroupBox(this);
    elaAddEntry_->setObjectName(u"elaAddEntry"_s);
    // The panel lies over the list, which must not show through it.
    elaAddEntry_->setAutoFillBackground(true);
    // Captioned from the start, so that the list, sized to the panel, makes room for the caption.
    elaAddEntry_->setTitle(u"Edit Site"_s);
    elaAddEntry_->hide();
    txtName_ = addTextBox(u"txtName"_s);
    txtAddress_ = addTextBox(u"txtAddress"_s);
    txtPort_ = addTextBox(u"txtPort"_s);
    txtPassword_ = addTextBox(u"txtPassword"_s);
    modShared::subMaskAsPassword(txtPassword_);
    chkDUN_ = new QCheckBox(u"Dialup Networking Connection"_s, elaAddEntry_);
    chkDUN_->setObjectName(u"chkDUN"_s);
    cmdOK_ = addButton(elaAddEntry_, u"cmdOK"_s, u"OK"_s);
    cmdCancel_ = addButton(elaAddEntry_, u"cmdCancel"_s, u"Cancel"_s);

    auto* fields = new QFormLayout(elaAddEntry_);
    fields->addRow(u"Name"_s, txtName_);
    fields->addRow(u"Address"_s, txtAddress_);
    fields->addRow(u"Port"_s, txtPort_);
    fields->addRow(u"Password"_s, txtPassword_);
    fields->addRow(chkDUN_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdCancel_);
    fields->addRow(buttons);
}

void frmSites::buildList() {
    List_ = new QListWidget(this);
    List_->setObjectName(u"List"_s);
    List_->setSelectionMode(QAbstractItemView::SingleSelection);
    // The panel takes the list's place, so the list is never smaller than the panel needs.
    List_->setMinimumSize(elaAddEntry_->sizeHint());
    List_->installEventFilter(this);
    cmdAdd_ = addButton(this, u"cmdAdd"_s, u"Add"_s);
    cmdEdit_ = addButton(this, u"cmdEdit"_s, u"Edit"_s);
    cmdDelete_ = addButton(this, u"cmdDelete"_s, u"Delete"_s);
    cmdExit_ = addButton(this, u"cmdExit"_s, u"Exit"_s);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cmdAdd_);
    buttons->addWidget(cmdEdit_);
    buttons->addWidget(cmdDelete_);
    buttons->addStretch();
    buttons->addWidget(cmdExit_);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(List_, 1);
    layout->addLayout(buttons);
    resize(modShared::fncFittedSize(this, {560, minimumSizeHint().height()}));
}

void frmSites::connectBehaviours() {
    connect(chkDUN_, &QCheckBox::toggled, this, [this] { chkDUN_Click(); });
    connect(cmdAdd_, &QPushButton::clicked, this, [this] { cmdAdd_Click(); });
    connect(cmdEdit_, &QPushButton::clicked, this, [this] { cmdEdit_Click(); });
    connect(List_, &QListWidget::itemDoubleClicked, this, [this] { cmdEdit_Click(); });
    connect(cmdDelete_, &QPushButton::clicked, this, [this] { cmdDelete_Click(); });
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    connect(cmdCancel_, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });
    connect(cmdExit_, &QPushButton::clicked, this, [this] { cmdExit_Click(); });
    // Exit, the close box and Escape all end here.
    connect(this, &QDialog::finished, this, [this] {
        if (toolbar_) toolbar_->RefreshConnectionList();
    });
}

void frmSites::subRefreshList() {
    try {
        List_->clear();
        if (settings::gSiteCount <= 0) return;
        for (std::size_t i = 0; i < gSites.size(); ++i) {
            auto* line = new QListWidgetItem(lineOf(gSites[i]), List_);
            line->setData(Qt::UserRole, static_cast<int>(i));
        }
    } catch (const vb::VbError& error) {
        modError::subLogError(session_, error, u"frmSites"_s, u"subRefreshList"_s);
    }
}

bool frmSites::eventFilter(QObject* watched, QEvent* event) {
    // The panel follows the list when the dialog is resized while it is shown.
    if (watched == List_ && (event->type() == QEvent::Resize || event->type() == QEvent::Move) &&
        elaAddEntry_->isVisible())
        placeEntryPanel();
    return QDialog::eventFilter(watched, event);
}

void frmSites::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier &&
        elaAddEntry_->isVisible()) {
        cmdCancel_Click();
        List_->setFocus();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmSites::placeEntryPanel() {
    elaAddEntry_->setGeometry(List_->geometry());
}

void frmSites::showEntryPanel(const QString& caption) {
    elaAddEntry_->setTitle(caption);
    placeEntryPanel();
    elaAddEntry_->show();
    elaAddEntry_->raise();
    txtName_->setFocus();
}

// The dial-up box and the address box's enabled state are left as they are, so they carry over
// to the next Add or Edit.
void frmSites::hideEntryPanel() {
    elaAddEntry_->hide();
    txtName_->clear();
    txtPort_->clear();
    txtPassword_->clear();
    txtAddress_->clear();
}

std::int16_t frmSites::selectedSiteIndex() const {
    const QList<QListWidgetItem*> selected = List_->selectedItems();
    if (selected.isEmpty()) return -1;
    return static_cast<std::int16_t>(selected.front()->data(Qt::UserRole).toInt());
}

void frmSites::chkDUN_Click() {
    const bool dialup = chkDUN_->isChecked();
    txtAddress_->setText(dialup ? u"Dialup"_s : QString());
    txtAddress_->setEnabled(!dialup);
}

void frmSites::cmdAdd_Click() {
    mblnAdding = true;
    showEntryPanel(u"Add Site"_s);
}

// Leaves the dialog adding when Add came first: OK then adds the edited fields as a new site.
void frmSites::cmdEdit_Click() {
    const std::int16_t index = selectedSiteIndex();
    if (index < 0) return;
    mintEditIndex = index;
    const settings::Site site = siteAt(index);
    txtName_->setText(site.Name);
    txtPort_->setText(QString::number(site.Port));
    txtPassword_->setText(site.Password);
    // Before the address: the box's own behaviour overwrites it, and the stored address wins.
    chkDUN_->setChecked(site.DUN);
    txtAddress_->setText(site.Address);
    showEntryPanel(u"Edit Site"_s);
}

void frmSites::cmdDelete_Click() {
    const std::int16_t index = selectedSiteIndex();
    if (index < 0) return;
    try {
        // A failed file write raises before the list changes, so the lines still hold.
        settings::subDeleteSite(siteAt(index).Name);
        subRefreshList();
    } catch (const std::exception&) {
    }
}

void frmSites::cmdOK_Click() {
    if (txtName_->text().isEmpty() || txtAddress_->text().isEmpty() || txtPort_->text().isEmpty()) {
        showMessage(u"You must enter a site name, address and port"_s);
        return;
    }
    if (const auto refusal = settings::siteNameRefusal(txtName_->text())) {
        showMessage(*refusal);
        return;
    }
    const bool dialup = chkDUN_->isChecked();
    try {
        if (mblnAdding)
            subApplyAdd(dialup);
        else if (mintEditIndex != -1)
            subApplyEdit(dialup);
    } catch (const vb::VbError& error) {
        // A failure the dialog does not expect (a port that is no number on Edit, one past 32
        // bits) is reported as the run-time reports it. The program goes on: ending it would lose
        // the unsaved changes of the whole list over one mistyped field.
        modShared::subShowRunTimeError(error.number(), error.description());
        return;
    }
    subRefreshList();
}

void frmSites::subApplyAdd(bool dialup) {
    // The leading number of the text: "80x" is port 80, "abc" port 0.
    const std::int32_t port = vb::clng(vb::Variant(vb::val(txtPort_->text())));
    if (!settings::fncAddSite(txtName_->text(), txtAddress_->text(), dialup, port,
                              txtPassword_->text())) {
        showMessage(u"Add failed. An entry of the same name may already exist."_s);
        return;
    }
    mblnAdding = false;
    hideEntryPanel();
}

void frmSites::subApplyEdit(bool dialup) {
    const std::int16_t found = settings::fncFindSite(txtName_->text());
    if (found != -1 && found != mintEditIndex) {
        showMessage(u"Can't apply changes. Site Name already exists."_s);
        return;
    }
    // Converted before anything is written, so a port that is no number leaves the site whole.
    const std::int32_t port = vb::clng(vb::Variant(txtPort_->text()));
    settings::Site& site = siteAt(mintEditIndex);
    site.Name = txtName_->text();
    site.Port = port;
    site.Password = txtPassword_->text();
    site.Address = txtAddress_->text();
    site.DUN = dialup;
    mintEditIndex = -1;
    hideEntryPanel();
}

void frmSites::cmdCancel_Click() {
    hideEntryPanel();
    mintEditIndex = -1;
    mblnAdding = false;
}

void frmSites::cmdExit_Click() {
    settings::subSaveSites();
    accept();
}

void showSitesDialog(core::Session& session, frmToolbar* toolbar, QWidget* owner) {
    frmSites dialog(session, toolbar, owner);
    dialog.exec();
}
