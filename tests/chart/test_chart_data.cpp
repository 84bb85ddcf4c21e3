#include "chart/BarChart.h"
#include "chart/ChartData.h"
#include "vb/VbError.h"

#include "recordset/RecordsetTestData.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::lng;
using rstest::null;

namespace {

chart::ChartData charted(rs::Recordset& records) {
    return chart::fncChartData(records, chart::fncChartShape(records));
}

std::shared_ptr<rs::Recordset> numbered(std::size_t rows) {
    rs::RecordsetBuilder builder;
    builder.addField(u"Clerk"_s, AdoType::VarWChar);
    builder.addField(u"SALE"_s, AdoType::Integer);
    builder.reserve(rows);
    for (std::size_t i = 0; i < rows; ++i)
        builder.appendRow(std::vector<vb::Variant>{vb::Variant(QString::number(i)), lng(1)});
    return builder.finish();
}

} // namespace

// A Daily Summary counts table: a clerk per row, a count per action code, no line of a code
// stored as Null.
TEST(ChartData, MapsLabelColumnAndCountsOfEveryCode) {
    auto counts = rstest::makeRecordset(
        {{"Clerk", AdoType::VarWChar, 40}, {"SALE", AdoType::Integer}, {"VOID", AdoType::Double}},
        {{"Zoë Brown", lng(120), null()}, {"Ann Lee", lng(95), vb::Variant(2.5)}});
    counts->moveLast();
    const chart::ChartData data = charted(*counts);
    EXPECT_EQ(data.firstAxisTitle, u"Clerk"_s);
    EXPECT_EQ(data.rowLabels, (QStringList{u"Zoë Brown"_s, u"Ann Lee"_s}));
    EXPECT_EQ(data.seriesLabels, (QStringList{u"SALE"_s, u"VOID"_s}));
    ASSERT_EQ(data.rows, 2);
    ASSERT_EQ(data.columns, 2);
    EXPECT_EQ(data.values, (std::vector<double>{120, 0, 95, 2.5}));
}

TEST(ChartData, OneColumnGivesNoSeriesAndAnEmptySetAnEmptyChart) {
    auto labels = rstest::makeRecordset({{"Clerk", AdoType::VarWChar}}, {{"Ann"}, {"Bob"}});
    const chart::ChartData labelsOnly = charted(*labels);
    EXPECT_EQ(labelsOnly.columns, 0);
    EXPECT_TRUE(labelsOnly.seriesLabels.isEmpty());
    EXPECT_EQ(labelsOnly.rowLabels, (QStringList{u"Ann"_s, u"Bob"_s}));

    auto empty =
        rstest::makeRecordset({{"Clerk", AdoType::VarWChar}, {"SALE", AdoType::Integer}}, {});
    const chart::ChartData none = charted(*empty);
    EXPECT_EQ(none.rows, 0);
    EXPECT_TRUE(none.values.empty());
    EXPECT_TRUE(none.rowLabels.isEmpty());
}

// The count is kept in 16 bits: one row more than that holds is an overflow, not a short chart.
TEST(ChartData, CountsUpTo32767RowsAndOverflowsBeyond) {
    EXPECT_EQ(chart::fncChartShape(*numbered(32767)).rowCount, 32767);
    try {
        chart::fncChartShape(*numbered(32768));
        FAIL() << "no overflow";
    } catch (const vb::VbError& error) {
        EXPECT_EQ(error.number(), vb::err::Overflow);
    }
}

// A text that is no number stops the filling at its cell; what came before stays charted.
TEST(ChartData, StopsSilentlyAtAValueThatIsNoNumber) {
    auto mixed = rstest::makeRecordset(
        {{"Clerk", AdoType::VarWChar}, {"A", AdoType::VarChar}, {"B", AdoType::Integer}},
        {{"Ann", "12", lng(1)}, {"Bob", "3", lng(2)}, {"Cy", "many", lng(3)}, {"Di", "4", lng(4)}});
    const chart::ChartData data = charted(*mixed);
    EXPECT_EQ(data.rows, 4);
    EXPECT_EQ(data.rowLabels, (QStringList{u"Ann"_s, u"Bob"_s, u"Cy"_s}));
    EXPECT_EQ(data.values, (std::vector<double>{12, 1, 3, 2, 0, 0, 0, 0}));
}

TEST(ChartLayout, KeepsAThousandTwipMarginAndThinsCrowdedLabels) {
    EXPECT_EQ(chart::fncChartArea({720, 500}), QRect(67, 67, 587, 367));
    EXPECT_EQ(chart::fncHeaderText(QString()), u"Tillsight Chart"_s);
    EXPECT_EQ(chart::fncHeaderText(u"Counts"_s), u"Counts"_s);

    QStringList rows;
    for (int i = 0; i < 1000; ++i)
        rows << QString::number(i);
    const QStringList thinned = chart::fncThinnedLabels(rows, 60);
    ASSERT_EQ(thinned.size(), 1000);
    EXPECT_EQ(thinned.count(QString()), 1000 - 59);
    EXPECT_EQ(thinned[17], u"17"_s);
    EXPECT_EQ(chart::fncThinnedLabels(rows.mid(0, 60), 60), rows.mid(0, 60));
}
