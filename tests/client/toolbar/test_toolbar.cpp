#include "app/frmMain.h"
#include "core/AppGlobals.h"
#include "link/frmToolbar.h"
#include "link/modRAS.h"
#include "settings/SettingsPath.h"
#include "settings/modSites.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"

#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"
#include "support/ServerDemoSite.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QToolButton>

#include <functional>
#include <net/if.h>
#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;
using settings::Site;
using sitelink::SiteLink;

namespace {

const QString kNoDialup = u"Tillsight Network Client|No dialup connection is currently active|0"_s;

Site demo() {
    return {u"Demo"_s, testsupport::demoSite().path, false, 5111, u"s3cret"_s};
}
Site dialup() {
    return {u"Modem"_s, u"10.1.1.1"_s, true, 23, u"dial"_s};
}

// A real main window on its own settings file, so the toolbar works against the real link.
class Toolbar : public testsupport::GuiTest {
protected:
    QTemporaryDir dir;
    settings::SettingsFileOverride settingsFile{dir.filePath(u"tillsight.ini"_s)};
    QPointer<frmMain> main;
    frmToolbar* bar = nullptr;

    void SetUp() override {
        GuiTest::SetUp();
        main = new frmMain;
        main->show();
        bar = main->toolbar();
    }

    void TearDown() override {
        if (main) main->close();
        delete main;
        gConnected = false;
        settings::gSites = {Site{}};
        settings::gSiteCount = 0;
        modRAS::setInterfaceSource({});
        GuiTest::TearDown();
    }

    sitelink::SiteLink& link() { return main->TillsightLink(); }

    void useSites(const std::vector<Site>& sites) {
        settings::gSites = sites;
        settings::gSiteCount = static_cast<std::int16_t>(sites.size());
        bar->RefreshConnectionList();
    }

    // The user steps down the site list with the arrow key.
    void pickNextSite() { QTest::keyClick(bar->cboHost(), Qt::Key_Down); }

    void press(QAction* button) {
        QTest::mouseClick(bar->Toolbar()->widgetForAction(button), Qt::LeftButton);
    }

    void connectTo(const Site& site) {
        useSites({site});
        press(bar->ConnectButton());
        ASSERT_TRUE(gConnected);
    }

    void expectShown(const Site& site) {
        EXPECT_EQ(bar->cboHost()->currentText(), site.Name);
        EXPECT_EQ(bar->cboHost()->toolTip(), site.Name);
        EXPECT_EQ(bar->txtPort()->text(), QString::number(site.Port));
        EXPECT_EQ(bar->txtPassword()->text(), site.Password);
        EXPECT_EQ(bar->chkDUN()->isChecked(), site.DUN);
        EXPECT_EQ(bar->txtAddress()->text(), site.Address);
        EXPECT_EQ(bar->txtAddress()->isEnabled(), !site.DUN);
    }
};

// The Cancel beside the progress bar: while the link reads, the button and Escape stop the read
// and every other click and key is swallowed, so nothing else can start; afterwards the site is
// still connected and answers.
class CancelButton : public Toolbar {
protected:
    // Every pair of the demo site's transactions: far longer than any test waits for.
    const QString kLongRead = u"select count(*) from tblTrans as a, tblTrans as b "
                              u"where a.fldTransQty > b.fldTransQty"_s;

    void SetUp() override {
        Toolbar::SetUp();
        connectTo(demo());
    }

    // Runs the long read, doing `act` once the read is under way; what the read gave.
    std::shared_ptr<rs::Recordset> readWhile(const std::function<void()>& act) {
        auto once = std::make_shared<QMetaObject::Connection>();
        *once = QObject::connect(&link(), &SiteLink::ProgressChanged, [this, once, act] {
            QObject::disconnect(*once);
            EXPECT_TRUE(bar->CancelButton()->isEnabled());
            EXPECT_GT(bar->ProgressBar()->value(), 0);
            act();
        });
        return link().OpenRecordset(kLongRead, u"Reading every pair"_s);
    }

    void clickCancel() { QTest::mouseClick(bar->CancelButton(), Qt::LeftButton); }

