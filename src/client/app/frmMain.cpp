#include "app/frmMain.h"

#include "app/frmAbout.h"
#include "app/frmPrintOption.h"
#include "core/AppGlobals.h"
#include "core/Session.h"
#include "core/modError.h"
#include "link/CancelGuard.h"
#include "link/frmSites.h"
#include "link/frmToolbar.h"
#include "link/modMain.h"
#include "queries/frmPowerSearch.h"
#include "reports/frmDVR.h"
#include "reports/frmReportOutput.h"
#include "settings/HelpMail.h"
#include "settings/modIni.h"
#include "settings/modSites.h"
#include "shared/modShared.h"
#include "sitelink/SiteLink.h"
#include "summary/frmChart.h"
#include "summary/frmDailySummary.h"
#include "vb/Convert.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QLabel>
#include <QLayout>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kDesignedSize(800, 600);

const QStringList kPanelKeys = {u"Status"_s, u"Transactions"_s, u"Dates"_s, u"QueryTime"_s,
                                u"Link"_s};

} // namespace

frmMain::frmMain()
    : session_(new core::Session(&feedback_, &feedback_, this)), mdi_(new QMdiArea(this)) {
    setObjectName(u"frmMain"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(u"Tillsight"_s);
    setCentralWidget(mdi_);
    buildMenus();
    buildStatusBar();
    connectLinkEvents();
    modError::installAsSettingsFailureLog(*session_);

    gDVRMethod = static_cast<std::int16_t>(
        settings::fncGetIniInt(u"DVR"_s, u"Method"_s, 0, settings::fncIniFile()));
    gEnablePreview =
        settings::fncGetIniInt(u"Printing"_s, u"enablePreview"_s, 0, settings::fncIniFile()) != 0;
    setWindowTitle(core::applicationTitle());
    subSetStatusPanel(u"Status"_s, u"Not connected"_s);
    settings::subLoadSites();
    buildDock();
    powerSearch();
    resize(fncOpeningSize());
    menuItem(u"mnuViewRemoteLog"_s)->setEnabled(false);
}

QSize frmMain::fncOpeningSize() {
    // The child windows need their room inside the MDI area, which alone asks for none: the
    // window is measured as if the area asked for room for each of them at its place.
    QSize children;
    for (const QMdiSubWindow* w : mdi_->subWindowList())
        children = children.expandedTo(
            QSize(w->x() + w->sizeHint().width(), w->y() + w->sizeHint().height()));
    const QSize areaMinimum = mdi_->minimumSize();
    mdi_->setMinimumSize(children.expandedTo(areaMinimum));
    layout()->invalidate();
    const QSize needed = minimumSizeHint();
    mdi_->setMinimumSize(areaMinimum);
    layout()->invalidate();
    return kDesignedSize.expandedTo(needed);
}

frmMain::~frmMain() {
    // The link goes with the window's children; none of its last events may reach a window that
    // is half gone.
    QObject::disconnect(&TillsightLink(), nullptr, this, nullptr);
    TillsightLink().setInputGuard(nullptr);
}

sitelink::SiteLink& frmMain::TillsightLink() {
    return session_->TillsightLink();
}

QAction* frmMain::addItem(QMenu* menu, const QString& name, const QString& caption) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    menuItems_.insert(name, action);
    return action;
}

