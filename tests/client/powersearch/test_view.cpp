// The view itself: its controls and captions, what a full connect puts into it, the lookups,
// what marks the criteria as unsaved, Reset All, price entry, the tabs sharing the date controls,
// and the close and size it refuses.

#include "PowerSearchTest.h"

#include "summary/frmDailySummary.h"
#include "vb/Convert.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kUnsaved = u"Saved PowerSearches..."_s;

class SearchView : public testsupport::PowerSearchTest {
protected:
    QString captionOf(const QString& name) {
        QWidget* control = view().findChild<QWidget*>(name);
        if (auto* button = qobject_cast<QAbstractButton*>(control)) return button->text();
        if (auto* group = qobject_cast<QGroupBox*>(control)) return group->title();
        return u"<none>"_s;
    }

    void selectSavedSearch() {
        QComboBox* box = view().cboReportTitle;
        if (box->findText(u"Voids"_s) < 0) box->addItem(u"Voids"_s, 7);
        box->setCurrentIndex(box->findText(u"Voids"_s));
    }

    bool markedUnsaved() {
        return view().cboReportTitle->currentIndex() == -1 &&
               view().cboReportTitle->currentText() == kUnsaved;
    }
};

} // namespace

TEST_F(SearchView, EveryControlCarriesItsCaption) {
    frmPowerSearch& v = view();
    EXPECT_EQ(v.windowTitle(), u"Tillsight Reports"_s);
    EXPECT_EQ(v.size(), QSize(762, 480));
    const QStringList tabs = {u"Fixed Reports"_s, u"Power Search"_s, u"Daily Summary"_s};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(v.tabReports->tabText(i), tabs[i]);
    const std::pair<const char16_t*, const char16_t*> captions[] = {
        {u"chkLimitToCritical", u"Limit Action Code reports to Critical"},
        {u"fraSearchType", u"Search Type"},
        {u"chkNotActionCode", u"Everything but this code"},
        {u"chkAbsValue", u"Ignore negative signs"},
        {u"fraSavedSearches", u"Saved Power Searches"},
        {u"cmdSaveQuery", u"Save Search"},
        {u"cmdDeleteQuery", u"Delete Search"},
        {u"elaInterval", u"Interval"},
        {u"cmdRun", u"Generate Report"},
        {u"cmdReset", u"Reset All"},
    };
    for (const auto& [name, caption] : captions)
        EXPECT_EQ(captionOf(QString::fromUtf16(name)), QString::fromUtf16(caption));
    EXPECT_EQ(v.optSearchType[1]->text(), u"Summary by Clerk"_s);
    EXPECT_EQ(v.optDateTimeRange[2]->text(), u"Previous 24 Hours"_s);
    EXPECT_EQ(v.optDateTimeRange[9]->text(), u"Custom"_s);
    // The item box matches exactly what is typed: its tip, one plain line, tells of the wildcard.
    const QString itemTip = v.cboItem->toolTip();
    EXPECT_TRUE(itemTip.contains(u'%')) << itemTip.toStdString();
    EXPECT_FALSE(itemTip.contains(u'\n') || Qt::mightBeRichText(itemTip)) << itemTip.toStdString();
}

