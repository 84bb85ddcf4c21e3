#include "app/frmMain.h"
#include "link/frmSites.h"
#include "link/frmToolbar.h"
#include "settings/SettingsPath.h"
#include "settings/modIni.h"
#include "settings/modSites.h"

#include "support/GuiTestSupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using settings::gSites;
using settings::Site;

namespace {

const Site kStore{u"Store1"_s, u"10.0.0.1"_s, false, 5111, u"abc"_s};
// A dial-up site whose stored address is not "Dialup", to tell which of the two an edit shows.
const Site kDepot{u"Depot"_s, u"10.9.9.9"_s, true, 7000, QString()};
const QString kDepotLine = u"Depot - Address: 10.9.9.9  Port: 7000  Password: "_s;

QString box(const QString& text, int style = modShared::vbOKOnly) {
    return u"Tillsight Network Client|"_s + text + u'|' + QString::number(style);
}
const QString kMissing = box(u"You must enter a site name, address and port"_s);
const QString kAddFailed = box(u"Add failed. An entry of the same name may already exist."_s);
const QString kNameTaken = box(u"Can't apply changes. Site Name already exists."_s);

void forgetSites() {
    gSites = {Site{}};
    settings::gSiteCount = 0;
}

QStringList texts(const QAbstractItemModel* model) {
    QStringList rows;
    for (int i = 0; i < model->rowCount(); ++i)
        rows << model->index(i, 0).data().toString();
    return rows;
}

// A main window started on a settings file holding Store1 and Depot, with the dialog shown over it.
class SitesDialog : public testsupport::GuiTest {
protected:
    QTemporaryDir dir;
    settings::SettingsFileOverride settingsFile{dir.filePath(u"tillsight.ini"_s)};
    QPointer<frmMain> main;
    QPointer<frmSites> dialog;

    void SetUp() override {
        GuiTest::SetUp();
        forgetSites();
        for (const Site& s : {kStore, kDepot})
            settings::fncAddSite(s.Name, s.Address, s.DUN, s.Port, s.Password);
        settings::subSaveSites();
        forgetSites();
        main = new frmMain; // loads the sites back from the file
        dialog = new frmSites(main->session(), main->toolbar(), main);
        dialog->show();
    }

    void TearDown() override {
        delete dialog;
        delete main;
        forgetSites();
        GuiTest::TearDown();
    }

    template <typename T = QWidget> T* control(const QString& name) {
        T* found = dialog->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name.toStdString();
        return found;
    }
    void click(const QString& name) {
        QTest::mouseClick(control<QPushButton>(name), Qt::LeftButton);
    }
    void retype(const QString& name, const QString& text) {
        QTest::keyClick(control<QLineEdit>(name), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(control<QLineEdit>(name), text);
    }
    // Name, address and port, as typed.
    void fill(const QStringList& values) {
        for (int i = 0; i < values.size(); ++i)
            retype(boxNames[i], values[i]);
    }
    void toggleDialup() { QTest::keyClick(control<QCheckBox>(u"chkDUN"_s), Qt::Key_Space); }
    void pick(int line, bool twice = false) {
        auto* list = control<QListWidget>(u"List"_s);
        const QPoint at = list->visualItemRect(list->item(line)).center();
        // A double click is a click, then the second press that the platform reports as double.
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        if (twice) QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    }

    QStringList lines() { return texts(control<QListWidget>(u"List"_s)->model()); }
    QStringList toolbarNames() { return texts(main->toolbar()->cboHost()->model()); }
    QStringList savedNames() { return settings::fncReadIniSection(u"Sites"_s); }
    QStringList fields() {
        QStringList shown;
        for (const QString& name : boxNames)
            shown << control<QLineEdit>(name)->text();
        return shown;
    }
    QGroupBox* panel() { return control<QGroupBox>(u"elaAddEntry"_s); }

    const QStringList boxNames{u"txtName"_s, u"txtAddress"_s, u"txtPort"_s, u"txtPassword"_s};
};

TEST_F(SitesDialog, AddedSitesReachTheToolbarOnCloseAndTheFileOnlyOnExit) {
    click(u"cmdAdd"_s);
    ASSERT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->title(), u"Add Site");
    EXPECT_EQ(panel()->geometry(), control(u"List"_s)->geometry());
    fill({u"Kiosk"_s, u"shop.example"_s, u"80x"_s, u"pw"_s});
    click(u"cmdOK"_s);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(fields(), QStringList(4, QString()));
    EXPECT_EQ(lines().value(2), u"Kiosk - Address: shop.example  Port: 80  Password: **");

