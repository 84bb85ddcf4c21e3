#include "output/GroupingModel.h"
#include "reports/GridBody.h"
#include "reports/GridHeader.h"
#include "reports/GroupBand.h"
#include "reports/ReportGrid.h"
#include "reports/frmReportOutput.h"
#include "reports/modQueries.h"

#include "../shared/MainWindowTest.h"
#include "core/AppGlobals.h"
#include "core/TransactionQuery.h"
#include "core/modError.h"
#include "core/modFixedReports.h"
#include "jet/SqliteDatabase.h"
#include "recordset/RecordsetTestData.h"
#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"

#include <QDropEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QPushButton>
#include <QRegularExpression>
#include <QStatusBar>
#include <QTest>
#include <array>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::date;
using rstest::lng;

namespace {

// The register cell of every row of a set, in its current order.
std::vector<int> registers(const rs::Recordset& records, int field) {
    std::vector<int> out;
    for (std::size_t row = 0; row < records.recordCount(); ++row)
        out.push_back(records.valueAt(row, field).longValue());
    return out;
}

QString sql(const char16_t* text) {
    return QString::fromUtf16(text);
}

jet::SqliteDatabase& demo() {
    static const auto db = jet::SqliteDatabase::open(testsupport::demoSite().path);
    return *db;
}

const QString kOneDay = u" WHERE tbltrans.fldtranstime >= #2003/03/27# "
                        u"AND tbltrans.fldtranstime < #2003/03/28#"_s;

// The search list's leading columns, for one day of the demo site (or none of it).
std::shared_ptr<rs::Recordset> transactions(const QString& where = kOneDay) {
    return demo().query(u"SELECT "_s + sql(core::kTransDate) + u" as [Date], "_s +
                        sql(core::kTransTime) + u" as [Time], "_s + sql(core::kRegister) +
                        u" as [Reg], tblTrans.fldTransPrice As [Price], "_s +
                        u"lkpActions.fldActionCode AS [Action] "_s + sql(core::kTransJoin) + where);
}

int countOf(const QString& query) {
    return demo().query(query)->field(0).value().longValue();
}

// A view whose DVR search only counts, so that what calls it can be seen.
class ProbedView : public frmReportOutput {
public:
    int searches = 0;
    using frmReportOutput::dvrMethod;
    using frmReportOutput::reg2CamTable;

protected:
    void subDVRSearch() override { ++searches; }
};

class ReportOutputTest : public testsupport::GuiTest {
protected:
    void TearDown() override {
        delete view_;
        GuiTest::TearDown();
    }

    ProbedView* open(std::shared_ptr<rs::Recordset> records, const QString& title = u"Report"_s,
                     std::int16_t groupFirstN = 0) {
        delete view_;
        view_ = new ProbedView();
        view_->setReportTitle(title);
        view_->setRecordset(std::move(records));
        view_->setGroupFirstN(groupFirstN);
        view_->show();
        return view_;
    }

    QPushButton* button(const char* name) const {
        return view_->findChild<QPushButton*>(QString::fromLatin1(name));
    }
    ReportGrid& grid() const { return *view_->DataList(); }
    GridBody& body() const { return *grid().body(); }
    GroupBand& band() const { return *grid().groupBand(); }

