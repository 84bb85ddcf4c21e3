#pragma once

// The site list dialog: lists the saved sites and adds, edits and deletes them. It works on the
// in-memory list; the settings file gets adds and edits only when the dialog is left with Exit,
// while a delete reaches the file at once. Whenever it closes, the connection toolbar refills its
// list of sites from memory, so changes made and not saved still show there.

#include <QDialog>
#include <QString>
#include <cstdint>

class QCheckBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class frmToolbar;
namespace core {
class Session;
}

class frmSites : public QDialog {
    Q_OBJECT
public:
    // The toolbar's site names are refreshed whenever the dialog closes; `session` logs failures.
    frmSites(core::Session& session, frmToolbar* toolbar, QWidget* parent = nullptr);

    // Refills the list from the site list, one line per site, each remembering its site's index.
    void subRefreshList();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Escape over the open entry panel cancels the entry only; the list stays open.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void buildList();
    void buildEntryPanel();
    void connectBehaviours();
    QPushButton* addButton(QWidget* parent, const QString& name, const QString& caption);
    QLineEdit* addTextBox(const QString& name);

    void showEntryPanel(const QString& caption);
    void hideEntryPanel();
    void placeEntryPanel();
    std::int16_t selectedSiteIndex() const;

    void chkDUN_Click();
    void cmdAdd_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdExit_Click();
    void subApplyAdd(bool dialup);
    void subApplyEdit(bool dialup);

    core::Session& session_;
    frmToolbar* toolbar_;
    bool mblnAdding = false;
    std::int16_t mintEditIndex = -1;

    QListWidget* List_ = nullptr;
    QPushButton* cmdAdd_ = nullptr;
    QPushButton* cmdEdit_ = nullptr;
    QPushButton* cmdDelete_ = nullptr;
    QPushButton* cmdExit_ = nullptr;
    QGroupBox* elaAddEntry_ = nullptr;
    QLineEdit* txtName_ = nullptr;
    QLineEdit* txtAddress_ = nullptr;
    QLineEdit* txtPort_ = nullptr;
    QLineEdit* txtPassword_ = nullptr;
    QCheckBox* chkDUN_ = nullptr;
    QPushButton* cmdOK_ = nullptr;
    QPushButton* cmdCancel_ = nullptr;
};

// Shows the site list dialog modally over `owner`; returns when it is closed.
void showSitesDialog(core::Session& session, frmToolbar* toolbar, QWidget* owner);