    dialog->close(); // the close box
    EXPECT_EQ(toolbarNames(), QStringList({u"Store1"_s, u"Depot"_s, u"Kiosk"_s}));
    EXPECT_EQ(savedNames(), QStringList({u"Store1"_s, u"Depot"_s, QString()}));

    dialog->show();
    click(u"cmdExit"_s);
    EXPECT_FALSE(dialog->isVisible());
    forgetSites();
    settings::subLoadSites();
    EXPECT_EQ(gSites, std::vector<Site>(
                          {kStore, kDepot, {u"Kiosk"_s, u"shop.example"_s, false, 80, u"pw"_s}}));
}

TEST_F(SitesDialog, OkRefusesMissingFieldsAndANameAlreadyListed) {
    click(u"cmdAdd"_s);
    click(u"cmdOK"_s);
    const QStringList typed{u"Store1"_s, u"elsewhere"_s, u"abc"_s}; // port "abc" reads as 0
    for (int i = 0; i < typed.size(); ++i) {
        retype(boxNames[i], typed[i]);
        click(u"cmdOK"_s);
    }
    EXPECT_EQ(boxes, QStringList({kMissing, kMissing, kMissing, kAddFailed}));
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(settings::gSiteCount, 2);

    retype(u"txtName"_s, u"store1"_s); // names differ when only their letter case does
    click(u"cmdOK"_s);
    EXPECT_EQ(gSites.back(), (Site{u"store1"_s, u"elsewhere"_s, false, 0, QString()}));
}

TEST_F(SitesDialog, OkRefusesANameTheSettingsFileCouldNotReadBack) {
    const QString refused = box(u"A site name cannot begin with \"[\" or contain \"]\"."_s);
    click(u"cmdAdd"_s);
    fill({u"[Old] Store"_s, u"10.0.0.5"_s, u"80"_s});
    click(u"cmdOK"_s);
    click(u"cmdCancel"_s);
    pick(0);
    click(u"cmdEdit"_s);
    retype(u"txtName"_s, u"Store] 1"_s);
    click(u"cmdOK"_s);
    EXPECT_EQ(boxes, QStringList({refused, refused}));
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(gSites, std::vector<Site>({kStore, kDepot}));
}

TEST_F(SitesDialog, EditShowsTheStoredAddressAndWritesTheSiteInPlace) {
    pick(1, true);
    ASSERT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->title(), u"Edit Site");
    EXPECT_EQ(fields(), QStringList({u"Depot"_s, u"10.9.9.9"_s, u"7000"_s, QString()}));
    EXPECT_FALSE(control(u"txtAddress"_s)->isEnabled());

    toggleDialup();
    EXPECT_EQ(control<QLineEdit>(u"txtAddress"_s)->text(), QString());
    fill({u"Depot"_s, u"depot.example"_s, u"7001"_s});
    click(u"cmdOK"_s); // keeping its own name is allowed
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(gSites[1], (Site{u"Depot"_s, u"depot.example"_s, false, 7001, QString()}));

    pick(0);
    click(u"cmdEdit"_s);
    retype(u"txtName"_s, u"Depot"_s);
    click(u"cmdOK"_s);
    EXPECT_EQ(boxes, QStringList{kNameTaken});
    EXPECT_TRUE(panel()->isVisible());
    click(u"cmdCancel"_s);
    EXPECT_EQ(gSites[0], kStore);
    EXPECT_EQ(fields(), QStringList(4, QString()));
}

TEST_F(SitesDialog, DialupBoxCarriesOverToTheNextAdd) {
    click(u"cmdAdd"_s);
    toggleDialup();
    EXPECT_EQ(control<QLineEdit>(u"txtAddress"_s)->text(), u"Dialup");
    fill({u"Van"_s, u"typed.example"_s, u"5"_s}); // the disabled address box takes no typing
    click(u"cmdOK"_s);
    EXPECT_EQ(gSites.back(), (Site{u"Van"_s, u"Dialup"_s, true, 5, QString()}));

    click(u"cmdAdd"_s);
    EXPECT_TRUE(control<QCheckBox>(u"chkDUN"_s)->isChecked());
    fill({u"Van2"_s, u"typed.example"_s, u"5"_s});
    click(u"cmdOK"_s);
    EXPECT_EQ(boxes, QStringList{kMissing});
}