void frmMain::buildMenus() {
    QMenu* program = menuBar()->addMenu(u"Program"_s);
    program->setObjectName(u"mnuProgram"_s);
    connect(addItem(program, u"mnuExit"_s, u"Exit"_s), &QAction::triggered, this, &QWidget::close);

    QMenu* view = menuBar()->addMenu(u"View"_s);
    view->setObjectName(u"mnuView"_s);
    for (const auto& [name, caption] :
         {std::pair{u"mnuViewConnectionToolbar"_s, u"Connection Toolbar"_s},
          std::pair{u"mnuViewStatusBar"_s, u"Status Bar"_s}}) {
        QAction* item = addItem(view, name, caption);
        item->setCheckable(true);
        item->setChecked(true);
    }
    connect(menuItem(u"mnuViewStatusBar"_s), &QAction::toggled, statusBar(), &QWidget::setVisible);

    QMenu* options = menuBar()->addMenu(u"Options"_s);
    options->setObjectName(u"mnuOptions"_s);
    connect(addItem(options, u"mnuSites"_s, u"Sites"_s), &QAction::triggered, this,
            [this] { showSitesDialog(*session_, toolbar_, this); });
    addItem(options, u"mnuDVR"_s, u"DVR"_s);
    connect(menuItem(u"mnuDVR"_s), &QAction::triggered, this, [this] {
        frmDVR dialog(this);
        dialog.exec();
    });
    connect(addItem(options, u"mnuPrinting"_s, u"Printing"_s), &QAction::triggered, this, [this] {
        frmPrintOption dialog(this);
        dialog.exec();
    });
    connect(addItem(options, u"mnuViewRemoteLog"_s, u"View Remote Log"_s), &QAction::triggered,
            this, [this] {
                if (gConnected) subShowRemoteLog();
            });

    QMenu* window = menuBar()->addMenu(u"Window"_s);
    window->setObjectName(u"mnuWindow"_s);
    connect(addItem(window, u"mnuTileH"_s, u"Tile Horizontally"_s), &QAction::triggered, this,
            [this] { keepFixedSizes([this] { tileChildren(Qt::Horizontal); }); });
    connect(addItem(window, u"mnuTileV"_s, u"Tile Vertically"_s), &QAction::triggered, this,
            [this] { keepFixedSizes([this] { tileChildren(Qt::Vertical); }); });
    connect(addItem(window, u"mnuCascade"_s, u"Cascade"_s), &QAction::triggered, this,
            [this] { keepFixedSizes([this] { mdi_->cascadeSubWindows(); }); });
    connect(addItem(window, u"mnuArrangeIcons"_s, u"Arrange Icons"_s), &QAction::triggered, this,
            &frmMain::arrangeIcons);
    connect(addItem(window, u"mnuCloseAll"_s, u"Close All"_s), &QAction::triggered, this,
            &frmMain::closeAllViews);
    window->addSeparator();
    windowList_ = window;
    connect(window, &QMenu::aboutToShow, this, &frmMain::refreshWindowList);

    QMenu* help = menuBar()->addMenu(u"Help"_s);
    help->setObjectName(u"mnuHelp"_s);
    connect(addItem(help, u"mnuEmailQuestion"_s, u"Ask a question"_s), &QAction::triggered, this,
            [this] {
                modShared::subSendMailLink(this, settings::helpMailAddresses().support,
                                           u"Tillsight Support Request"_s, QString());
            });
    connect(addItem(help, u"mnuEmailBug"_s, u"Report a bug"_s), &QAction::triggered, this, [this] {
        modShared::subSendMailLink(this, settings::helpMailAddresses().bugReport,
                                   u"Tillsight Bug Report"_s, QString());
    });
    connect(addItem(help, u"mnuAbout"_s, u"About"_s), &QAction::triggered, this, [this] {
        frmAbout about(session_, this);
        about.exec();
    });
}

void frmMain::buildStatusBar() {
    statusBar()->setObjectName(u"StatusBar"_s);
    for (const QString& key : kPanelKeys) {
        auto* panel = new QLabel(statusBar());
        panel->setObjectName(key);
        panel->setFrameShape(QFrame::StyledPanel);
        panel->setVisible(false);
        // The first panel takes the spare width, as the status text is the longest.
        statusBar()->addWidget(panel, key == u"Status" ? 1 : 0);
        panels_.insert(key, panel);
    }
}

void frmMain::buildDock() {
    dockFrame_ = new QDockWidget(u"Connection"_s, this);
    dockFrame_->setObjectName(u"DockFrame"_s);
    dockFrame_->setAllowedAreas(Qt::TopDockWidgetArea | Qt::BottomDockWidgetArea);
    toolbar_ = new frmToolbar(*this, dockFrame_);
    dockFrame_->setWidget(toolbar_);
    addDockWidget(Qt::TopDockWidgetArea, dockFrame_);
    TillsightLink().setInputGuard(toolbar_->cancelGuard());
    connect(menuItem(u"mnuViewConnectionToolbar"_s), &QAction::triggered, dockFrame_,
            &QWidget::setVisible);
    // The pane's own close box clears the check mark. Only a close says so: hiding the whole
    // window hides the pane too, and floating or docking it hides it for a moment.
    dockFrame_->installEventFilter(this);
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched == dockFrame_ && event->type() == QEvent::Close)
        menuItem(u"mnuViewConnectionToolbar"_s)->setChecked(false);
    return QMainWindow::eventFilter(watched, event);
}

