#include "link/frmToolbar.h"

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "link/CancelGuard.h"
#include "link/modMain.h"
#include "link/modRAS.h"
#include "settings/modSites.h"
#include "shared/ViewHost.h"
#include "shared/modShared.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QProgressBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

namespace {

// The button click goes on past any failure, one statement at a time: a refused step must not
// keep the user from the next one, and the link and the full connect report their own errors.
template <typename Statement> void resumeNext(Statement&& statement) {
    try {
        statement();
    } catch (...) {
    }
}

// The typed port as the link takes it; raises for empty text, letters or a value past 32 bits.
int portOf(const QLineEdit* box) {
    return vb::clng(vb::Variant(box->text()));
}

} // namespace

frmToolbar::frmToolbar(client::ViewHost& host, QWidget* parent) : QWidget(parent), host_(host) {
    setObjectName(u"frmToolbar"_s);
    setWindowTitle(u"Connection"_s);
    buildToolbar();
    buildFields();
    connectBehaviours();
    RefreshConnectionList();
}

void frmToolbar::buildToolbar() {
    Toolbar_ = new QToolBar(this);
    Toolbar_->setObjectName(u"Toolbar"_s);
    Toolbar_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    cmdConnect_ = Toolbar_->addAction(style()->standardIcon(QStyle::SP_DriveNetIcon), u"Connect"_s);
    cmdConnect_->setObjectName(u"Connect"_s);
    cmdDisconnect_ =
        Toolbar_->addAction(style()->standardIcon(QStyle::SP_BrowserStop), u"Disconnect"_s);
    cmdDisconnect_->setObjectName(u"Disconnect"_s);
}

QLineEdit* frmToolbar::addTextBox(const QString& name, const QString& tip) {
    auto* box = new QLineEdit(this);
    box->setObjectName(name);
    box->setToolTip(tip);
    box->installEventFilter(this);
    return box;
}

void frmToolbar::buildFields() {
    cboHost_ = new QComboBox(this);
    cboHost_->setObjectName(u"cboHost"_s);
    cboHost_->setEditable(true);
    cboHost_->setInsertPolicy(QComboBox::NoInsert);
    cboHost_->setToolTip(u"Site Name"_s);
    // Completing a half-typed name would make the fields look like a site the user never picked.
    cboHost_->setCompleter(nullptr);
    txtAddress_ = addTextBox(u"txtAddress"_s, u"URL/IP"_s);
    txtPort_ = addTextBox(u"txtPort"_s, u"Port"_s);
    txtPassword_ = addTextBox(u"txtPassword"_s, u"Password"_s);
    modShared::subMaskAsPassword(txtPassword_);
    chkDUN_ = new QCheckBox(this);
    chkDUN_->setObjectName(u"chkDUN"_s);
    chkDUN_->installEventFilter(this);
    lblDUN_ = new QLabel(u"Dialup"_s, this);
    lblDUN_->setObjectName(u"lblDUN"_s);
    ProgressBar_ = new QProgressBar(this);
    ProgressBar_->setObjectName(u"ProgressBar"_s);
    ProgressBar_->setRange(0, 100);
    ProgressBar_->setValue(0);
    ProgressBar_->setFormat(u"Progress Bar"_s);
    cmdCancel_ = new QToolButton(this);
    cmdCancel_->setObjectName(u"cmdCancel"_s);
    cmdCancel_->setText(u"Cancel"_s);
    cmdCancel_->setToolTip(u"Stop the running query (Esc)"_s);
    cancelGuard_ = new CancelGuard(cmdCancel_, this);

    // The address and the site name get the room; the rest keep their natural width.
    auto* elaMain = new QHBoxLayout(this);
    elaMain->setContentsMargins(2, 2, 2, 2);
    elaMain->addWidget(Toolbar_);
    elaMain->addWidget(cboHost_, 2);
    elaMain->addWidget(txtAddress_, 3);
    elaMain->addWidget(txtPort_, 1);
    elaMain->addWidget(txtPassword_, 1);
    elaMain->addWidget(chkDUN_);
    elaMain->addWidget(lblDUN_);
    elaMain->addWidget(ProgressBar_, 2);
    elaMain->addWidget(cmdCancel_);
}

