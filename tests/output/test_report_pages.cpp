// Reports on paper, printed to PDF and read back by pdftotext: what a reader of the pages sees
// on each one, whatever the layout code believes it drew.

#include "output/ColumnFormat.h"
#include "output/ReportPages.h"

#include "recordset/RecordsetTestData.h"
#include "support/PdfText.h"

#include <QGuiApplication>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;

namespace {

constexpr int kClerks = 7;

QString itemName(int row) {
    return u"Item%1"_s.arg(row, 4, 10, QChar(u'0'));
}

// `rows` sales of kClerks clerks, the clerks interleaved so grouping must reorder them.
std::shared_ptr<rs::Recordset> sales(int rows, int extraColumns = 0) {
    rs::RecordsetBuilder builder;
    builder.addField(u"Clerk"_s, AdoType::VarWChar, 20);
    builder.addField(u"Item"_s, AdoType::VarWChar, 20);
    builder.addField(u"Qty"_s, AdoType::Integer);
    builder.addField(u"Price"_s, AdoType::Currency);
    for (int i = 0; i < extraColumns; ++i)
        builder.addField(u"Extra%1"_s.arg(i), AdoType::VarWChar, 20);
    for (int row = 0; row < rows; ++row) {
        std::vector<vb::Variant> values = {
            vb::Variant(u"Clerk%1"_s.arg(kClerks - 1 - row % kClerks)), vb::Variant(itemName(row)),
            vb::Variant(std::int16_t(row % 50)), vb::Variant(vb::Currency::fromDouble(row * 1.25))};
        for (int i = 0; i < extraColumns; ++i)
            values.push_back(vb::Variant(u"Wide column text %1"_s.arg(i)));
        builder.appendRow(values);
    }
    return builder.finish();
}

class ReportPagesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "test_report_pages";
        static char* argv[] = {name, nullptr};
        if (!QGuiApplication::instance()) new QGuiApplication(argc, argv);
    }

    // The report grouped by clerk (the set sorted so, as the view sorts it), `folded` groups
    // closed as a user closes them in the grid.
    void open(std::shared_ptr<rs::Recordset> records, QSet<QString> folded = {}) {
        records_ = std::move(records);
        records_->setSort(u"[Clerk] ASC"_s);
        model_.setRecordset(records_);
        for (int i = 0; i < records_->fieldCount(); ++i)
            model_.setColumnFormat(
                i, output::fncColumnFormat(records_->field(i).type(), records_->field(i).name()));
        grouping_.setGroupColumns({0});
        lines_.rebuild(&grouping_, [&](const QModelIndex& group) {
            return !folded.contains(
                grouping_.data(group, GroupingModel::ValueRole).value<vb::Variant>().toString());
        });
    }

    output::PrintedReport printed(const QList<double>& widths) const {
        QList<int> columns;
        for (int i = 0; i < records_->fieldCount(); ++i)
            columns << i;
        QFont font(u"DejaVu Sans"_s, 9);
        QFont header = font;
        header.setPointSize(12);
        return {grouping_,
                lines_,
                columns,
                widths,
                output::fncPageHeader(u"Voids"_s),
                output::fncPageFooter(u"3/28/2003 14:05:09"_s),
                font,
                header};
    }

    // Prints on Letter paper with half-inch margins.
    void print(const output::PrintedReport& report, int* bands = nullptr) {
        QPdfWriter writer(path_);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::Letter), QPageLayout::Portrait,
                                         QMarginsF(36, 36, 36, 36), QPageLayout::Point));
        const output::ReportPages pages(report, writer);
        if (bands) *bands = pages.bandCount();
        EXPECT_TRUE(pages.print(writer));
    }

    // The pages as pdftotext reads them.
    std::vector<testsupport::PdfPage> printAndRead(const output::PrintedReport& report,
                                                   int* bands = nullptr) {
        print(report, bands);
        return testsupport::pdfPages(path_);
    }

    QTemporaryDir dir_;
    QString path_ = dir_.filePath(u"report.pdf"_s);
    std::shared_ptr<rs::Recordset> records_;
    RecordsetModel model_;
    GroupingModel grouping_{&model_};
    RowLayout lines_;
};