    // After a cancel: the link said so once, the bar and button are at rest, the site answers.
    void expectCanceledAndUsable(const QSignalSpy& errors) {
        ASSERT_EQ(errors.size(), 1);
        EXPECT_EQ(errors[0][1].toInt(), 3059);
        EXPECT_EQ(errors[0][2].toString(), u"Operation canceled by user."_s);
        EXPECT_FALSE(bar->CancelButton()->isEnabled());
        EXPECT_EQ(bar->ProgressBar()->value(), 0);
        EXPECT_TRUE(link().isConnected());
        const auto count = link().OpenRecordset(u"select count(*) from tblTrans"_s);
        ASSERT_TRUE(count);
        EXPECT_EQ(vb::clng(count->field(0).value()), testsupport::demoSite().summary.transactions);
    }
};

} // namespace

TEST_F(Toolbar, RefreshListsSitesInFileOrderAndShowsTheFirst) {
    const std::vector<Site> sites{
        {u"Zeta"_s, u"zeta.example"_s, false, 5432, u"z"_s}, dialup(), demo()};
    useSites(sites);
    ASSERT_EQ(bar->cboHost()->count(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(bar->cboHost()->itemText(i), sites[i].Name);
        EXPECT_EQ(bar->cboHost()->itemData(i).toInt(), i);
    }
    expectShown(sites[0]);
    EXPECT_EQ(bar->txtAddress()->toolTip(), u"zeta.example"_s);
}

TEST_F(Toolbar, AnEmptySiteListLeavesTheFieldsAsTheyWere) {
    useSites({demo()});
    settings::gSites = {Site{}};
    settings::gSiteCount = 0;
    bar->RefreshConnectionList();
    EXPECT_EQ(bar->cboHost()->count(), 0);
    EXPECT_EQ(bar->cboHost()->currentText(), QString());
    EXPECT_EQ(bar->txtAddress()->text(), demo().Address);
    EXPECT_EQ(bar->txtPort()->text(), u"5111"_s);
    EXPECT_EQ(bar->txtPassword()->text(), u"s3cret"_s);
}

TEST_F(Toolbar, ThePasswordShowsAsAsterisks) {
    useSites({demo()});
    EXPECT_EQ(bar->txtPassword()->displayText(), u"******"_s);
    EXPECT_EQ(bar->txtPassword()->text(), u"s3cret"_s);
}

TEST_F(Toolbar, PickingADialupSiteShowsItsStoredAddressDisabled) {
    useSites({demo(), dialup(), demo()});
    pickNextSite();
    expectShown(dialup());
    pickNextSite();
    expectShown(demo());
}

TEST_F(Toolbar, AnyKeyInTheBoxesUntiesThemFromTheSite) {
    for (QLineEdit* box : {bar->txtAddress(), bar->txtPort(), bar->txtPassword()}) {
        for (Qt::Key key : {Qt::Key_7, Qt::Key_Left, Qt::Key_Shift}) {
            useSites({demo()});
            QTest::keyClick(box, key);
            EXPECT_EQ(bar->cboHost()->currentText(), QString())
                << box->objectName().toStdString() << " key " << key;
            EXPECT_EQ(bar->cboHost()->toolTip(), QString());
        }
    }
}

TEST_F(Toolbar, TypingKeepsTheTextAndOnlyAddressAndPortTipsFollowIt) {
    useSites({demo()});
    for (QLineEdit* box : {bar->txtAddress(), bar->txtPort(), bar->txtPassword()})
        QTest::keyClick(box, Qt::Key_7);
    EXPECT_EQ(bar->txtAddress()->toolTip(), demo().Address + u'7');
    EXPECT_EQ(bar->txtPort()->text(), u"51117"_s);
    EXPECT_EQ(bar->txtPort()->toolTip(), u"51117"_s);
    EXPECT_EQ(bar->txtPassword()->text(), u"s3cret7"_s);
    EXPECT_EQ(bar->txtPassword()->toolTip(), u"Password"_s);
}

TEST_F(Toolbar, TheDialupBoxByMouseUntiesTheSiteAndTakesTheAddress) {
    useSites({demo()});
    QTest::mouseClick(bar->chkDUN(), Qt::LeftButton);
    EXPECT_TRUE(bar->chkDUN()->isChecked());
    EXPECT_EQ(bar->cboHost()->currentText(), QString());
    EXPECT_EQ(bar->txtAddress()->text(), u"Dialup"_s);
    EXPECT_FALSE(bar->txtAddress()->isEnabled());

    QTest::mouseClick(bar->chkDUN(), Qt::LeftButton);
    EXPECT_FALSE(bar->chkDUN()->isChecked());
    EXPECT_EQ(bar->txtAddress()->text(), QString());
    EXPECT_TRUE(bar->txtAddress()->isEnabled());

    // The space key toggles the box but leaves the site name.
    useSites({demo()});
    QTest::keyClick(bar->chkDUN(), Qt::Key_Space);
    EXPECT_TRUE(bar->chkDUN()->isChecked());
    EXPECT_EQ(bar->txtAddress()->text(), u"Dialup"_s);
    EXPECT_EQ(bar->cboHost()->currentText(), u"Demo"_s);
}

TEST_F(Toolbar, EachBoxSelectsItsWholeTextOnFocus) {
    useSites({demo()});
    QApplication::setActiveWindow(main);
    ASSERT_TRUE(QTest::qWaitForWindowActive(main));
    for (QLineEdit* box : {bar->txtAddress(), bar->txtPort(), bar->txtPassword()}) {
        box->deselect();
        box->setFocus(Qt::OtherFocusReason);
        EXPECT_EQ(box->selectedText(), box->text()) << box->objectName().toStdString();
        bar->cboHost()->setFocus(Qt::OtherFocusReason);
    }
}

TEST_F(Toolbar, ConnectReachesThePickedSite) {
    useSites({dialup(), demo()});
    pickNextSite();
    press(bar->ConnectButton());
    EXPECT_TRUE(gConnected);
    EXPECT_TRUE(link().isConnected());
    EXPECT_EQ(link().RemoteAddress(), demo().Address);
    EXPECT_EQ(link().RemotePort(), 5111);
    EXPECT_EQ(link().Password(), u"s3cret"_s);
    EXPECT_TRUE(boxes.isEmpty()) << boxes.join(u'\n').toStdString();
}

TEST_F(Toolbar, ConnectWhileConnectedDoesNothing) {
    connectTo(demo());
    const int soundsBefore = asterisks;
    bar->txtPassword()->setText(u"other"_s);
    bar->txtAddress()->setText(u"elsewhere.tsite"_s);
    press(bar->ConnectButton());
    EXPECT_EQ(link().Password(), u"s3cret"_s);
    EXPECT_EQ(link().RemoteAddress(), demo().Address);
    EXPECT_TRUE(link().isConnected());
    EXPECT_EQ(asterisks, soundsBefore); // the link's "already connected" error plays one
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(Toolbar, DisconnectGoesToTheLinkWhateverTheStateSays) {
    connectTo(demo());
    gConnected = false; // the flag and the link out of step
    press(bar->DisconnectButton());
    EXPECT_FALSE(link().isConnected());
    EXPECT_EQ(main->statusPanel(u"Status"_s)->text().trimmed(), u"Not Connected"_s);

    press(bar->DisconnectButton()); // not connected: the link takes it quietly
    EXPECT_FALSE(link().isConnected());
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(Toolbar, APortThatIsNoLongMakesConnectDoNothing) {
    useSites({demo()});
    for (const QString& port : {QString(), u"abc"_s, u"2147483648"_s, u"5111x"_s}) {
        bar->txtPort()->setText(port);
        bar->txtPassword()->setText(u"typed "_s + port);
        press(bar->ConnectButton());
        EXPECT_FALSE(gConnected) << port.toStdString();
        EXPECT_TRUE(link().RemoteAddress().isEmpty()) << port.toStdString();
        // Setting the password is a statement of its own and has already run.
        EXPECT_EQ(link().Password(), u"typed "_s + port);
    }
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(asterisks, 0);
}

TEST_F(Toolbar, APortIsReadAsTheLanguageReadsALong) {
    useSites({demo()});
    for (const auto& [typed, port] : {std::pair{u" 2.5 "_s, 2}, {u"3.5"_s, 4}, {u"&H1F"_s, 31}}) {
        bar->txtPort()->setText(typed);
        press(bar->ConnectButton());
        EXPECT_TRUE(gConnected) << typed.toStdString();
        EXPECT_EQ(link().RemotePort(), port) << typed.toStdString();
        press(bar->DisconnectButton());
    }
}

TEST_F(Toolbar, DialupWithoutAnActiveLinkTellsTheUserAndStaysPut) {
    modRAS::setInterfaceSource([] {
        return std::vector<modRAS::InterfaceRecord>{
            {u"eth0"_s, IFF_UP | IFF_RUNNING | IFF_BROADCAST, AF_INET, u"192.168.1.5"_s, {}}};
    });
    useSites({dialup()});
    press(bar->ConnectButton());
    EXPECT_EQ(boxes, QStringList{kNoDialup});
    EXPECT_FALSE(gConnected);
    EXPECT_TRUE(link().RemoteAddress().isEmpty());
    EXPECT_EQ(bar->txtAddress()->text(), dialup().Address);
}

TEST_F(Toolbar, ConnectReachesASiteOnAServer) {
    const auto& server = testsupport::serverDemoSite();
    const Site store{u"Store 12"_s, server.clientAddress(), false, server.client.port,
                     server.client.password};
    useSites({dialup(), store});
    pickNextSite();
    press(bar->ConnectButton());
    EXPECT_TRUE(boxes.isEmpty()) << boxes.join(u'\n').toStdString();
    ASSERT_TRUE(gConnected);
    EXPECT_TRUE(link().ServerName().contains(u"PostgreSQL"_s)) << link().ServerName().toStdString();
    const auto count = link().OpenRecordset(u"select count(*) from tblTrans"_s);
    ASSERT_TRUE(count);
    EXPECT_EQ(vb::clng(count->field(0).value()), testsupport::demoSite().summary.transactions);
}

// Over dial-up the far end's address is all the toolbar has: the server there is reached as the
// role and database "tillsight", with the site's password. The far end here is this computer,
// where a site of that name answers.
TEST_F(Toolbar, DialupConnectsToTheServerAtTheFarEndOfTheLink) {
    const auto& server = testsupport::serverDemoSite();
    auto admin = testsupport::pgAdminConnection();
    admin->exec(u"DROP DATABASE IF EXISTS tillsight WITH (FORCE)"_s);
    admin->exec(u"DROP ROLE IF EXISTS tillsight"_s);
    // The far end's site: a database named tillsight whose data the role tillsight may read.
    admin->exec(u"CREATE DATABASE tillsight TEMPLATE %1"_s.arg(server.database));
    admin->exec(
        u"CREATE ROLE tillsight LOGIN PASSWORD 'dial' IN ROLE %1"_s.arg(server.client.role));
    admin->exec(u"GRANT CONNECT ON DATABASE tillsight TO tillsight"_s);
    const QString peer = u"127.0.0.1"_s;
    modRAS::setInterfaceSource([peer] {
        return std::vector<modRAS::InterfaceRecord>{
            {u"ppp0"_s, IFF_UP | IFF_RUNNING | IFF_POINTOPOINT, AF_INET, u"10.64.0.2"_s, peer}};
    });
    Site far = dialup();
    far.Port = server.admin.port;
    useSites({far});
    press(bar->ConnectButton());
    EXPECT_EQ(bar->txtAddress()->text(), peer);
    EXPECT_TRUE(boxes.isEmpty()) << boxes.join(u'\n').toStdString();
    EXPECT_TRUE(gConnected);
    EXPECT_EQ(link().RemoteAddress(), peer);
    EXPECT_TRUE(link().ServerName().startsWith(u"tillsight on 127.0.0.1"_s))
        << link().ServerName().toStdString();
    link().Disconnect();
    admin->exec(u"DROP DATABASE tillsight WITH (FORCE)"_s);
    admin->exec(u"DROP ROLE tillsight"_s);
}

TEST_F(CancelButton, StopsALongReadAndTheSiteStaysUsable) {
    EXPECT_FALSE(bar->CancelButton()->isEnabled());
    QSignalSpy errors(&link(), &SiteLink::LinkError);
    EXPECT_EQ(readWhile([this] { clickCancel(); }), nullptr);
    expectCanceledAndUsable(errors);
}

TEST_F(CancelButton, EscapeStopsALongReadWhereverTheFocusIs) {
    QSignalSpy errors(&link(), &SiteLink::LinkError);
    EXPECT_EQ(readWhile([this] { QTest::keyClick(bar->txtPort(), Qt::Key_Escape); }), nullptr);
    expectCanceledAndUsable(errors);
}

TEST_F(CancelButton, EveryOtherClickAndKeyIsSwallowedWhileTheLinkWaits) {
    QSignalSpy errors(&link(), &SiteLink::LinkError);
    const QString address = bar->txtAddress()->text();
    EXPECT_EQ(readWhile([this] {
                  QTest::mouseClick(bar->Toolbar()->widgetForAction(bar->DisconnectButton()),
                                    Qt::LeftButton);
                  QTest::mouseClick(main->menuBar(), Qt::LeftButton, {}, QPoint(10, 5));
                  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
                  QTest::keyClicks(bar->txtAddress(), u"elsewhere"_s);
                  clickCancel();
              }),
              nullptr);
    EXPECT_EQ(bar->txtAddress()->text(), address);
    expectCanceledAndUsable(errors);
}
