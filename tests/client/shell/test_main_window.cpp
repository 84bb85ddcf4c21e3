// The main window through a real link on real site files: the full connect and what the status
// bar shows, the link's events, the enabling that follows the connection, Close All, and the
// hand-over from a second start.

#include "app/Main.h"
#include "app/frmMain.h"
#include "core/AppGlobals.h"
#include "core/Session.h"
#include "link/frmToolbar.h"
#include "link/modMain.h"
#include "queries/DateField.h"
#include "queries/frmPowerSearch.h"
#include "settings/SettingsPath.h"
#include "shared/frmKestrelMessage.h"
#include "site/SiteSchema.h"
#include "sitelink/SiteLink.h"

#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"

#include <QAction>
#include <QDockWidget>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QProgressBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

class MainWindow : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        settingsFile_ =
            std::make_unique<settings::SettingsFileOverride>(dir_.filePath(u"tillsight.ini"_s));
        main_ = new frmMain;
        main_->show();
    }

    void TearDown() override {
        delete main_; // as the program's end: the link lets go of the site
        gConnected = false;
        if (auto* message = frmKestrelMessage::instance(); message->isVisible()) message->close();
        settingsFile_.reset();
        GuiTest::TearDown();
    }

    // "text|tooltip", or "hidden" for a panel that is not shown.
    QString panel(const QString& key) const {
        const QLabel* label = main_->statusPanel(key);
        return label->isVisibleTo(main_) ? label->text() + u'|' + label->toolTip() : u"hidden"_s;
    }

    // The two range pickers are left out: they stay disabled unless the range is Custom.
    bool searchControlsEnabled() const {
        frmPowerSearch* search = main_->powerSearch();
        const auto controls = search->findChildren<QWidget*>();
        return std::all_of(controls.begin(), controls.end(), [search](QWidget* w) {
            const bool picker = w == search->fdtStartTime || w == search->fdtEndTime ||
                                search->fdtStartTime->isAncestorOf(w) ||
                                search->fdtEndTime->isAncestorOf(w);
            return picker || w->isEnabled();
        });
    }

    QTemporaryDir dir_;
    std::unique_ptr<settings::SettingsFileOverride> settingsFile_;
    frmMain* main_ = nullptr;
};

} // namespace

TEST_F(MainWindow, StartsNotConnectedWithTheSearchViewDisabled) {
    EXPECT_EQ(main_->windowTitle(), u"Tillsight Network Client"_s);
    EXPECT_EQ(panel(u"Status"_s), u"Not connected |Not connected"_s);
    for (const QString& key : {u"Transactions"_s, u"Dates"_s, u"QueryTime"_s, u"Link"_s})
        EXPECT_EQ(panel(key), u"hidden"_s) << key.toStdString();
    EXPECT_FALSE(main_->menuItem(u"mnuViewRemoteLog"_s)->isEnabled());
    ASSERT_TRUE(main_->powerSearch());
    EXPECT_FALSE(main_->powerSearch()->findChild<QTabWidget*>()->isEnabled());
    EXPECT_TRUE(main_->DockFrame()->isVisible());
    EXPECT_EQ(main_->toolbar()->objectName(), u"frmToolbar"_s);
}

TEST_F(MainWindow, AFullConnectFillsTheStatusBarLoadsTheLookupsAndSaysItIsReady) {
    const auto& demo = testsupport::demoSite();
    modMain::subFullConnect(*main_, demo.path, 0);
    ASSERT_TRUE(gConnected);
    EXPECT_TRUE(boxes.isEmpty()) << boxes.join(u'\n').toStdString();

    const QString server = main_->TillsightLink().ServerName();
    EXPECT_EQ(panel(u"Status"_s), u"Connected to "_s + server + u" |Connected to "_s + server);
    const QString count = QString::number(demo.summary.transactions);
    EXPECT_EQ(panel(u"Transactions"_s), count + u" Transactions |"_s + count + u" Transactions"_s);
    const QString dates = panel(u"Dates"_s);
    EXPECT_TRUE(dates.startsWith(u"2/22/2003 7:"_s)) << dates.toStdString();
    EXPECT_TRUE(dates.contains(u" - 3/28/2003 9:"_s)) << dates.toStdString();
    EXPECT_TRUE(dates.contains(u" |"_s)); // the trailing blank before the tooltip
    EXPECT_TRUE(panel(u"QueryTime"_s).startsWith(u"Last Op: "_s));

    ASSERT_TRUE(main_->session().grsProducts && main_->session().grsActionCodes &&
                main_->session().grsClerks && main_->session().grsReg2Cam);
    EXPECT_EQ(main_->session().grsActionCodes->recordCount(), 13u);
    EXPECT_EQ(main_->session().grsReg2Cam->fieldCount(), 5);
    EXPECT_EQ(main_->session().grsClerks->field(1).name(), u"Name"_s);

    EXPECT_TRUE(searchControlsEnabled());
    EXPECT_EQ(main_->powerSearch()->tabReports->currentIndex(), 1);
    EXPECT_TRUE(main_->menuItem(u"mnuViewRemoteLog"_s)->isEnabled());
    EXPECT_EQ(asterisks, 1);
    // The read is over: the toolbar's bar is back at zero with no caption.
    EXPECT_EQ(main_->toolbar()->ProgressBar()->format(), QString());
}

