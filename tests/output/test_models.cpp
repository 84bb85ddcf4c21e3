#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"

#include "jet/SqliteDatabase.h"
#include "recordset/RecordsetTestData.h"
#include "support/CoreApplication.h"
#include "support/DemoSite.h"
#include "support/VbTestSupport.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <algorithm>
#include <functional>
#include <map>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::date;
using rstest::lng;
using rstest::money;
using rstest::null;

namespace {

vb::Variant dbl(double v) {
    return vb::Variant(v);
}

enum SalesColumn { Id, Clerk, Register, Price, Total, Date, Time };

// Five sales lines whose clerks and registers repeat out of order.
std::shared_ptr<rs::Recordset> salesLines() {
    return rstest::makeRecordset(
        {{"Id", AdoType::Integer},
         {"Clerk", AdoType::VarWChar, 20},
         {"Register", AdoType::Integer},
         {"Price", AdoType::Double},
         {"Total", AdoType::Currency},
         {"Date", AdoType::Date},
         {"Time", AdoType::Date}},
        {{lng(1), "Ann", lng(2), dbl(12.5), money(1234.5), date("2003/03/28"), date("14:05:09")},
         {lng(2), "Bob", lng(1), dbl(3), money(2), date("2003/03/27"), date("09:00:00")},
         {lng(3), "Ann", lng(1), null(), money(7.25), date("2003/03/28"), date("23:59:59")},
         {lng(4), "Cy", lng(2), dbl(0.1), null(), date("2003/03/26"), date("00:00:01")},
         {lng(5), "Bob", lng(2), dbl(8), money(-3), date("2003/03/27"), date("12:00:00")}});
}

// Enough rows for every clerk to meet every register several times, in no particular order;
// some clerks are Null and some are empty texts.
std::shared_ptr<rs::Recordset> shuffledLines(int rows) {
    const std::array<const char*, 4> clerks{"Ann", "Bob", "Cy", ""};
    rs::RecordsetBuilder builder;
    builder.addField("Id", AdoType::Integer);
    builder.addField("Clerk", AdoType::VarWChar, 20);
    builder.addField("Register", AdoType::Integer);
    for (int i = 0; i < rows; ++i) {
        const vb::Variant clerk =
            i % 11 == 0 ? null() : vb::Variant(clerks[std::size_t(i * 7 % 4)]);
        builder.appendRow(std::array{lng(i), clerk, lng(i * i % 5 + 1)});
    }
    return builder.finish();
}

// Checks every answer and signal of a model while it lives; a broken rule stops the program.
std::unique_ptr<QAbstractItemModelTester> checked(QAbstractItemModel* model) {
    return std::make_unique<QAbstractItemModelTester>(
        model, QAbstractItemModelTester::FailureReportingMode::Fatal);
}

QString text(const QAbstractItemModel& model, const QModelIndex& index) {
    return model.data(index, Qt::DisplayRole).toString();
}

vb::Variant valueOf(const QAbstractItemModel& model, const QModelIndex& index) {
    return qvariant_cast<vb::Variant>(model.data(index, RecordsetModel::ValueRole));
}

QStringList topLevelTexts(const GroupingModel& model) {
    QStringList out;
    for (int row = 0; row < model.rowCount(); ++row)
        out << text(model, model.index(row, 0));
    return out;
}

// The source rows under a group row, in the order it shows them.
std::vector<int> sourceRowsUnder(const GroupingModel& model, const QModelIndex& parent) {
    std::vector<int> rows;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex child = model.index(row, 0, parent);
        if (model.isGroupRow(child)) {
            const auto inner = sourceRowsUnder(model, child);
            rows.insert(rows.end(), inner.begin(), inner.end());
        } else {
            rows.push_back(model.sourceRow(child));
        }
    }
    return rows;
}

class ModelTest : public testsupport::EnUsTest {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    RecordsetModel source;
};

using RecordsetModelTest = ModelTest;
using GroupingModelTest = ModelTest;