TEST_F(SearchView, AFullConnectFillsTheViewAndOpensThePowerSearch) {
    connectDemo();
    frmPowerSearch& v = view();
    EXPECT_EQ(v.tabReports->currentIndex(), 1);
    EXPECT_EQ(v.elaInterval->parentWidget(), v.elaTab[1]);
    EXPECT_EQ(v.cmdRun->parentWidget(), v.elaTab[1]);
    QStringList modifiers;
    for (int i = 0; i < v.cboModifier->count(); ++i)
        modifiers << v.cboModifier->itemText(i);
    EXPECT_EQ(modifiers, QStringList({u"Any Price"_s, u"(>) Price greater than "_s,
                                      u"(<) Price less than < "_s, u"(=) Price equal to "_s,
                                      u"(<>)Price not equal to "_s}));
    EXPECT_EQ(v.cboModifier->currentIndex(), 0);
    EXPECT_TRUE(v.optDateTimeRange[1]->isChecked());
    EXPECT_EQ(v.fdtStartTime->queryText(), u"2003/03/27 00:00:00"_s);
    EXPECT_FALSE(v.fdtStartTime->isEnabled());
    EXPECT_TRUE(markedUnsaved());
    EXPECT_TRUE(v.fdtDailySummary->dateOnly());
    EXPECT_EQ(v.fdtDailySummary->queryText(), u"2003/03/27 14:05:09"_s);
    EXPECT_EQ(v.fdtDailySummary->text(), u"3/27/2003"_s);
    EXPECT_GT(v.lstFixedReports->count(), 0);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(SearchView, LookupsListEveryColumnAndPickTheFirst) {
    connectDemo();
    frmPowerSearch& v = view();
    EXPECT_EQ(static_cast<std::size_t>(v.cboItem->count()),
              main_->session().grsProducts->recordCount());
    v.cboClerk->setCurrentIndex(2);
    EXPECT_EQ(v.cboClerk->currentText(), vb::cstr(main_->session().grsClerks->valueAt(2, 0)));

    auto* registers = qobject_cast<QTableView*>(v.cboRegister->view());
    ASSERT_TRUE(registers);
    EXPECT_FALSE(registers->isColumnHidden(0));
    for (int column = 1; column < 5; ++column)
        EXPECT_TRUE(registers->isColumnHidden(column)) << column;

    // The action list shows code and description, each column as wide as its widest text.
    auto* actions = qobject_cast<QTableView*>(v.cboAction->view());
    ASSERT_TRUE(actions);
    ASSERT_EQ(actions->model()->columnCount(), 2);
    int columns = 0;
    for (int column = 0; column < 2; ++column) {
        EXPECT_GE(actions->columnWidth(column),
                  static_cast<QAbstractItemView*>(actions)->sizeHintForColumn(column));
        columns += actions->columnWidth(column);
    }
    EXPECT_GE(actions->minimumWidth(), columns);

    // A typed value is kept as typed.
    QTest::keyClicks(v.cboItem->lineEdit(), u"CIG%"_s);
    EXPECT_EQ(v.cboItem->currentText(), u"CIG%"_s);
}

TEST_F(SearchView, UserChangesMarkTheCriteriaUnsavedAndARestoreDoesNot) {
    connectDemo();
    frmPowerSearch& v = view();
    const std::pair<const char*, std::function<void()>> guarded[] = {
        {"the same operator again",
         [&] { emit v.cboModifier->activated(v.cboModifier->currentIndex()); }},
        {"ignore signs", [&] { v.chkAbsValue->click(); }},
        {"everything but", [&] { v.chkNotActionCode->click(); }},
        {"search type", [&] { v.optSearchType[2]->click(); }},
        {"range", [&] { v.optDateTimeRange[3]->click(); }},
        {"price", [&] { v.txtPrice->setText(v.txtPrice->text() + u"1"_s); }},
    };
    const std::pair<const char*, std::function<void()>> lookups[] = {
        {"typing an item", [&] { QTest::keyClicks(v.cboItem->lineEdit(), u"C"_s); }},
        {"picking a register", [&] { emit v.cboRegister->activated(0); }},
    };
    for (bool restoring : {false, true}) {
        v.mblnRestoring = restoring;
        for (const auto& [what, change] : guarded) {
            selectSavedSearch();
            change();
            EXPECT_EQ(markedUnsaved(), !restoring) << what << (restoring ? " while restoring" : "");
        }
        // The lookups do not look at the restore flag.
        for (const auto& [what, change] : lookups) {
            selectSavedSearch();
            change();
            EXPECT_TRUE(markedUnsaved()) << what;
        }
    }
    v.mblnRestoring = false;
    // What a restore does to a lookup is not a user's change.
    selectSavedSearch();
    v.cboClerk->setCurrentText(u"1234"_s);
    EXPECT_EQ(v.cboReportTitle->currentText(), u"Voids"_s);
}

TEST_F(SearchView, ResetAllClearsTheCriteriaButNotTheSwitches) {
    connectDemo();
    frmPowerSearch& v = view();
    for (QComboBox* box : {v.cboItem, v.cboAction, v.cboClerk, v.cboRegister})
        box->setEditText(u"X"_s);
    v.txtPrice->setText(u"3.00"_s);
    v.cboModifier->setCurrentIndex(3);
    v.optSearchType[2]->setChecked(true);
    v.optDateTimeRange_Click(6);
    for (QCheckBox* box : {v.chkNotActionCode, v.chkAbsValue, v.chkLimitToCritical})
        box->setChecked(true);
    selectSavedSearch();

    v.cmdReset->click();
    for (QComboBox* box : {v.cboItem, v.cboAction, v.cboClerk, v.cboRegister})
        EXPECT_EQ(box->currentText(), QString()) << box->objectName().toStdString();
    EXPECT_EQ(v.txtPrice->text(), QString());
    EXPECT_EQ(v.cboModifier->currentIndex(), 0);
    EXPECT_TRUE(v.optSearchType[0]->isChecked());
    EXPECT_TRUE(v.optDateTimeRange[1]->isChecked());
    EXPECT_EQ(v.fdtEndTime->queryText(), u"2003/03/28 00:00:00"_s);
    EXPECT_TRUE(markedUnsaved());
    for (QCheckBox* box : {v.chkNotActionCode, v.chkAbsValue, v.chkLimitToCritical})
        EXPECT_TRUE(box->isChecked()) << box->objectName().toStdString();
    v.cboAction->setEditText(u"V%"_s);
    EXPECT_TRUE(v.fncWhereClause().startsWith(u"Where not (lkpactions.fldactioncode"_s));
}

TEST_F(SearchView, PricesStepByACentAndReadAsMoneyWhenLeft) {
    connectDemo();
    frmPowerSearch& v = view();
    v.spnValue->stepBy(-1);
    EXPECT_EQ(v.txtPrice->text(), u"-0.01"_s);
    v.spnValue->stepBy(1);
    v.spnValue->stepBy(1);
    EXPECT_EQ(v.txtPrice->text(), u"0.01"_s);
    v.txtPrice->setText(u"abc"_s);
    v.spnValue->stepBy(1);
    EXPECT_EQ(v.txtPrice->text(), u"0.01"_s);

    main_->show();
    main_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(main_));
    const std::pair<QString, QString> leaving[] = {
        {u"3.5"_s, u"3.50"_s}, {u"abc"_s, u"0.00"_s}, {QString(), QString()}};
    for (const auto& [typed, shown] : leaving) {
        v.txtPrice->setText(typed);
        // A click gives the focus and places the cursor; the whole text is selected after it.
        QTest::mouseClick(v.txtPrice, Qt::LeftButton);
        ASSERT_TRUE(QTest::qWaitFor([&] { return v.txtPrice->hasFocus(); }));
        QTest::qWait(0);
        EXPECT_EQ(v.txtPrice->selectedText(), typed);
        v.cboItem->setFocus();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !v.txtPrice->hasFocus(); }));
        EXPECT_EQ(v.txtPrice->text(), shown);
    }
}