TEST(MarkedText, SplitsLeftCentreAndRightAndNumbersThePage) {
    const auto header = output::fncSplitMarkedText(output::fncPageHeader(u"Voids"_s), 4);
    EXPECT_EQ(header.left, u""_s);
    EXPECT_EQ(header.centre, u"Voids"_s);
    EXPECT_EQ(header.right, u""_s);
    const auto footer =
        output::fncSplitMarkedText(output::fncPageFooter(u"3/28/2003 14:05:09"_s), 12);
    EXPECT_EQ(footer.centre, u"12"_s);
    EXPECT_EQ(footer.right, u"Generated 3/28/2003 14:05:09"_s);
    EXPECT_EQ(output::fncSplitMarkedText(u"plain"_s, 1).left, u"plain"_s);
}

// 3,000 rows over many pages: the title centred on top of each, the page number centred and the
// opening time on the right at the bottom, the column header repeated, and the rows in the grid's
// order with the folded clerk's rows left out but its group line kept.
TEST_F(ReportPagesTest, EveryPageHasItsFrameAndTheRowsFollowTheGrid) {
    open(sales(3000), {u"Clerk3"_s});
    const auto pages = printAndRead(printed({70, 60, 30, 60}));
    ASSERT_GT(pages.size(), 40u);

    QStringList items;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const testsupport::PdfPage& page = pages[i];
        SCOPED_TRACE("page " + std::to_string(i + 1));
        const testsupport::PdfWord* title = page.find(u"Voids"_s);
        ASSERT_TRUE(title);
        EXPECT_NEAR(title->centre(), page.width / 2, 2);
        EXPECT_LT(title->bottom, 72);
        const QString number = QString::number(i + 1);
        const QStringList footer = page.lineOf(u"Generated"_s);
        EXPECT_EQ(footer, (QStringList{number, u"Generated"_s, u"3/28/2003"_s, u"14:05:09"_s}));
        const testsupport::PdfWord* stamp = page.find(u"14:05:09"_s);
        ASSERT_TRUE(stamp);
        EXPECT_NEAR(stamp->right, page.width - 36, 2) << "right-aligned at the margin";
        EXPECT_GT(stamp->top, page.height - 72);
        for (const auto& word : page.words) {
            if (word.text == number && std::abs(word.top - stamp->top) < 1) {
                EXPECT_NEAR(word.centre(), page.width / 2, 2);
            }
        }
        EXPECT_EQ(page.lineOf(u"Qty"_s),
                  (QStringList{u"Clerk"_s, u"Item"_s, u"Qty"_s, u"Price"_s}));
        for (const auto& word : page.words)
            if (word.text.startsWith(u"Item") && word.text != u"Item") items << word.text;
    }

    QStringList expected; // grouped by clerk, each group in the set's order, Clerk3 folded
    for (int clerk = 0; clerk < kClerks; ++clerk)
        for (int row = 0; row < 3000; ++row)
            if (kClerks - 1 - row % kClerks == clerk && clerk != 3) expected << itemName(row);
    EXPECT_EQ(items, expected);
    const QString layout = testsupport::pdfLayoutPages(path_).join(u'\n');
    EXPECT_TRUE(layout.contains(u"Clerk: Clerk3 (429 rows)"_s));
}

// Six columns a fifth too wide for the page shrink the type, no band; thirty columns cannot shrink
// that far and go on over bands, every line of the first band first.
TEST_F(ReportPagesTest, WideReportsShrinkThenContinueInBands) {
    open(sales(120, 2));
    int bands = 0;
    auto pages = printAndRead(printed({110, 110, 110, 110, 110, 110}), &bands);
    EXPECT_EQ(bands, 1);
    for (const auto& page : pages)
        EXPECT_TRUE(page.find(u"Extra1"_s)) << "every column on every page";

    open(sales(120, 26));
    QList<double> widths(30, 110.0);
    pages = printAndRead(printed(widths), &bands);
    ASSERT_GT(bands, 1);
    ASSERT_EQ(pages.size() % bands, 0u);
    const std::size_t perBand = pages.size() / bands;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const bool firstBand = i < perBand;
        EXPECT_EQ(bool(pages[i].find(u"Clerk"_s)), firstBand) << "page " << i + 1;
        EXPECT_EQ(bool(pages[i].find(u"Extra25"_s)), i >= pages.size() - perBand)
            << "page " << i + 1;
        EXPECT_TRUE(pages[i].find(u"Voids"_s));
    }
    EXPECT_TRUE(pages[perBand].find(u"Clerk:"_s)) << "group lines on every band";
}

} // namespace