TEST_F(RecordsetModelTest, ShowsTheFieldsAndRowsOfWhateverRecordsetItHolds) {
    const auto tester = checked(&source);
    source.setRecordset(salesLines());
    ASSERT_EQ(source.rowCount(), 5);
    ASSERT_EQ(source.columnCount(), 7);
    EXPECT_EQ(source.headerData(Clerk, Qt::Horizontal).toString(), u"Clerk"_s);
    EXPECT_EQ(text(source, source.index(1, Clerk)), u"Bob"_s);
    EXPECT_EQ(text(source, source.index(0, Price)), u"12.5"_s);
    EXPECT_EQ(text(source, source.index(2, Price)), QString());
    EXPECT_EQ(source.cellText(5, Clerk), QString());

    source.setRecordset(rstest::makeRecordset({{"Id", AdoType::Integer}}, {}));
    EXPECT_EQ(source.rowCount(), 0);
    EXPECT_EQ(source.columnCount(), 1);

    source.setRecordset(nullptr);
    EXPECT_EQ(source.rowCount(), 0);
    EXPECT_EQ(source.columnCount(), 0);
    EXPECT_EQ(source.cellText(0, 0), QString());
}

TEST_F(RecordsetModelTest, ColumnFormatsShapeEveryCellOfTheirColumn) {
    source.setRecordset(salesLines());
    QSignalSpy changed(&source, &QAbstractItemModel::dataChanged);
    source.setColumnFormat(Price, u"Fixed"_s);
    source.setColumnFormat(Total, u"Currency"_s);
    source.setColumnFormat(Date, u"ddd, d mmm yyyy"_s);
    source.setColumnFormat(Time, u"HH:nn:ss"_s);
    ASSERT_EQ(changed.size(), 4);
    EXPECT_EQ(changed[0][0].toModelIndex(), source.index(0, Price));
    EXPECT_EQ(changed[0][1].toModelIndex(), source.index(4, Price));

    EXPECT_EQ(source.columnFormat(Price), u"Fixed"_s);
    EXPECT_EQ(source.cellText(0, Price), u"12.50"_s);
    EXPECT_EQ(source.cellText(3, Price), u"0.10"_s);
    EXPECT_EQ(source.cellText(2, Price), QString()) << "Null shows empty in any format";
    EXPECT_EQ(source.cellText(0, Total), u"$1,234.50"_s);
    EXPECT_EQ(source.cellText(4, Total), u"($3.00)"_s);
    EXPECT_EQ(source.cellText(0, Date), u"Fri, 28 Mar 2003"_s);
    EXPECT_EQ(source.cellText(3, Time), u"00:00:01"_s);
    EXPECT_EQ(text(source, source.index(2, Time)), u"23:59:59"_s);
    EXPECT_EQ(source.cellText(0, Clerk), u"Ann"_s) << "an unformatted column keeps its text";

    source.setRecordset(salesLines());
    EXPECT_EQ(source.columnFormat(Price), QString()) << "a new result set starts unformatted";
    EXPECT_EQ(source.cellText(0, Price), u"12.5"_s);
}

TEST_F(RecordsetModelTest, NumbersMoneyAndDatesAlignRightTheRestLeft) {
    auto records = rstest::makeRecordset(
        {{"Qty", AdoType::SmallInt},
         {"Price", AdoType::Single},
         {"Total", AdoType::Currency},
         {"At", AdoType::DBTimeStamp},
         {"Clerk", AdoType::VarWChar},
         {"Void", AdoType::Boolean}},
        {{lng(1), dbl(2), dbl(3), date("2003/03/28"), "Ann", vb::Variant(true)}});
    source.setRecordset(records);
    std::vector<int> horizontal;
    for (int column = 0; column < source.columnCount(); ++column)
        horizontal.push_back(source.data(source.index(0, column), Qt::TextAlignmentRole).toInt() &
                             Qt::AlignHorizontal_Mask);
    const std::vector<int> expected{Qt::AlignRight, Qt::AlignRight, Qt::AlignRight,
                                    Qt::AlignRight, Qt::AlignLeft,  Qt::AlignLeft};
    EXPECT_EQ(horizontal, expected);
}

TEST_F(RecordsetModelTest, ValueRoleGivesTheRawValue) {
    source.setRecordset(salesLines());
    EXPECT_EQ(valueOf(source, source.index(0, Total)), money(1234.5));
    EXPECT_TRUE(valueOf(source, source.index(3, Total)).isNull());
    EXPECT_EQ(valueOf(source, source.index(1, Clerk)), vb::Variant("Bob"));
}