TEST_F(SearchView, TabsShareTheDateControlsAndGenerateReport) {
    frmPowerSearch& v = view();
    const struct {
        int tab;
        int intervalOn;
    } moves[] = {{1, 1}, {0, 0}, {2, 0}, {1, 1}};
    for (const auto& move : moves) {
        v.tabReports->setCurrentIndex(move.tab);
        EXPECT_EQ(v.elaInterval->parentWidget(), v.elaTab[move.intervalOn]) << move.tab;
        EXPECT_EQ(v.cmdRun->parentWidget(), v.elaTab[move.tab]) << move.tab;
    }
    EXPECT_FALSE(v.elaInterval->isHidden());
    EXPECT_FALSE(v.cmdRun->isHidden());
}

TEST_F(SearchView, GenerateReportRunsThePowerSearchOnItsTab) {
    connectDemo();
    view().cmdRun->click();
    ASSERT_EQ(reports().size(), 1);
    EXPECT_TRUE(reports()[0]->ReportTitle().endsWith(u", List"_s));
}

// Each press opens a Daily Summary of its own for the Target Date. A copy of the demo site: the
// summary's two-stage report leaves a session table behind.
TEST_F(SearchView, GenerateReportOnTheDailySummaryTabOpensAViewPerPress) {
    const QString copy = dir_.filePath(u"demo.tsite"_s);
    ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, copy));
    modMain::subFullConnect(*main_, copy, 0);
    ASSERT_TRUE(gConnected);
    frmPowerSearch& v = view();
    v.tabReports->setCurrentIndex(2);
    v.fdtDailySummary->setValue(testsupport::at(2003, 3, 27));
    v.cmdRun->click();
    v.cmdRun->click();
    QList<frmDailySummary*> opened;
    for (QMdiSubWindow* w : main_->mdiArea()->subWindowList())
        if (auto* summary = qobject_cast<frmDailySummary*>(w->widget())) opened << summary;
    ASSERT_EQ(opened.size(), 2);
    EXPECT_NE(opened[0]->summary(), opened[1]->summary());
    for (frmDailySummary* summary : opened) {
        EXPECT_EQ(summary->ReportDate(), testsupport::at(2003, 3, 27));
        EXPECT_EQ(summary->windowTitle(), u"Daily Summary Report - Thursday, March 27, 2003"_s);
        EXPECT_FALSE(summary->isHidden());
    }
}

TEST_F(SearchView, OnlyTheProgramClosesItAndNothingResizesIt) {
    frmPowerSearch& v = view();
    const QSize fixed = v.size();
    EXPECT_TRUE(fixed.width() >= 762 && fixed.height() >= 480);
    v.resize(900, 700);
    EXPECT_EQ(v.size(), fixed);
    EXPECT_FALSE(v.close());
    v.unload();
    EXPECT_TRUE(v.close());
}