void frmToolbar::connectBehaviours() {
    connect(cboHost_, &QComboBox::activated, this, [this] { cboHost_Click(); });
    connect(cboHost_, &QComboBox::editTextChanged, cboHost_, &QWidget::setToolTip);
    connect(txtAddress_, &QLineEdit::textChanged, txtAddress_, &QWidget::setToolTip);
    connect(txtPort_, &QLineEdit::textChanged, txtPort_, &QWidget::setToolTip);
    connect(chkDUN_, &QCheckBox::toggled, this, [this] { chkDUN_Click(); });
    connect(cmdConnect_, &QAction::triggered, this, [this] { Toolbar_ButtonClick(1); });
    connect(cmdDisconnect_, &QAction::triggered, this, [this] { Toolbar_ButtonClick(2); });
}

void frmToolbar::RefreshConnectionList() {
    cboHost_->clear();
    if (settings::gSiteCount < 1) return;
    for (std::size_t i = 0; i < settings::gSites.size(); ++i)
        cboHost_->addItem(settings::gSites[i].Name, static_cast<int>(i));
    // The combo box reports only the user's picks; one made here runs its behaviour itself.
    cboHost_->setCurrentIndex(0);
    cboHost_Click();
}

void frmToolbar::cboHost_Click() {
    const int entry = cboHost_->currentIndex();
    // Every entry names a site of the list: the list is refilled whenever the sites change.
    if (!cboHost_->currentText().isEmpty() && entry >= 0)
        showSite(settings::gSites.at(cboHost_->itemData(entry).toUInt()));
    cboHost_->setToolTip(cboHost_->currentText());
}

void frmToolbar::showSite(const settings::Site& site) {
    txtPort_->setText(QString::number(site.Port));
    txtPassword_->setText(site.Password);
    // Before the address: the dial-up box's own behaviour overwrites the address.
    chkDUN_->setChecked(site.DUN);
    txtAddress_->setText(site.Address);
}

void frmToolbar::chkDUN_Click() {
    const bool dialup = chkDUN_->isChecked();
    txtAddress_->setEnabled(!dialup);
    txtAddress_->setText(dialup ? u"Dialup"_s : QString());
}

bool frmToolbar::eventFilter(QObject* watched, QEvent* event) {
    if (watched == chkDUN_) {
        // A click by mouse means the fields no longer describe the saved site; the space key
        // toggles without that.
        if (event->type() == QEvent::MouseButtonRelease &&
            chkDUN_->rect().contains(static_cast<QMouseEvent*>(event)->position().toPoint()))
            cboHost_->setEditText(QString());
    } else if (event->type() == QEvent::KeyPress) {
        cboHost_->setEditText(QString());
    } else if (event->type() == QEvent::FocusIn) {
        modShared::subSelectAllText();
    }
    return QWidget::eventFilter(watched, event);
}

void frmToolbar::Toolbar_ButtonClick(int index) {
    if (index == 1) {
        subConnect();
    } else if (index == 2) {
        resumeNext([this] { host_.session().TillsightLink().Disconnect(); });
    }
}

void frmToolbar::subConnect() {
    if (gConnected) return;
    resumeNext([this] { host_.session().TillsightLink().setPassword(txtPassword_->text()); });
    if (chkDUN_->isChecked()) {
        subConnectDialup();
    } else {
        resumeNext(
            [this] { modMain::subFullConnect(host_, txtAddress_->text(), portOf(txtPort_)); });
    }
}

void frmToolbar::subConnectDialup() {
    const QString address = modRAS::fncGetDialupAddress();
    if (address.isEmpty()) {
        resumeNext([] {
            modShared::fncMessageBox(u"No dialup connection is currently active"_s, QString(),
                                     modShared::vbOKOnly);
        });
        return;
    }
    txtAddress_->setText(address);
    resumeNext([this, &address] { modMain::subFullConnect(host_, address, portOf(txtPort_)); });
}