TEST_F(MainWindow, AnEmptySiteShowsNoTransactionsAndAnEmptyRange) {
    site::initSite(dir_.filePath(u"empty.tsite"_s), false);
    modMain::subFullConnect(*main_, dir_.filePath(u"empty.tsite"_s), 0);
    EXPECT_EQ(panel(u"Transactions"_s), u"0 Transactions |0 Transactions"_s);
    EXPECT_EQ(panel(u"Dates"_s), u" -  | - "_s);
}

TEST_F(MainWindow, DisconnectingHidesEveryPanelButStatusAndDisablesWhatNeedsTheSite) {
    modMain::subFullConnect(*main_, testsupport::demoSite().path, 0);
    ASSERT_TRUE(gConnected);
    asterisks = 0;
    main_->TillsightLink().Disconnect();
    EXPECT_FALSE(gConnected);
    EXPECT_EQ(panel(u"Status"_s), u"Not Connected |Not Connected"_s);
    for (const QString& key : {u"Transactions"_s, u"Dates"_s, u"QueryTime"_s, u"Link"_s})
        EXPECT_EQ(panel(key), u"hidden"_s) << key.toStdString();
    EXPECT_FALSE(main_->menuItem(u"mnuViewRemoteLog"_s)->isEnabled());
    EXPECT_FALSE(main_->powerSearch()->findChild<QTabWidget*>()->isEnabled());
    EXPECT_EQ(asterisks, 1);

    // The search view is made again when it had been closed.
    main_->closeAllViews();
    ASSERT_TRUE(main_->mdiArea()->subWindowList().isEmpty());
    modMain::subFullConnect(*main_, testsupport::demoSite().path, 0);
    main_->TillsightLink().Disconnect();
    EXPECT_EQ(main_->mdiArea()->subWindowList().size(), 1);
}

TEST_F(MainWindow, LinkErrorsShowTheMessageViewAndAFailedReadTheConnectMessage) {
    modMain::subFullConnect(*main_, dir_.filePath(u"missing.tsite"_s), 0);
    EXPECT_FALSE(gConnected);
    EXPECT_TRUE(boxes.isEmpty()); // the link's own event said it
    auto* message = frmKestrelMessage::instance();
    ASSERT_TRUE(message->isVisible());
    EXPECT_EQ(message->windowTitle(), sitelink::SiteLink::errorSource());
    EXPECT_TRUE(message->shownMessage().startsWith(u"Error "_s));
    EXPECT_TRUE(message->shownMessage().contains(u"missing.tsite"_s));
    EXPECT_EQ(asterisks, 1);
    message->close();

    // A site without transactions table connects, then its statistics fail.
    const QString broken = dir_.filePath(u"broken.tsite"_s);
    site::initSite(broken, false)->execute(u"DROP TABLE tblTrans"_s);
    modMain::subFullConnect(*main_, broken, 0);
    EXPECT_TRUE(gConnected); // nothing is undone
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0], u"Tillsight Network Client|Object variable or With block variable not "
                        u"set\r\nin TillsightNetworkClient.modMain.subFullConnect|0"_s);
    EXPECT_FALSE(main_->menuItem(u"mnuViewRemoteLog"_s)->isEnabled());
}

// A site that lacks its clerks table: the products and action codes come, the clerks fail, and
// the sequence ends there with one box.
TEST_F(MainWindow, ALookupThatFailsEndsTheFullConnectWithOneBoxAndKeepsTheOnesRead) {
    const QString broken = dir_.filePath(u"noclerks.tsite"_s);
    site::initSite(broken, false)->execute(u"DROP TABLE tblActors"_s);
    modMain::subFullConnect(*main_, broken, 0);
    EXPECT_TRUE(gConnected);
    ASSERT_EQ(boxes.size(), 1) << boxes.join(u'\n').toStdString();
    EXPECT_TRUE(boxes[0].endsWith(u"\r\nin TillsightNetworkClient.modMain.subFullConnect|0"_s))
        << boxes[0].toStdString();
    const core::Session& session = main_->session();
    EXPECT_TRUE(session.grsProducts && session.grsActionCodes);
    EXPECT_FALSE(session.grsClerks);
    EXPECT_FALSE(session.grsReg2Cam);
    EXPECT_FALSE(main_->menuItem(u"mnuViewRemoteLog"_s)->isEnabled());
    EXPECT_EQ(asterisks, 1); // the link's error only; the sequence never said it was ready
}