QLabel* frmMain::statusPanel(const QString& key) const {
    return panels_.value(key);
}

void frmMain::subSetStatusPanel(const QString& key, const QString& text) {
    QLabel* panel = statusPanel(key);
    if (!panel) return;
    if (text.isEmpty()) {
        panel->setVisible(false);
        panel->setText(QString());
        panel->setToolTip(QString());
        return;
    }
    panel->setVisible(true);
    panel->setText(text + u' ');
    panel->setToolTip(text);
    subFitStatusBar();
}

void frmMain::subFitStatusBar() {
    // The panels share one line, and a window too narrow for them cuts their texts. The window
    // grows to show them whole, as far as its screen has room.
    QLayout* panels = statusBar()->layout();
    if (!isVisible() || !panels) return;
    panels->activate();
    const int needed = width() - statusBar()->width() + panels->minimumSize().width();
    const int room = screen()->availableGeometry().width() - (frameGeometry().width() - width());
    if (width() < needed && width() < room) resize(std::min(needed, room), height());
}

QAction* frmMain::menuItem(const QString& name) const {
    return menuItems_.value(name);
}

QMdiSubWindow* frmMain::showChild(QWidget* view) {
    QMdiSubWindow* sub = mdi_->addSubWindow(view);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->setWindowIcon(QIcon());
    view->show();
    sub->show();
    return sub;
}

frmPowerSearch* frmMain::powerSearch() {
    if (!powerSearch_) {
        powerSearch_ = new frmPowerSearch(*this);
        QMdiSubWindow* sub = showChild(powerSearch_);
        // The view keeps its fixed size; the frame only adds its border.
        sub->setWindowFlags(sub->windowFlags() & ~Qt::WindowMaximizeButtonHint);
        sub->adjustSize();
    }
    return powerSearch_;
}

void frmMain::subConnected() {
    frmPowerSearch* search = powerSearch();
    modShared::subEnableControls(search, true);
    search->subInitForm();
    menuItem(u"mnuViewRemoteLog"_s)->setEnabled(true);
}

void frmMain::subShowReport(const client::ReportRequest& request) {
    if (!request.records) return;
    auto* view = new frmReportOutput(this);
    view->setReportTitle(request.title);
    view->setRecordset(request.records);
    view->setReg2CamTable(request.reg2Cam);
    view->setGroupFirstN(request.groupFirstN);
    showChild(view);
}

void frmMain::subShowChart(const QString& title, const std::shared_ptr<rs::Recordset>& records) {
    auto* view = new frmChart(this);
    view->setChartTitle(title);
    view->setRecordset(records);
    if (!view->fncLoad()) {
        delete view;
        return;
    }
    showChild(view);
}

void frmMain::subShowDailySummary(double reportDate) {
    auto* view = new frmDailySummary(this);
    view->setReportDate(reportDate);
    view->subLoad();
    showChild(view);
}

void frmMain::subShowRemoteLog() {
    const auto log = TillsightLink().OpenRecordset(u"select * from tblLog"_s);
    // An empty log, or a query that returned no set, shows nothing and says nothing.
    if (!rs::fncHasRecords(log)) return;
    subShowReport({u"Tillsight Log"_s, log, nullptr, 0});
}

void frmMain::tileChildren(Qt::Orientation orientation) {
    const QList<QMdiSubWindow*> windows = mdi_->subWindowList();
    const QList<QMdiSubWindow*> open = [&] {
        QList<QMdiSubWindow*> shown;
        for (QMdiSubWindow* w : windows)
            if (!w->isMinimized() && w->isVisible()) shown << w;
        return shown;
    }();
    if (open.isEmpty()) return;
    const QRect area = mdi_->viewport()->rect();
    const int n = static_cast<int>(open.size());
    for (int i = 0; i < n; ++i) {
        QRect r;
        if (orientation == Qt::Horizontal) // one above the other, each the full width
            r = QRect(0, area.height() * i / n, area.width(), area.height() / n);
        else
            r = QRect(area.width() * i / n, 0, area.width() / n, area.height());
        open[i]->showNormal();
        // A tile narrower than a view's buttons would cut them; such a tile overlaps the next.
        r.setSize(r.size().expandedTo(open[i]->minimumSizeHint()));
        open[i]->setGeometry(r);
    }
}