TEST_F(RecordsetModelTest, ReorderReadsTheNewOrderAndKeepsTheColumns) {
    const auto tester = checked(&source);
    source.setRecordset(salesLines());
    source.setColumnFormat(Price, u"Fixed"_s);
    QPersistentModelIndex current(source.index(0, Price));
    QSignalSpy resets(&source, &QAbstractItemModel::modelReset);
    QSignalSpy layouts(&source, &QAbstractItemModel::layoutChanged);

    source.recordset()->setSort(u"[Price] DESC"_s);
    source.reorder();
    EXPECT_EQ(resets.size(), 0);
    EXPECT_EQ(layouts.size(), 1);
    EXPECT_FALSE(current.isValid()) << "the row it named has moved somewhere unknown";
    QStringList prices;
    for (int row = 0; row < source.rowCount(); ++row)
        prices << source.cellText(row, Price);
    EXPECT_EQ(prices, (QStringList{u"12.50"_s, u"8.00"_s, u"3.00"_s, u"0.10"_s, QString()}));

    source.recordset()->setFilter(u"Register = 1"_s);
    source.reorder();
    EXPECT_EQ(resets.size(), 1) << "a changed row count cannot be a layout change";
    EXPECT_EQ(source.rowCount(), 2);
    EXPECT_EQ(source.columnFormat(Price), u"Fixed"_s);
}

TEST_F(GroupingModelTest, WithoutGroupColumnsItIsTheFlatListOfRows) {
    source.setRecordset(salesLines());
    GroupingModel model(&source);
    const auto tester = checked(&model);
    ASSERT_EQ(model.rowCount(), 5);
    ASSERT_EQ(model.columnCount(), 7);
    EXPECT_EQ(model.headerData(Total, Qt::Horizontal).toString(), u"Total"_s);
    const QModelIndex last = model.index(4, Clerk);
    EXPECT_FALSE(model.isGroupRow(last));
    EXPECT_EQ(model.groupLevel(last), -1);
    EXPECT_EQ(model.sourceRow(last), 4);
    EXPECT_EQ(text(model, last), u"Bob"_s);
    EXPECT_EQ(model.rowCount(last), 0);
    EXPECT_EQ(model.indexOfSourceRow(3), model.index(3, 0));
}

TEST_F(GroupingModelTest, EqualValuesFormOneGroupInOrderOfFirstAppearance) {
    source.setRecordset(salesLines());
    GroupingModel model(&source);
    const auto tester = checked(&model);
    model.setGroupColumns({Clerk});
    EXPECT_EQ(topLevelTexts(model), (QStringList{u"Clerk: Ann (2 rows)"_s, u"Clerk: Bob (2 rows)"_s,
                                                 u"Clerk: Cy (1 row)"_s}));
    const QModelIndex bob = model.index(1, 0);
    EXPECT_TRUE(model.isGroupRow(bob));
    EXPECT_EQ(model.groupLevel(bob), 0);
    EXPECT_EQ(model.groupColumnOf(bob), Clerk);
    EXPECT_EQ(model.sourceRow(bob), -1);
    EXPECT_EQ(model.rowCountOfGroup(bob), 2);
    EXPECT_EQ(valueOf(model, bob), vb::Variant("Bob"));
    EXPECT_EQ(sourceRowsUnder(model, bob), (std::vector<int>{1, 4}));
    EXPECT_EQ(text(model, model.index(1, Id, bob)), u"5"_s);
    EXPECT_EQ(text(model, model.index(1, Clerk)), QString()) << "a group row shows only column 0";
}