TEST_F(MainWindow, OperationTimesShowInSecondsWithTheirTrailingBlank) {
    emit main_->TillsightLink().OperationTimed(1500);
    // The text keeps its own trailing blank, and the panel adds one.
    EXPECT_EQ(panel(u"QueryTime"_s), u"Last Op: 1.5 seconds  |Last Op: 1.5 seconds "_s);
    emit main_->TillsightLink().StatusChanged(QString());
    EXPECT_EQ(panel(u"Link"_s), u"hidden"_s);
}

TEST_F(MainWindow, CloseAllLeavesTheMainWindowAndTheToolbar) {
    main_->showChild(new QWidget);
    main_->showChild(new QWidget);
    modShared::subShowMessage(u"x"_s, u"y"_s);
    ASSERT_EQ(main_->mdiArea()->subWindowList().size(), 3);

    // The user's own close of the search view is refused.
    main_->powerSearch()->parentWidget()->close();
    QApplication::processEvents();
    EXPECT_EQ(main_->mdiArea()->subWindowList().size(), 3);

    main_->menuItem(u"mnuCloseAll"_s)->trigger();
    QApplication::processEvents();
    EXPECT_TRUE(main_->mdiArea()->subWindowList().isEmpty());
    QStringList open;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->isVisible()) open << w->objectName();
    EXPECT_EQ(open, QStringList{u"frmMain"_s});
    EXPECT_TRUE(main_->toolbar()->isVisible());
}

TEST_F(MainWindow, CloseAllLeavesAFloatingToolbarOpen) {
    main_->DockFrame()->setFloating(true);
    main_->DockFrame()->show();
    ASSERT_TRUE(main_->DockFrame()->isWindow());
    main_->menuItem(u"mnuCloseAll"_s)->trigger();
    QApplication::processEvents();
    EXPECT_TRUE(main_->DockFrame()->isVisible());
    EXPECT_TRUE(main_->toolbar()->isVisible());
    EXPECT_TRUE(main_->menuItem(u"mnuViewConnectionToolbar"_s)->isChecked());
}

TEST_F(MainWindow, TheViewMenuShowsAndHidesThePaneAndTheStatusBar) {
    QAction* pane = main_->menuItem(u"mnuViewConnectionToolbar"_s);
    pane->trigger();
    EXPECT_FALSE(pane->isChecked());
    EXPECT_FALSE(main_->DockFrame()->isVisible());
    pane->trigger();
    EXPECT_TRUE(main_->DockFrame()->isVisible());
    // The pane's own close box clears the check mark.
    main_->DockFrame()->close();
    EXPECT_FALSE(pane->isChecked());
    main_->menuItem(u"mnuViewStatusBar"_s)->trigger();
    EXPECT_FALSE(main_->statusBar()->isVisible());
}

TEST_F(MainWindow, ASecondStartBringsTheFirstWindowForwardAndEnds) {
    const QString name = u"tillsight-test-%1"_s.arg(QCoreApplication::applicationPid());
    app::listenForLaterInstances(main_, name);
    main_->showMinimized();
    const QString title = core::applicationTitle();
    EXPECT_TRUE(app::fncAlreadyRunning(title, name));
    EXPECT_EQ(core::applicationTitle(), u"Doomed "_s + title);
    core::setApplicationTitle(title);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !main_->isMinimized(); }));
    EXPECT_TRUE(main_->windowFlags().testFlag(Qt::WindowStaysOnTopHint));

    EXPECT_FALSE(app::fncAlreadyRunning(title, name + u"-nobody"_s));
    EXPECT_EQ(core::applicationTitle(), title);
}

// The meeting point is per user and display: a start on another display finds nobody, and one on
// the same display finds the running instance.
TEST_F(MainWindow, ASecondStartOnAnotherDisplayDoesNotHandOver) {
    const QString display = u":%1"_s.arg(QCoreApplication::applicationPid());
    app::listenForLaterInstances(main_, app::instanceServerName(display));
    const QString title = core::applicationTitle();
    EXPECT_FALSE(app::fncAlreadyRunning(title, app::instanceServerName(display + u"1"_s)));
    EXPECT_FALSE(app::fncAlreadyRunning(title, app::instanceServerName(u"host/"_s + display)));
    EXPECT_EQ(core::applicationTitle(), title);
    EXPECT_TRUE(app::fncAlreadyRunning(title, app::instanceServerName(display)));
    core::setApplicationTitle(title);
}