TEST_F(SitesDialog, EditAfterAddStillAddsAndCancelEndsAdding) {
    pick(0);
    click(u"cmdAdd"_s);
    click(u"cmdEdit"_s);
    EXPECT_EQ(panel()->title(), u"Edit Site");
    click(u"cmdOK"_s);
    EXPECT_EQ(boxes, QStringList{kAddFailed});
    click(u"cmdCancel"_s);

    pick(0);
    click(u"cmdEdit"_s);
    retype(u"txtName"_s, u"Shop"_s);
    click(u"cmdOK"_s);
    EXPECT_EQ(settings::gSiteCount, 2);
    EXPECT_EQ(gSites[0].Name, u"Shop");
}

// Escape over the entry panel is the panel's Cancel; a second Escape leaves the dialog.
TEST_F(SitesDialog, EscapeCancelsTheEntryBeforeTheDialog) {
    pick(0);
    click(u"cmdEdit"_s);
    retype(u"txtPassword"_s, u"xyz"_s);
    EXPECT_EQ(control<QLineEdit>(u"txtPassword"_s)->displayText(), u"***"_s);
    QTest::keyClick(control<QLineEdit>(u"txtName"_s), Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(fields(), QStringList({QString(), QString(), QString(), QString()}));
    EXPECT_EQ(gSites[0], kStore);

    click(u"cmdAdd"_s); // no longer editing: OK adds
    fill({u"Van"_s, u"10.1.1.1"_s, u"80"_s});
    click(u"cmdOK"_s);
    EXPECT_EQ(settings::gSiteCount, 3);

    QTest::keyClick(control<QListWidget>(u"List"_s), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SitesDialog, DeleteActsAtOnceAndFailsSilentlyWhenTheFileCannotBeWritten) {
    EXPECT_EQ(lines(), QStringList({u"Store1 - Address: 10.0.0.1  Port: 5111  Password: ***"_s,
                                    kDepotLine}));
    pick(0);
    click(u"cmdDelete"_s);
    EXPECT_EQ(lines(), QStringList{kDepotLine});
    EXPECT_TRUE(settings::fncReadIniSection(u"Store1"_s).isEmpty());
    EXPECT_FALSE(settings::fncReadIniSection(u"Depot"_s).isEmpty());

    const QString folder = dir.filePath(u"folder.ini"_s); // neither readable nor replaceable
    QDir().mkpath(folder);
    settings::SettingsFileOverride unwritable(folder);
    pick(0);
    click(u"cmdDelete"_s);
    EXPECT_EQ(lines(), QStringList{kDepotLine});
    EXPECT_EQ(gSites, std::vector<Site>{kDepot});
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(SitesDialog, UnexpectedFailuresOnOkAreReportedAndChangeNothing) {
    pick(0);
    click(u"cmdEdit"_s);
    retype(u"txtPort"_s, u"80x"_s); // unlike Add, Edit takes only a whole number
    click(u"cmdOK"_s);
    EXPECT_EQ(gSites[0], kStore);
    EXPECT_TRUE(panel()->isVisible());
    click(u"cmdCancel"_s);

    pick(1);
    click(u"cmdEdit"_s);
    click(u"cmdDelete"_s); // the buttons beside the panel stay usable
    click(u"cmdOK"_s);
    click(u"cmdCancel"_s);

    click(u"cmdAdd"_s);
    toggleDialup(); // Depot's dial-up box is still checked
    fill({u"Big"_s, u"big.example"_s, u"99999999999"_s});
    click(u"cmdOK"_s);
    EXPECT_EQ(boxes, QStringList({box(u"Run-time error '13':\n\nType mismatch"_s, 16),
                                  box(u"Run-time error '9':\n\nSubscript out of range"_s, 16),
                                  box(u"Run-time error '6':\n\nOverflow"_s, 16)}));
    EXPECT_EQ(gSites, std::vector<Site>{kStore});
}

TEST_F(SitesDialog, ShowsModallyOverTheMainWindow) {
    delete dialog;
    QString shown;
    QTimer::singleShot(0, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && modal->parentWidget() == main) shown = modal->objectName();
        for (QWidget* window : QApplication::topLevelWidgets()) // never wait on a person
            if (auto* sites = qobject_cast<frmSites*>(window)) sites->reject();
    });
    main->menuItem(u"mnuSites"_s)->trigger(); // Options > Sites
    EXPECT_EQ(shown, u"frmSites");
}

} // namespace