TEST_F(GroupingModelTest, NestedGroupsPartitionTheRows) {
    auto records = shuffledLines(300);
    source.setRecordset(records);
    GroupingModel model(&source);
    model.setGroupColumns({Clerk, Register});

    // Every data row sits under the groups of its own values, and every row shows exactly once.
    std::map<std::pair<QString, int>, int> expectedCounts;
    for (std::size_t row = 0; row < records->recordCount(); ++row)
        ++expectedCounts[{records->isNullAt(row, Clerk) ? u"<null>"_s
                                                        : records->valueAt(row, Clerk).toString(),
                          records->valueAt(row, Register).longValue()}];
    std::size_t innerGroups = 0;
    int total = 0;
    for (int outer = 0; outer < model.rowCount(); ++outer) {
        const QModelIndex clerk = model.index(outer, 0);
        int sum = 0;
        for (int inner = 0; inner < model.rowCount(clerk); ++inner) {
            const QModelIndex reg = model.index(inner, 0, clerk);
            ASSERT_EQ(model.groupLevel(reg), 1);
            const auto rows = sourceRowsUnder(model, reg);
            ASSERT_EQ(int(rows.size()), model.rowCountOfGroup(reg));
            for (int row : rows) {
                ASSERT_EQ(records->valueAt(std::size_t(row), Clerk), valueOf(model, clerk));
                ASSERT_EQ(records->valueAt(std::size_t(row), Register), valueOf(model, reg));
                ASSERT_EQ(model.sourceRow(model.indexOfSourceRow(row)), row);
                ASSERT_EQ(model.indexOfSourceRow(row).parent(), reg);
            }
            sum += model.rowCountOfGroup(reg);
            ++innerGroups;
        }
        EXPECT_EQ(sum, model.rowCountOfGroup(clerk));
        total += sum;
    }
    EXPECT_EQ(total, 300);
    EXPECT_EQ(innerGroups, expectedCounts.size());
    auto all = sourceRowsUnder(model, {});
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
    EXPECT_EQ(all.size(), 300u);
    EXPECT_FALSE(model.indexOfSourceRow(300).isValid());
}

TEST_F(GroupingModelTest, NullsAndEmptyTextsAreGroupsOfTheirOwn) {
    source.setRecordset(shuffledLines(12));
    GroupingModel model(&source);
    model.setGroupColumns({Clerk});
    // Rows 0 and 11 are Null; from row 1 on the clerks cycle "", Cy, Bob, Ann.
    EXPECT_EQ(
        topLevelTexts(model),
        (QStringList{u"Clerk: (none) (2 rows)"_s, u"Clerk: (empty) (3 rows)"_s,
                     u"Clerk: Cy (3 rows)"_s, u"Clerk: Bob (2 rows)"_s, u"Clerk: Ann (2 rows)"_s}));
    EXPECT_TRUE(valueOf(model, model.index(0, 0)).isNull());
    EXPECT_EQ(sourceRowsUnder(model, model.index(0, 0)), (std::vector<int>{0, 11}));
}

TEST_F(GroupingModelTest, RegroupsWhenTheSourceIsResortedOrReset) {
    source.setRecordset(salesLines());
    GroupingModel model(&source);
    const auto tester = checked(&model);
    model.setGroupColumns({Register, Clerk});
    EXPECT_EQ(topLevelTexts(model),
              (QStringList{u"Register: 2 (3 rows)"_s, u"Register: 1 (2 rows)"_s}));
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);

    source.recordset()->setSort(u"[Register] ASC, [Clerk] DESC"_s);
    source.reorder();
    EXPECT_EQ(resets.size(), 1);
    EXPECT_EQ(topLevelTexts(model),
              (QStringList{u"Register: 1 (2 rows)"_s, u"Register: 2 (3 rows)"_s}));
    const QModelIndex two = model.index(1, 0);
    EXPECT_EQ(text(model, model.index(0, 0, two)), u"Clerk: Cy (1 row)"_s);
    EXPECT_EQ(sourceRowsUnder(model, {}), (std::vector<int>{0, 1, 2, 3, 4}))
        << "sorted by the group columns, the tree reads the rows in order";

    source.setRecordset(rstest::makeRecordset({{"Clerk", AdoType::VarWChar}}, {}));
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.groupColumns(), (QList<int>{Register, Clerk}));
    source.setRecordset(nullptr);
    EXPECT_EQ(model.columnCount(), 0);
    EXPECT_EQ(model.rowCountOfGroup({}), 0);
}

TEST_F(GroupingModelTest, ColumnsTheSourceLacksAreLeftOut) {
    source.setRecordset(salesLines());
    GroupingModel model(&source);
    model.setGroupColumns({99, Clerk, -1});
    EXPECT_EQ(model.rowCount(), 3);
    EXPECT_EQ(model.groupColumnOf(model.index(0, 0)), Clerk);
    EXPECT_FALSE(model.isGroupRow(model.index(0, 0, model.index(0, 0))));
}

