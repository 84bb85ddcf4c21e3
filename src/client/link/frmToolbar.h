#pragma once

// The connection toolbar: pick a saved site or type an address, port and password, say whether the
// site is reached over the active dial-up connection, and connect or disconnect. It also carries
// the progress bar the link drives, and beside it the Cancel that stops the link's call (with its
// guard, which keeps every other input away while the link waits). It lives for the whole run,
// docked in the main window.

#include <QWidget>

class CancelGuard;
class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QToolBar;
class QToolButton;
namespace settings {
struct Site;
}
namespace client {
class ViewHost;
}

class frmToolbar : public QWidget {
    Q_OBJECT
public:
    explicit frmToolbar(client::ViewHost& host, QWidget* parent = nullptr);

    // Refills the site names from the site list and shows the first site's details.
    void RefreshConnectionList();

    // The main window writes the link's progress here (value and its format as the caption).
    QProgressBar* ProgressBar() const { return ProgressBar_; }
    // Enabled while the link waits; the guard is what the main window hands the link.
    QToolButton* CancelButton() const { return cmdCancel_; }
    CancelGuard* cancelGuard() const { return cancelGuard_; }

    QToolBar* Toolbar() const { return Toolbar_; }
    QAction* ConnectButton() const { return cmdConnect_; }
    QAction* DisconnectButton() const { return cmdDisconnect_; }
    QComboBox* cboHost() const { return cboHost_; }
    QLineEdit* txtAddress() const { return txtAddress_; }
    QLineEdit* txtPort() const { return txtPort_; }
    QLineEdit* txtPassword() const { return txtPassword_; }
    QCheckBox* chkDUN() const { return chkDUN_; }
    QLabel* lblDUN() const { return lblDUN_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildToolbar();
    void buildFields();
    void connectBehaviours();
    QLineEdit* addTextBox(const QString& name, const QString& tip);

    void cboHost_Click();
    void showSite(const settings::Site& site);
    void chkDUN_Click();
    void Toolbar_ButtonClick(int index);
    void subConnect();
    void subConnectDialup();

    client::ViewHost& host_;
    QToolBar* Toolbar_ = nullptr;
    QAction* cmdConnect_ = nullptr;
    QAction* cmdDisconnect_ = nullptr;
    QComboBox* cboHost_ = nullptr;
    QLineEdit* txtAddress_ = nullptr;
    QLineEdit* txtPort_ = nullptr;
    QLineEdit* txtPassword_ = nullptr;
    QCheckBox* chkDUN_ = nullptr;
    QLabel* lblDUN_ = nullptr;
    QProgressBar* ProgressBar_ = nullptr;
    QToolButton* cmdCancel_ = nullptr;
    CancelGuard* cancelGuard_ = nullptr;
};