    // A header dragged from the grid into the band and let go over its right end: the drop
    // reaches the widget that took the drag's entry.
    void dropHeader(int column) {
        std::unique_ptr<QMimeData> data(body().header()->columnMimeData(column));
        const QPoint at(band().width() - 2, 5);
        QDragEnterEvent enter(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&band(), &enter);
        QDropEvent drop(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&band(), &drop);
    }
    void clickChip(int position) {
        QTest::mouseClick(&band(), Qt::LeftButton, {}, band().chipRect(position).center());
    }
    // As the platform delivers it: press, release, double-click, release.
    void doubleClick(QPoint at) {
        QTest::mouseClick(body().viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(body().viewport(), Qt::LeftButton, {}, at);
        QTest::mouseRelease(body().viewport(), Qt::LeftButton, {}, at);
    }
    QPoint centreOfLine(int line) const {
        return body().visualRect(body().indexAtLine(line)).center();
    }

    QPointer<ProbedView> view_;
};

TEST_F(ReportOutputTest, ASetWithRowsShowsItsCountAndEnablesItsButtons) {
    const auto records = transactions();
    const int count = countOf(u"SELECT count(*) "_s + sql(core::kTransJoin) + kOneDay);
    ASSERT_GT(count, 1);
    open(records, u"Transactions"_s);

    EXPECT_EQ(view_->windowTitle(), u"Transactions");
    EXPECT_EQ(view_->statusText(), u"Records: %1 "_s.arg(count));
    EXPECT_EQ(records->absolutePosition(), 1) << "the count is read at the last row, then back";
    for (const char* name : {"cmdExport", "cmdPrint", "cmdAutoSize", "cmdExit"})
        EXPECT_TRUE(button(name)->isEnabled()) << name;
    EXPECT_TRUE(button("cmdDVRSearch")->isVisible());
    EXPECT_EQ(body().lineCount(), count);
    EXPECT_TRUE(QRegularExpression(u"^\\d{1,2}/\\d{1,2}/\\d{4} \\d\\d:\\d\\d:\\d\\d$"_s)
                    .match(view_->Generated())
                    .hasMatch())
        << view_->Generated().toStdString();
}

TEST_F(ReportOutputTest, ButtonsCarryTheirCaptionsAndTips) {
    open(transactions());
    const std::vector<std::array<QString, 3>> expected{
        {u"cmdChart"_s, u"Chart"_s, {}},
        {u"cmdExport"_s, u"Export"_s, {}},
        {u"cmdPrint"_s, u"Print"_s, {}},
        {u"cmdAutoSize"_s, u"Autosize"_s, u"Click once for min widths, again for equal widths"_s},
        {u"cmdDVRSearch"_s, u"DVR Search"_s, u"Click button or dbl click grid for DVR search"_s},
        {u"cmdExit"_s, u"Exit"_s, {}}};
    for (const auto& [name, caption, tip] : expected) {
        const auto* b = view_->findChild<QPushButton*>(name);
        ASSERT_TRUE(b) << name.toStdString();
        EXPECT_EQ(b->text(), caption);
        EXPECT_EQ(b->toolTip(), tip);
    }
    EXPECT_EQ(band().chips().size(), 0);
    EXPECT_EQ(GroupBand::kCaption, u"Drag a column header here to group by that column. "
                                   u"Click group headers to toggle sort order.");
}

TEST_F(ReportOutputTest, AnEmptySetDisablesWhatNeedsRowsAndTheCaptionFallsBack) {
    open(transactions(u" WHERE tblTrans.idftransid < 0"_s), QString());

    EXPECT_EQ(view_->windowTitle(), u"Tillsight Report");
    EXPECT_EQ(view_->statusText(), u"Records: 0 ");
    for (const char* name : {"cmdExport", "cmdPrint", "cmdChart"})
        EXPECT_FALSE(button(name)->isEnabled()) << name;
    EXPECT_TRUE(button("cmdDVRSearch")->isHidden()) << "Date and Time, but no rows";
    // Autosize still works on the columns alone.
    button("cmdAutoSize")->click();
    button("cmdAutoSize")->click();
    EXPECT_EQ(grid().columnWidth(0), grid().width() / grid().columnCount());
}

TEST_F(ReportOutputTest, OnlyTwoOrMoreFieldsWithoutWideOrFixedTextAfterTheFirstChart) {
    const auto set = [](AdoType second) {
        return rstest::makeRecordset({{"Clerk", AdoType::VarWChar, 20}, {"Value", second, 20}},
                                     {{vb::Variant(u"Ann"_s), lng(1)}});
    };
    EXPECT_TRUE(frmReportOutput::fncIsChartable(set(AdoType::Double)));
    EXPECT_TRUE(frmReportOutput::fncIsChartable(set(AdoType::VarChar))) << "200 is no text here";
    for (AdoType text : {AdoType::Char, AdoType::WChar, AdoType::VarWChar})
        EXPECT_FALSE(frmReportOutput::fncIsChartable(set(text))) << int(text);
    const auto oneField = rstest::makeRecordset({{"Total", AdoType::Double}}, {{lng(5)}});
    EXPECT_FALSE(frmReportOutput::fncIsChartable(oneField));
    const auto noRows =
        rstest::makeRecordset({{"Clerk", AdoType::VarWChar}, {"Total", AdoType::Double}}, {});
    EXPECT_FALSE(frmReportOutput::fncIsChartable(noRows));
    EXPECT_FALSE(frmReportOutput::fncIsChartable(nullptr));

    // The button follows the rule: a text column after the first one.
    open(transactions());
    EXPECT_FALSE(frmReportOutput::fncIsChartable(view_->Recordset()));
    EXPECT_FALSE(button("cmdChart")->isEnabled());
    open(oneField);
    EXPECT_FALSE(button("cmdChart")->isEnabled());
}

TEST_F(ReportOutputTest, DVRSearchNeedsRowsAndFieldsNamedExactlyDateAndTime) {
    const auto set = [](const char* first, const char* second, bool rows) {
        rs::RecordsetBuilder builder;
        builder.addField(QString::fromLatin1(first), AdoType::Date);
        builder.addField(QString::fromLatin1(second), AdoType::Date);
        if (rows) builder.appendRow(std::array{date("2003/03/28"), date("10:00:00")});
        return builder.finish();
    };
    struct Case {
        const char* first;
        const char* second;
        bool rows;
        bool capable;
    };
    for (const Case& c : {Case{"Date", "Time", true, true}, Case{"date", "time", true, false},
                          Case{"Time", "Date", true, false}, Case{"Date", "Time", false, false}}) {
        open(set(c.first, c.second, c.rows));
        EXPECT_EQ(!button("cmdDVRSearch")->isHidden(), c.capable) << c.first << c.second;
    }
}

TEST_F(ReportOutputTest, TheDVRMethodIsTheOneOfWhenTheViewOpened) {
    const std::int16_t saved = gDVRMethod;
    gDVRMethod = 1;
    open(transactions());
    gDVRMethod = 0;
    EXPECT_EQ(view_->dvrMethod(), 1);
    gDVRMethod = saved;
}

TEST_F(ReportOutputTest, DVRSearchButtonWantsACurrentRowADoubleClickDoesNot) {
    // The text-command method reaches for no viewer as the view opens, so no message comes of it.
    const std::int16_t saved = gDVRMethod;
    gDVRMethod = 1;
    open(transactions());
    gDVRMethod = saved;
    button("cmdDVRSearch")->click();
    EXPECT_EQ(boxes, QStringList{core::applicationTitle() +
                                 u"|You must select a transaction to view|0"_s});
    EXPECT_EQ(view_->searches, 0);

    QTest::mouseClick(body().viewport(), Qt::LeftButton, {}, centreOfLine(2));
    EXPECT_EQ(grid().currentRow(), 2);
    button("cmdDVRSearch")->click();
    EXPECT_EQ(view_->searches, 1);
    EXPECT_EQ(boxes.size(), 1);

    doubleClick(centreOfLine(5));
    EXPECT_EQ(view_->searches, 2);
    EXPECT_EQ(grid().currentRow(), 5);
    EXPECT_EQ(boxes.size(), 1);
}

TEST_F(ReportOutputTest, GroupFirstNGroupsTheLeadingColumnsAndSortsThemAsTagged) {
    const auto records = demo().query(
        u"SELECT "_s + sql(core::kRegister) +
        u" as [Reg], lkpActions.fldActionCode AS [Action], "_s + u"count(*) AS [Lines] "_s +
        sql(core::kTransJoin) + u" GROUP BY tbltrans.fldtransregnum, lkpActions.fldActionCode "_s +
        u"ORDER BY count(*) DESC"_s);
    open(records, u"Fixed"_s, 2);

    EXPECT_EQ(grid().groupColumns(), (QList<int>{0, 1}));
    EXPECT_EQ(records->sort(), u"[Reg], [Action]") << "untagged columns sort without direction";
    const std::vector<int> regs = registers(*records, 0);
    EXPECT_TRUE(std::is_sorted(regs.begin(), regs.end()));
    const auto distinct = demo().query(u"SELECT DISTINCT fldtransregnum FROM tblTrans"_s);
    EXPECT_EQ(grid().groupingModel()->rowCount(), int(distinct->recordCount()));
    ASSERT_TRUE(body().isGroup(body().indexAtLine(0)));
    EXPECT_TRUE(body().indexAtLine(0).data().toString().startsWith(u"Reg: "_s));

    // The first click on a header whose tag is empty sorts ascending.
    clickChip(1);
    EXPECT_EQ(grid().columnTag(1), u" ASC");
    EXPECT_EQ(records->sort(), u"[Reg], [Action] ASC");
}

TEST_F(ReportOutputTest, DroppedHeadersGroupAscendingInTheOrderDropped) {
    const auto records = transactions();
    open(records);
    const int reg = records->fieldIndex(u"Reg");
    const int action = records->fieldIndex(u"Action");

    dropHeader(action);
    EXPECT_EQ(grid().columnTag(action), u" ASC");
    EXPECT_EQ(records->sort(), u"[Action] ASC");
    dropHeader(reg);
    EXPECT_EQ(grid().groupColumns(), (QList<int>{action, reg}));
    EXPECT_EQ(records->sort(), u"[Action] ASC, [Reg] ASC");
    ASSERT_EQ(band().chips().size(), 2);
    EXPECT_EQ(band().chips()[1].caption, u"Reg");

    // A grouped column, or a header of another grid, is refused.
    std::unique_ptr<QMimeData> again(body().header()->columnMimeData(action));
    EXPECT_EQ(band().acceptedColumn(again.get()), -1);
    GridHeader other;
    std::unique_ptr<QMimeData> foreign(other.columnMimeData(0));
    EXPECT_EQ(band().acceptedColumn(foreign.get()), -1);
    std::unique_ptr<QMimeData> date(body().header()->columnMimeData(0));
    QDragEnterEvent enter(QPoint(5, 5), Qt::MoveAction, date.get(), Qt::LeftButton, {});
    QCoreApplication::sendEvent(&band(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(&band(), &leave);
}

TEST_F(ReportOutputTest, GroupHeadersToggleTheirDirectionAndKeepTheLayout) {
    const auto records = transactions();
    open(records);
    const int reg = records->fieldIndex(u"Reg");
    dropHeader(reg);
    grid().setColumnWidth(0, 137);
    const QString format = grid().columnFormat(0);

    clickChip(0);
    EXPECT_EQ(records->sort(), u"[Reg] DESC");
    const std::vector<int> regs = registers(*records, reg);
    EXPECT_TRUE(std::is_sorted(regs.rbegin(), regs.rend()));
    EXPECT_EQ(grid().columnWidth(0), 137);
    EXPECT_EQ(grid().columnFormat(0), format);
    EXPECT_EQ(grid().groupColumns(), QList<int>{reg});

    // Only the band's chips are group headers: a click on a group line selects it, one on its
    // arrow folds it, and neither sorts.
    const QModelIndex group = body().indexAtLine(0);
    const int lines = body().lineCount();
    QTest::mouseClick(body().viewport(), Qt::LeftButton, {}, centreOfLine(0));
    EXPECT_EQ(body().currentIndex().siblingAtColumn(0), group);
    QTest::mouseClick(body().viewport(), Qt::LeftButton, {},
                      body().visualRect(group).topLeft() + QPoint(4, 4));
    EXPECT_FALSE(body().isExpanded(group));
    EXPECT_LT(body().lineCount(), lines);
    EXPECT_EQ(records->sort(), u"[Reg] DESC");
    EXPECT_EQ(grid().columnTag(reg), u" DESC");
}

TEST_F(ReportOutputTest, GroupingAndResortingKeepTheCurrentRecord) {
    const auto records = transactions();
    // The text-command method opens no link at load, so no message stands in the way.
    const std::int16_t saved = gDVRMethod;
    gDVRMethod = 1;
    open(records);
    gDVRMethod = saved;
    ASSERT_GT(records->recordCount(), 40u);
    grid().setCurrentRow(37);
    const rs::Recordset::Bookmark chosen = records->bookmarkAt(37);
    const auto stillChosen = [&] {
        return grid().currentRow() >= 0 &&
               records->bookmarkAt(std::size_t(grid().currentRow())) == chosen;
    };
    dropHeader(records->fieldIndex(u"Reg"));
    EXPECT_TRUE(stillChosen()) << "grouping";
    dropHeader(records->fieldIndex(u"Action"));
    EXPECT_TRUE(stillChosen()) << "a second group";
    clickChip(0);
    EXPECT_TRUE(stillChosen()) << "a toggle";
    EXPECT_TRUE(body().selectionModel()->isSelected(body().currentIndex()));
    // The video search that follows finds the row without asking for one.
    button("cmdDVRSearch")->click();
    EXPECT_EQ(view_->searches, 1);
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(ReportOutputTest, AReportOpensWithEveryCellInFull) {
    // A long text far past the first screen and between any evenly spread sample's rows.
    rs::RecordsetBuilder builder;
    builder.addField("Note", AdoType::VarWChar, 60);
    builder.addField("Id", AdoType::Integer);
    builder.addField("When", AdoType::Date);
    for (int i = 0; i < 5000; ++i)
        builder.appendRow(std::vector<vb::Variant>{
            vb::Variant(i == 4001 ? u"Refund approved by the duty manager after a call"_s
                                  : u"Sale"_s),
            lng(i), vb::Variant::date(37000 + i % 30 + (i % 7) / 7.0)});
    const auto records = builder.finish();
    open(records, u"Notes"_s, 1);
    GroupingModel& model = *grid().groupingModel();
    for (int column = 0; column < grid().columnCount(); ++column) {
        const int width = grid().columnWidth(column);
        EXPECT_EQ(width, grid().contentWidth(column));
        int widest = body().header()->sectionSizeHint(column);
        for (int row = 0; row < int(records->recordCount()); ++row) {
            const QModelIndex cell = model.indexOfSourceRow(row).siblingAtColumn(column);
            const int indent = column == 0 ? 18 : 0; // under one level of groups
            widest = std::max(widest, body().sizeHintForIndex(cell).width() + indent);
        }
        EXPECT_GE(width, widest) << "column " << column;
        // A date's day and time are measured apart, each rounded to the pixel.
        EXPECT_LE(width, widest + 4) << "column " << column;
    }
}

TEST_F(ReportOutputTest, NoFittedCellElidesItsText) {
    // Names whose widths fall at every fraction of a pixel: the cell elides by the unrounded
    // width, so a fit rounded the wrong way cuts the widest by its last letters.
    const QStringList names = {u"Scott, Susan"_s,     u"Nguyen, Ahmed"_s,   u"Jackson, Angela"_s,
                               u"Davis, Patricia"_s,  u"Martin, Olga"_s,    u"Smith, Fatima"_s,
                               u"Garcia, Jennifer"_s, u"Williams, Ahmed"_s, u"Lee, Min"_s};
    for (qsizetype widest = 0; widest < names.size(); ++widest) {
        rs::RecordsetBuilder builder;
        builder.addField("Name", AdoType::VarWChar, 40);
        for (qsizetype i = 0; i <= widest; ++i)
            builder.appendRow(std::vector<vb::Variant>{vb::Variant(names[i])});
        const auto records = builder.finish();
        open(records, u"Names"_s);
        QStyleOptionViewItem option;
        option.initFrom(&body());
        const int margin =
            body().style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, &body()) + 1;
        const int room = grid().columnWidth(0) - 1 - 2 * margin;
        for (qsizetype i = 0; i <= widest; ++i)
            EXPECT_EQ(body().fontMetrics().elidedText(names[i], Qt::ElideRight, room), names[i]);
    }
}

TEST_F(ReportOutputTest, AutosizeAlternatesFitAndEqualWidths) {
    open(transactions());
    const int columns = grid().columnCount();
    const auto widths = [&] {
        std::vector<int> out;
        for (int c = 0; c < columns; ++c)
            out.push_back(grid().columnWidth(c));
        return out;
    };
    std::vector<int> fitted;
    for (int c = 0; c < columns; ++c)
        fitted.push_back(grid().contentWidth(c));
    const std::vector<int> equal(std::size_t(columns), grid().width() / columns);
    ASSERT_NE(fitted, equal);

    // Opened fitted: the first click, a fit, leaves it as it is.
    EXPECT_EQ(widths(), fitted);
    button("cmdAutoSize")->click();
    EXPECT_EQ(widths(), fitted);
    button("cmdAutoSize")->click();
    EXPECT_EQ(widths(), equal);
    button("cmdAutoSize")->click();
    EXPECT_EQ(widths(), fitted);
    // A fitted column is as wide as its widest text.
    const int date = body().fontMetrics().horizontalAdvance(grid().cellText(0, 0));
    EXPECT_GT(fitted[0], date);
}

TEST_F(ReportOutputTest, FormatsFollowTheTypeAndTheExactName) {
    const auto records = rstest::makeRecordset(
        {{"Date", AdoType::Date},
         {"Time", AdoType::Date},
         {"DATE", AdoType::Date},
         {"Average", AdoType::Double},
         {"Ratio", AdoType::Single},
         {"Total", AdoType::Currency},
         {"Count", AdoType::Integer},
         {"Clerk", AdoType::VarWChar}},
        {{date("2003/03/28"), date("09:05:01"), date("2003/03/28 14:00:00"), vb::Variant(12.5),
          vb::Variant(0.25f), vb::Variant(vb::Currency::fromDouble(1234.5)), lng(1234567),
          vb::Variant(u"Ann"_s)}});
    open(records);
    const QStringList formats{u"ddd, d mmm yyyy"_s, u"HH:nn:ss"_s, u"general date"_s, u"Fixed"_s,
                              u"Fixed"_s,           u"Currency"_s, QString(),         QString()};
    const QStringList texts{u"Fri, 28 Mar 2003"_s,
                            u"09:05:01"_s,
                            u"3/28/2003 2:00:00 PM"_s,
                            u"12.50"_s,
                            u"0.25"_s,
                            u"$1,234.50"_s,
                            u"1234567"_s,
                            u"Ann"_s};
    for (int c = 0; c < records->fieldCount(); ++c) {
        EXPECT_EQ(grid().columnFormat(c), formats[c]) << c;
        EXPECT_EQ(grid().cellText(0, c), texts[c]) << c;
    }
}

TEST_F(ReportOutputTest, ColumnProceduresFailOnColumnsTheGridLacks) {
    ReportGrid grid;
    EXPECT_EQ(testsupport::errorOf([&] { modQueries::subAutoSizeColumns(grid, true); }),
              vb::err::DivisionByZero);
    EXPECT_EQ(testsupport::errorOf([&] { modQueries::subAutoSizeColumns(grid, false); }), 0);
    grid.setRecordset(rstest::makeRecordset({{"Total", AdoType::Double}}, {}));
    const auto wider =
        rstest::makeRecordset({{"Total", AdoType::Double}, {"Date", AdoType::Date}}, {});
    EXPECT_EQ(testsupport::errorOf([&] { modQueries::subFormatColumns(grid, wider); }),
              vb::err::SubscriptOutOfRange);
    EXPECT_EQ(grid.columnFormat(0), u"Fixed") << "columns up to the missing one are formatted";
    EXPECT_EQ(testsupport::errorOf([&] { grid.addGroupColumn(1, 0); }),
              vb::err::SubscriptOutOfRange);
}

TEST_F(ReportOutputTest, KeysMoveTheCurrentRowAndFoldGroups) {
    const auto records = transactions();
    open(records);
    body().setFocus();
    grid().setCurrentRow(0);
    QTest::keyClick(&body(), Qt::Key_Down);
    QTest::keyClick(&body(), Qt::Key_Down);
    EXPECT_EQ(grid().currentRow(), 2);
    QTest::keyClick(&body(), Qt::Key_End);
    EXPECT_EQ(grid().currentRow(), int(records->recordCount()) - 1);
    EXPECT_GT(body().firstVisibleLine(), 0) << "the grid scrolls to the current row";
    QTest::keyClick(&body(), Qt::Key_Home);
    EXPECT_EQ(grid().currentRow(), 0);

    dropHeader(records->fieldIndex(u"Reg"));
    const QModelIndex group = body().indexAtLine(0);
    const int rowsOfGroup = grid().groupingModel()->rowCountOfGroup(group);
    const int lines = body().lineCount();
    body().setCurrentIndex(group);
    QTest::keyClick(&body(), Qt::Key_Left);
    EXPECT_EQ(body().lineCount(), lines - rowsOfGroup);
    EXPECT_EQ(grid().currentRow(), -1) << "a group line is no transaction";
    QTest::keyClick(&body(), Qt::Key_Down);
    EXPECT_TRUE(body().isGroup(body().currentIndex())) << "the next group, past the folded rows";

    // A folded group stays folded when the groups are rebuilt by a re-sort.
    clickChip(0);
    clickChip(0);
    EXPECT_EQ(body().lineCount(), lines - rowsOfGroup);
    EXPECT_FALSE(body().isExpanded(body().indexAtLine(0)));
}

TEST_F(ReportOutputTest, LinesMapToGroupsAndRowsBothWays) {
    open(transactions());
    dropHeader(4);
    dropHeader(2);
    const GroupingModel& model = *grid().groupingModel();
    int groups = 0;
    std::vector<bool> seen(std::size_t(view_->Recordset()->recordCount()), false);
    for (int line = 0; line < body().lineCount(); ++line) {
        const QModelIndex index = body().indexAtLine(line);
        ASSERT_EQ(body().lineOf(index), line);
        if (model.isGroupRow(index))
            ++groups;
        else
            seen[std::size_t(model.sourceRow(index))] = true;
    }
    EXPECT_GT(groups, 2);
    EXPECT_EQ(body().lineCount(), int(seen.size()) + groups);
    EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](bool b) { return b; }));
}

TEST_F(ReportOutputTest, UnloadLetsGoOfTheSetAndTheTableClone) {
    const auto table = rstest::makeRecordset(
        {{"Register", AdoType::Integer}, {"Camera", AdoType::Integer}}, {{lng(1), lng(3)}});
    std::weak_ptr<rs::Recordset> records;
    {
        auto set = transactions();
        records = set;
        view_ = new ProbedView();
        view_->setRecordset(set);
        view_->setReg2CamTable(table);
        view_->setGroupFirstN(1);
        view_->show();
    }
    ASSERT_TRUE(view_->reg2CamTable());
    EXPECT_NE(view_->reg2CamTable(), table);
    view_->reg2CamTable()->setFilter(u"Register = 2"_s);
    EXPECT_EQ(table->recordCount(), 1u) << "only the clone is filtered";

    button("cmdExit")->click();
    EXPECT_TRUE(records.expired());
    EXPECT_EQ(view_->GroupFirstN(), 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(view_.isNull()) << "a closed view is gone";
}

TEST_F(ReportOutputTest, TheGridTakesTheHeightLeftByTheButtonsAndTheStatusBar) {
    open(transactions());
    const auto* frame = view_->findChild<QWidget*>(u"Eframe"_s);
    const auto* status = view_->findChild<QStatusBar*>(u"StatusBar"_s);
    view_->resize(500, 400);
    EXPECT_EQ(grid().height(), 400 - frame->height() - status->height());
    view_->resize(500, 30);
    EXPECT_EQ(grid().height(), 0);
}

class RemoteLogTest : public testsupport::MainWindowTest {
protected:
    QList<frmReportOutput*> reportViews() const {
        QList<frmReportOutput*> views;
        for (QMdiSubWindow* sub : main_->mdiArea()->subWindowList())
            if (auto* view = qobject_cast<frmReportOutput*>(sub->widget())) views << view;
        return views;
    }
    void viewRemoteLog() {
        main_->show();
        main_->subConnected(); // as the full connect ends
        main_->menuItem(u"mnuViewRemoteLog"_s)->trigger();
    }
};

TEST_F(RemoteLogTest, TheLogOpensInAReportViewTitledTillsightLog) {
    connectSite();
    modError::subLogError(main_->session(), 5, u"first"_s, u"x"_s, u"y"_s, u"frmA"_s, u"subA"_s);
    modError::subLogError(main_->session(), 6, u"second"_s, u"x"_s, u"y"_s, u"frmB"_s, u"subB"_s);
    viewRemoteLog();
    const auto views = reportViews();
    ASSERT_EQ(views.size(), 1);
    EXPECT_EQ(views[0]->windowTitle(), u"Tillsight Log");
    EXPECT_EQ(views[0]->statusText(), u"Records: 2 ");
    EXPECT_EQ(views[0]->Recordset()->field(2).name(), u"fldLogDesc");
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(RemoteLogTest, AnEmptyLogShowsNothingAndSaysNothing) {
    connectSite();
    viewRemoteLog();
    EXPECT_TRUE(reportViews().isEmpty());
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(asterisks, 0);
}

} // namespace