TEST_F(GroupingModelTest, GroupRowsShowTheirValueAsTheColumnDoes) {
    source.setRecordset(salesLines());
    GroupingModel model(&source);
    const auto tester = checked(&model);
    model.setGroupColumns({Date, Price});
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    source.setColumnFormat(Date, u"ddd, d mmm yyyy"_s);
    source.setColumnFormat(Price, u"Fixed"_s);
    EXPECT_FALSE(changed.isEmpty());
    const QModelIndex friday = model.index(0, 0);
    EXPECT_EQ(text(model, friday), u"Date: Fri, 28 Mar 2003 (2 rows)"_s);
    EXPECT_EQ(text(model, model.index(0, 0, friday)), u"Price: 12.50 (1 row)"_s);
    EXPECT_EQ(text(model, model.index(1, 0, friday)), u"Price: (none) (1 row)"_s);
    EXPECT_EQ(valueOf(model, friday), date("2003/03/28"));
}

TEST_F(GroupingModelTest, ForgetsARecordsetModelThatIsDestroyed) {
    auto owned = std::make_unique<RecordsetModel>();
    owned->setRecordset(salesLines());
    GroupingModel model(owned.get());
    const auto tester = checked(&model);
    model.setGroupColumns({Clerk});
    owned.reset();
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 0);
}

TEST_F(GroupingModelTest, GroupsOfASiteMatchTheEnginesOwnCounts) {
    auto site = jet::SqliteDatabase::open(testsupport::demoSite().path);
    auto records = site->query(u"SELECT fldtransregnum AS Register, fkyActorID AS Clerk, "
                               u"fldTransPrice AS Price FROM tblTrans"_s);
    auto counts = site->query(u"SELECT fldtransregnum, fkyActorID, Count(*) AS N FROM tblTrans "
                              u"GROUP BY fldtransregnum, fkyActorID"_s);
    source.setRecordset(records);
    GroupingModel model(&source);
    model.setGroupColumns({0, 1});

    std::map<std::pair<int, int>, int> engine;
    for (std::size_t row = 0; row < counts->recordCount(); ++row)
        engine[{vb::clng(counts->valueAt(row, 0)), vb::clng(counts->valueAt(row, 1))}] =
            vb::clng(counts->valueAt(row, 2));
    std::map<std::pair<int, int>, int> grouped;
    for (int outer = 0; outer < model.rowCount(); ++outer) {
        const QModelIndex reg = model.index(outer, 0);
        for (int inner = 0; inner < model.rowCount(reg); ++inner) {
            const QModelIndex clerk = model.index(inner, 0, reg);
            grouped[{vb::clng(valueOf(model, reg)), vb::clng(valueOf(model, clerk))}] =
                model.rowCountOfGroup(clerk);
        }
    }
    EXPECT_GT(engine.size(), 6u);
    EXPECT_EQ(grouped, engine);
}

TEST_F(GroupingModelTest, TextsDifferingOnlyInCaseShareAGroupAsTheyDoOnTheSite) {
    auto site = jet::SqliteDatabase::open(testsupport::demoSite().path);
    const QString lines =
        u"SELECT fldTransDesc AS D FROM tblTrans WHERE idftransid <= 40 UNION ALL "
        u"SELECT lcase$(fldTransDesc) FROM tblTrans WHERE idftransid <= 40"_s;
    auto counts = site->query(u"SELECT D, Count(*) AS N FROM ("_s + lines + u") GROUP BY D"_s);
    source.setRecordset(site->query(lines));
    GroupingModel model(&source);
    model.setGroupColumns({0});

    ASSERT_EQ(model.rowCount(), static_cast<int>(counts->recordCount()));
    std::map<QString, int> engine, grouped;
    for (std::size_t row = 0; row < counts->recordCount(); ++row)
        engine[counts->valueAt(row, 0).toString().toUpper()] = vb::clng(counts->valueAt(row, 1));
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex group = model.index(row, 0);
        grouped[valueOf(model, group).toString().toUpper()] = model.rowCountOfGroup(group);
    }
    EXPECT_EQ(grouped, engine);
}

} // namespace