void frmMain::keepFixedSizes(const std::function<void()>& arrange) {
    // A view of fixed size (the Power Search) is placed like the others but keeps its size: a
    // frame of another size would hide part of it or show nothing around it.
    QList<std::pair<QMdiSubWindow*, QSize>> fixed;
    for (QMdiSubWindow* w : mdi_->subWindowList()) {
        const QWidget* view = w->widget();
        if (view && view->minimumSize() == view->maximumSize()) fixed.append({w, w->size()});
    }
    arrange();
    for (const auto& [w, size] : fixed)
        if (!w->isMinimized() && !w->isMaximized()) w->resize(size);
}

void frmMain::arrangeIcons() {
    // Minimised children lined up along the bottom edge, left to right.
    int x = 0;
    const int bottom = mdi_->viewport()->height();
    for (QMdiSubWindow* w : mdi_->subWindowList()) {
        if (!w->isMinimized()) continue;
        w->move(x, bottom - w->height());
        x += w->width();
    }
}

void frmMain::refreshWindowList() {
    for (QAction* action : windowListActions_) {
        windowList_->removeAction(action);
        delete action;
    }
    windowListActions_.clear();
    int number = 1;
    for (QMdiSubWindow* w : mdi_->subWindowList()) {
        QAction* action = windowList_->addAction(u"&%1 %2"_s.arg(number++).arg(w->windowTitle()));
        action->setCheckable(true);
        action->setChecked(w == mdi_->activeSubWindow());
        connect(action, &QAction::triggered, this, [this, w] { mdi_->setActiveSubWindow(w); });
        windowListActions_ << action;
    }
}

void frmMain::closeAllViews() {
    for (QMdiSubWindow* w : mdi_->subWindowList()) {
        if (w->widget() && w->widget()->objectName() == u"frmToolbar") continue;
        if (auto* search = qobject_cast<frmPowerSearch*>(w->widget())) search->unload();
        w->close();
    }
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top == this || !top->isVisible() || top->objectName() == u"frmToolbar") continue;
        // A floating pane is a window of its own, and the toolbar lives in it.
        if (toolbar_ && top->isAncestorOf(toolbar_)) continue;
        top->close();
    }
}

void frmMain::closeEvent(QCloseEvent* event) {
    TillsightLink().Disconnect();
    if (powerSearch_) powerSearch_->unload();
    for (QWidget* top : QApplication::topLevelWidgets())
        if (top != this && top->isVisible()) top->close();
    event->accept();
}

void frmMain::changeEvent(QEvent* event) {
    if (event->type() == QEvent::WindowStateChange && isMinimized())
        modShared::subFormNotOnTop(this);
    QMainWindow::changeEvent(event);
}

void frmMain::connectLinkEvents() {
    using sitelink::SiteLink;
    // The session sets gConnected and tells the link's errors before these run.
    SiteLink* link = &TillsightLink();
    connect(link, &SiteLink::Connected, this, [this, link] {
        subSetStatusPanel(u"Status"_s, u"Connected to "_s + link->ServerName());
    });
    connect(link, &SiteLink::Disconnected, this, [this] {
        subSetStatusPanel(u"Status"_s, u"Not Connected"_s);
        for (const QString& key : {u"Link"_s, u"Dates"_s, u"Transactions"_s, u"QueryTime"_s})
            subSetStatusPanel(key, QString());
        modShared::subEnableControls(powerSearch(), false);
        menuItem(u"mnuViewRemoteLog"_s)->setEnabled(false);
        modShared::subPlayAsterisk();
    });
    connect(link, &SiteLink::OperationTimed, this, [this](int milliseconds) {
        subSetStatusPanel(u"QueryTime"_s, u"Last Op: "_s +
                                              vb::cstr(vb::Variant(milliseconds / 1000.0)) +
                                              u" seconds "_s);
    });
    connect(link, &SiteLink::StatusChanged, this,
            [this](const QString& text) { subSetStatusPanel(u"Link"_s, text); });
    connect(link, &SiteLink::ProgressChanged, this, [this, link] {
        QProgressBar* bar = toolbar_ ? toolbar_->ProgressBar() : nullptr;
        if (!bar) return;
        const int percent = link->Progress();
        bar->setValue(percent);
        bar->setFormat(percent != 0 ? QString::number(percent) + u" %"_s : QString());
    });
}
