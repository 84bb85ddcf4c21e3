#pragma once

// The main window: menus, the keyed status panels, the docking frame that holds the connection
// toolbar, the child windows, and the link with its event handlers.

#include "dvr/DvrMethod.h"
#include "shared/GuiFeedback.h"
#include "shared/ViewHost.h"

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <functional>

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

// The host of every view: the session they work on, the status panels, the child windows.
class frmMain : public QMainWindow, public client::ViewHost {
    Q_OBJECT
public:
    frmMain();
    ~frmMain() override;

    core::Session& session() override { return *session_; }
    sitelink::SiteLink& TillsightLink();
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

    void subSetStatusPanel(const QString& key, const QString& text) override;
    void subShowReport(const client::ReportRequest& request) override;
    void subShowChart(const QString& title, const std::shared_ptr<rs::Recordset>& records) override;
    void subShowDailySummary(double reportDate) override;
    // The end of a full connect: the Power Search view fills its lists, the remote log can be
    // viewed.
    void subConnected() override;
    dvr::Endpoints dvrEndpoints() const override { return dvrEndpoints_; }
    // Where report views opened from now on reach the video viewer (tests point them at viewers
    // of their own).
    void setDvrEndpoints(const dvr::Endpoints& endpoints) { dvrEndpoints_ = endpoints; }

    // Runs the "Close All" of the Window menu.
    void closeAllViews();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    void buildStatusBar();
    void buildDock();
    void connectLinkEvents();
    void subShowRemoteLog();
    // The window's first size: the designed one, or more where the children need it.
    QSize fncOpeningSize();
    void subFitStatusBar();
    void tileChildren(Qt::Orientation orientation);
    void keepFixedSizes(const std::function<void()>& arrange);
    void arrangeIcons();
    void refreshWindowList();
    QAction* addItem(QMenu* menu, const QString& name, const QString& caption);

    client::GuiFeedback feedback_;
    core::Session* session_;
    dvr::Endpoints dvrEndpoints_;
    QMdiArea* mdi_;
    QDockWidget* dockFrame_ = nullptr;
    frmToolbar* toolbar_ = nullptr;
    QPointer<frmPowerSearch> powerSearch_;
    QHash<QString, QLabel*> panels_;
    QHash<QString, QAction*> menuItems_;
    QMenu* windowList_ = nullptr;
    QList<QAction*> windowListActions_;
};
