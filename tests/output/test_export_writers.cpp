#include "output/ExportWriters.h"
#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"

#include "recordset/RecordsetTestData.h"
#include "support/CoreApplication.h"
#include "support/ExportedFiles.h"
#include "support/VbTestSupport.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::date;
using rstest::lng;
using rstest::null;

namespace {

enum Column { Item, Clerk, Price, Sold };

// Items whose names carry markup, a comma and letters beyond ASCII; a Null in every column but
// the first.
std::shared_ptr<rs::Recordset> items() {
    return rstest::makeRecordset(
        {{"Item", AdoType::VarWChar, 40},
         {"Clerk", AdoType::VarWChar, 20},
         {"Price", AdoType::Currency},
         {"Sold", AdoType::Date}},
        {{"Fish & Chips <large>", "Zoë", vb::Variant(vb::Currency::fromDouble(1234.5)),
          date("2003/03/28 14:05:09")},
         {"Crème brûlée", "Ann", null(), date("2003/03/27 09:00:00")},
         {"Tea, green", null(), vb::Variant(vb::Currency::fromDouble(2)), null()},
         {"Scone", "Zoë", vb::Variant(vb::Currency::fromDouble(3.25)),
          date("2003/03/26 00:00:01")}});
}

class ExportWritersTest : public testsupport::EnUsTest {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    // The report grouped by clerk, sorted as the grid's grouping sorts it, and formatted as the
    // grid formats these columns.
    void SetUp() override {
        EnUsTest::SetUp();
        source.setRecordset(items());
        source.setColumnFormat(Price, u"Currency"_s);
        source.setColumnFormat(Sold, u"ddd, d mmm yyyy"_s);
        source.recordset()->setSort(u"[Clerk] ASC"_s);
        source.reorder();
        grouping.setGroupColumns({Clerk});
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
    RecordsetModel source;
    GroupingModel grouping{&source};
};

TEST_F(ExportWritersTest, DataRowsComeInGridOrderWithoutGroupLines) {
    std::vector<int> rows;
    output::forEachDataRow(grouping, [&](int row) { rows.push_back(row); });
    // Grouped by clerk (Null first, then Ann, then Zoë), every row once.
    ASSERT_EQ(rows.size(), 4u);
    QStringList items;
    for (const int row : rows)
        items.append(source.cellText(row, Item));
    EXPECT_EQ(items, (QStringList{u"Tea, green"_s, u"Crème brûlée"_s, u"Fish & Chips <large>"_s,
                                  u"Scone"_s}));
}

TEST_F(ExportWritersTest, TextIsCaptionsThenDefaultTextsCommaJoinedWithCrlf) {
    const output::ShownReport report{grouping, {Item, Clerk, Price, Sold}, u"Sales"_s};
    ASSERT_TRUE(output::writeDelimitedText(report, path(u"sales.txt"_s)));
    // Money without its symbol or separators, dates in their general form, Null as nothing; the
    // comma in "Tea, green" is left as it is.
    EXPECT_EQ(testsupport::fileText(path(u"sales.txt"_s)),
              u"Item,Clerk,Price,Sold\r\n"
              u"Tea, green,,2,\r\n"
              u"Crème brûlée,Ann,,3/27/2003 9:00:00 AM\r\n"
              u"Fish & Chips <large>,Zoë,1234.5,3/28/2003 2:05:09 PM\r\n"
              u"Scone,Zoë,3.25,3/26/2003 12:00:01 AM\r\n"_s);

    // Columns come in the order given, and only those.
    const output::ShownReport reordered{grouping, {Sold, Item}, QString()};
    ASSERT_TRUE(output::writeDelimitedText(reordered, path(u"two.txt"_s)));
    EXPECT_TRUE(
        testsupport::fileText(path(u"two.txt"_s)).startsWith(u"Sold,Item\r\n,Tea, green\r\n"_s));
}

TEST_F(ExportWritersTest, HtmlIsACompleteEscapedPageShowingWhatTheGridShows) {
    const output::ShownReport report{grouping, {Item, Clerk, Price, Sold}, u"Q&A <1>"_s};
    ASSERT_TRUE(output::writeHtmlTable(report, path(u"sales.htm"_s)));
    const QString html = testsupport::fileText(path(u"sales.htm"_s));
    EXPECT_TRUE(html.startsWith(u"<!DOCTYPE html>\r\n"_s));
    EXPECT_TRUE(html.contains(u"<meta charset=\"utf-8\">"_s));
    EXPECT_EQ(html.count(u"\n"_s), html.count(u"\r\n"_s)) << "every line ends in CRLF";
    EXPECT_TRUE(html.contains(u"<title>Q&amp;A &lt;1&gt;</title>"_s));
    EXPECT_TRUE(
        html.contains(u"<tr><th>Item</th><th>Clerk</th><th>Price</th><th>Sold</th></tr>"_s));
    EXPECT_TRUE(html.contains(u"Fish &amp; Chips &lt;large&gt;"_s));
    EXPECT_TRUE(html.endsWith(u"</table>\r\n</body>\r\n</html>\r\n"_s));

    std::vector<QStringList> expected;
    output::forEachDataRow(grouping, [&](int row) {
        QStringList cells;
        for (const int column : {Item, Clerk, Price, Sold})
            cells.append(source.cellText(row, column));
        expected.push_back(cells);
    });
    EXPECT_EQ(testsupport::htmlDataRows(html), expected);
    EXPECT_EQ(expected[2], (QStringList{u"Fish & Chips <large>"_s, u"Zoë"_s, u"$1,234.50"_s,
                                        u"Fri, 28 Mar 2003"_s}));
    // Money and dates stand right as in the grid; text does not.
    EXPECT_TRUE(html.contains(u"<tr><td>Scone</td><td>Zoë</td><td class=\"n\">$3.25</td>"_s));
}

TEST_F(ExportWritersTest, AFileIsReplacedWholeOrNotAtAll) {
    const output::ShownReport report{grouping, {Item}, QString()};
    const QString target = path(u"old.htm"_s);
    {
        QFile old(target);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(100000, 'x'));
    }
    ASSERT_TRUE(output::writeHtmlTable(report, target));
    EXPECT_FALSE(testsupport::fileText(target).contains(u"xxx"_s));
    EXPECT_TRUE(testsupport::fileText(target).startsWith(u"<!DOCTYPE html>"_s));

    // A folder that does not exist, or a folder in the file's place, takes nothing.
    EXPECT_FALSE(output::writeDelimitedText(report, path(u"missing/a.txt"_s)));
    EXPECT_FALSE(QFile::exists(path(u"missing/a.txt"_s)));
    EXPECT_FALSE(output::writeHtmlTable(report, dir.path()));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{u"old.htm"_s});
}

} // namespace
