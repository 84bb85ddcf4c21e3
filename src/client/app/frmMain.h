#pragma once

// The main window: menus, the keyed status panels, the docking frame that holds the connection
// toolbar, the child windows, and the link with its event handlers.

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPointer>

class QAction;
class QDockWidget;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class frmToolbar;
class frmPowerSearch;
namespace sitelink {
class SiteLink;
}

class frmMain : public QMainWindow {
    Q_OBJECT
public:
    frmMain();
    ~frmMain() override;

    // The one main window of the run; nullptr before it is made and after it is gone.
    static frmMain* instance();

    sitelink::SiteLink& TillsightLink() { return *link_; }
    frmToolbar* toolbar() const { return toolbar_; }
    QDockWidget* DockFrame() const { return dockFrame_; }
    QMdiArea* mdiArea() const { return mdi_; }
    // The Power Search view, made (and shown as a child) first when it is not open.
    frmPowerSearch* powerSearch();

    // A status panel by its key ("Status", "Transactions", "Dates", "QueryTime", "Link").
    QLabel* statusPanel(const QString& key) const;
    // A menu item by its control name ("mnuViewRemoteLog", ...).
    QAction* menuItem(const QString& name) const;
    // Shows a view as a child window of the main window.
    QMdiSubWindow* showChild(QWidget* view);

    // The end of a full connect: the remote log can be viewed.
    void subConnected();

    // Runs the "Close All" of the Window menu.
    void closeAllViews();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void buildMenus();
    void buildStatusBar();
    void buildDock();
    void connectLinkEvents();
    void subShowRemoteLog();
    void tileChildren(Qt::Orientation orientation);
    void arrangeIcons();
    void refreshWindowList();
    QAction* addItem(QMenu* menu, const QString& name, const QString& caption);

    sitelink::SiteLink* link_;
    QMdiArea* mdi_;
    QDockWidget* dockFrame_ = nullptr;
    frmToolbar* toolbar_ = nullptr;
    QPointer<frmPowerSearch> powerSearch_;
    QHash<QString, QLabel*> panels_;
    QHash<QString, QAction*> menuItems_;
    QMenu* windowList_ = nullptr;
    QList<QAction*> windowListActions_;
};
