// The Daily Summary on copies of the demo site: its document read back line by line as the bytes
// mail and archive scripts expect, and its three tables against counts and averages computed once
// more from the register lines through SQLite itself.

#include "SessionTest.h"

#include "core/clsDailySummary.h"
#include "vb/DateTime.h"

#include "recordset/RecordsetTestData.h"
#include "support/DemoSite.h"

#include <QRegularExpression>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <map>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::lng;
using rstest::null;

namespace {

const QString kCrLf = u"\r\n"_s;
const QString kHeaderCell = u"<TD align=\"Middle\" valign=\"CENTER\" bgcolor=\"#C0C0C0\" "
                            "width=\"9%\"><font color=\"#000000\" face=\"MS Sans Serif\" "
                            "size=\"-1\" weight=\"1\">"_s;
const double kFriday = vb::dateSerial(2003, 3, 28);
const QString kFridayTitle = u"Daily Summary Report - Friday, March 28, 2003"_s;
const QString kFridayCaptions[] = {
    u"On 3/28/2003 each clerk had these counts of each action code"_s,
    u"During the 30 days 2/26/2003 00:00 - 3/28/2003 00:00  the average clerk had these counts "
    "per day"_s,
    u"During the 30 days 2/26/2003 00:00 - 3/28/2003 00:00  each clerk had an average of these "
    "counts per day"_s};

QString head(const QString& title) {
    return u"<html>\r\n<head>\r\n<title>"_s + title + u"</title>\r\n</head>\r\n<body>\r\n<H1>"_s +
           title + u"</H1>\r\n"_s;
}
const QString kTail = u"</body>\r\n</html>"_s;

// One table of the document: its column names and the text of every cell.
struct Section {
    QString caption;
    QStringList headings;
    std::vector<QStringList> rows;
};

struct Document {
    QString title;
    std::vector<Section> sections;
};

// Reads the document as the builder must write it, every tag, blank and line end in its place;
// anything else is a failure naming the first line that is not as expected.
class DocumentReader {
public:
    explicit DocumentReader(const QString& html) : lines_(html.split(kCrLf)) {}

    std::optional<Document> read() {
        Document document;
        if (!expect(u"<html>"_s) || !expect(u"<head>"_s)) return fail();
        static const QRegularExpression title(u"^<title>(.*)</title>$"_s);
        const auto titled = title.match(next());
        if (!titled.hasMatch()) return fail();
        document.title = titled.captured(1);
        if (!expect(u"</head>"_s) || !expect(u"<body>"_s) ||
            !expect(u"<H1>"_s + document.title + u"</H1>"_s))
            return fail();
        while (peek().startsWith(u"<p>"_s)) {
            auto section = readSection();
            if (!section) return fail();
            document.sections.push_back(*section);
        }
        // "</html>" ends the text: no line break follows it.
        if (!expect(u"</body>"_s) || !expect(u"</html>"_s) || at_ != lines_.size()) return fail();
        return document;
    }

    QString error() const { return u"line %1: \"%2\""_s.arg(at_).arg(lines_.value(at_ - 1)); }

private:
    std::optional<Section> readSection() {
        static const QRegularExpression caption(u"^<p>(.*)<p>$"_s);
        static const QRegularExpression cell(u"^<TD NOWRAP>(.*)</TD>$"_s);
        Section section;
        const auto captioned = caption.match(next());
        if (!captioned.hasMatch() || !expect(u"<TABLE BORDER>"_s) || !expect(u"<TR>"_s))
            return std::nullopt;
        section.caption = captioned.captured(1);
        while (peek().startsWith(kHeaderCell)) {
            const QString line = next();
            if (!line.endsWith(u"</font></TD>"_s)) return std::nullopt;
            section.headings << line.mid(kHeaderCell.size()).chopped(12);
        }
        if (!expect(u"</TR>"_s)) return std::nullopt;
        while (peek() == u"<TR>"_s) {
            next();
            QStringList row;
            for (int c = 0; c < section.headings.size(); ++c) {
                const auto cellText = cell.match(next());
                if (!cellText.hasMatch()) return std::nullopt;
                row << cellText.captured(1);
            }
            if (!expect(u"</TR>"_s)) return std::nullopt;
            section.rows.push_back(row);
        }
        if (!expect(u"</TABLE>"_s)) return std::nullopt;
        return section;
    }

    QString peek() const { return lines_.value(at_); }
    QString next() { return lines_.value(at_++); }
    bool expect(const QString& line) { return next() == line; }
    std::nullopt_t fail() {
        ADD_FAILURE() << "the document is not as written, " << error().toStdString();
        return std::nullopt;
    }

    QStringList lines_;
    qsizetype at_ = 0;
};

Document readDocument(const QString& html) {
    DocumentReader reader(html);
    return reader.read().value_or(Document{});
}

QStringList captionsOf(const Document& document) {
    QStringList captions;
    for (const Section& section : document.sections)
        captions << section.caption;
    return captions;
}

// Figures by label (a clerk, or "" for the average clerk) and code.
using Figures = std::map<QString, std::map<QString, double>>;

// The lines the reports see within both bounds (both inclusive), dates stored as day serials.
constexpr auto kLines = uR"(
WITH line AS (
  SELECT c.fldActorlName || ', ' || c.fldActorfName || ' - ' || c.fldActorCode AS clerk,
         a.fldActionCode AS code, CAST(t.fldTransTime AS INTEGER) AS day
  FROM tblTrans t JOIN lkpActions a ON a.idfActionID = t.fkyActionID
       JOIN tblActors c ON c.idfActorID = t.fkyActorID
  WHERE t.fldTransTime BETWEEN :from AND :to),
span AS (SELECT count(DISTINCT day) AS days, count(DISTINCT clerk) AS clerks FROM line)
)";
// Each yields (label, code, figure).
constexpr auto kDayCounts = u"SELECT clerk, code, count(*) FROM line GROUP BY clerk, code";
constexpr auto kClerkAverages =
    u"SELECT clerk, code, count(*) * 1.0 / days FROM line, span GROUP BY clerk, code";
constexpr auto kAverageClerk =
    u"SELECT '', code, count(*) * 1.0 / days / clerks FROM line, span GROUP BY code";

// A cell as the document must show a figure: counts as plain digits, averages with exactly two
// decimals; a clerk without a code shows the blank of a count or nothing for an average.
::testing::AssertionResult sameCell(const QString& cell, std::optional<double> figure,
                                    bool averages) {
    if (!figure) {
        if (cell == (averages ? QString() : u"&nbsp;"_s)) return ::testing::AssertionSuccess();
    } else if (!averages) {
        if (cell == QString::number(*figure, 'f', 0)) return ::testing::AssertionSuccess();
    } else {
        static const QRegularExpression twoDecimals(u"^\\d+\\.\\d\\d$"_s);
        if (twoDecimals.match(cell).hasMatch() && std::abs(cell.toDouble() - *figure) <= 0.005001)
            return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << '"' << cell.toStdString() << "\" where the lines give "
           << (figure ? QString::number(*figure, 'f', 6).toStdString() : "nothing");
}

// A clerk per row, a code per column, in whatever order.
void expectCrosstab(const Section& section, const Figures& figures, bool averages) {
    ASSERT_FALSE(section.headings.isEmpty());
    EXPECT_EQ(section.headings.front(), u"Clerk"_s);
    std::map<QString, int> codes;
    for (const auto& [clerk, byCode] : figures)
        for (const auto& [code, figure] : byCode)
            codes[code] = 0;
    QStringList expectedCodes;
    for (const auto& [code, unused] : codes)
        expectedCodes << code;
    QStringList shownCodes = section.headings.mid(1);
    shownCodes.sort();
    EXPECT_EQ(shownCodes, expectedCodes);
    ASSERT_EQ(section.rows.size(), figures.size());
    for (const QStringList& row : section.rows) {
        SCOPED_TRACE(row.front().toStdString());
        ASSERT_TRUE(figures.contains(row.front()));
        const auto& byCode = figures.at(row.front());
        for (qsizetype c = 1; c < row.size(); ++c) {
            const auto found = byCode.find(section.headings[c]);
            EXPECT_TRUE(sameCell(
                row[c], found == byCode.end() ? std::nullopt : std::optional(found->second),
                averages))
                << section.headings[c].toStdString();
        }
    }
}

// The average clerk: a code per row.
void expectAverageClerk(const Section& section, const Figures& figures) {
    EXPECT_EQ(section.headings, (QStringList{u"Code"_s, u"Per Day"_s}));
    const auto& byCode = figures.at(QString());
    ASSERT_EQ(section.rows.size(), byCode.size());
    for (const QStringList& row : section.rows) {
        ASSERT_TRUE(byCode.contains(row.front())) << row.front().toStdString();
        EXPECT_TRUE(sameCell(row.value(1), byCode.at(row.front()), true));
    }
}

class DailySummary : public testsupport::SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        // A copy of its own: the runner writes a session table into the site, and some tests
        // change lines.
        copy_ = dir_.filePath(u"demo.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, copy_));
        ASSERT_EQ(sqlite3_open(copy_.toUtf8().constData(), &lines_), SQLITE_OK);
    }

    void TearDown() override {
        sqlite3_close(lines_);
        SessionTest::TearDown();
    }

    std::unique_ptr<clsDailySummary> build(double date) {
        if (!gConnected) connectSite(copy_);
        auto summary = std::make_unique<clsDailySummary>(session());
        summary->setSessionIndex(session().SessionIndex());
        summary->setReportDate(date);
        EXPECT_TRUE(feedback_.messages.isEmpty()) << feedback_.messages.join(u'\n').toStdString();
        EXPECT_EQ(feedback_.depth, 0) << "the hourglass is left up";
        return summary;
    }

    void change(const char* sql) {
        char* error = nullptr;
        ASSERT_EQ(sqlite3_exec(lines_, sql, nullptr, nullptr, &error), SQLITE_OK) << error;
    }

    Figures recompute(const char16_t* sql, double from, double to) {
        sqlite3_stmt* stmt = nullptr;
        const QByteArray text = (QString::fromUtf16(kLines) + QString::fromUtf16(sql)).toUtf8();
        Figures figures;
        if (sqlite3_prepare_v2(lines_, text.constData(), -1, &stmt, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << sqlite3_errmsg(lines_);
            return figures;
        }
        sqlite3_bind_double(stmt, sqlite3_bind_parameter_index(stmt, ":from"), from);
        sqlite3_bind_double(stmt, sqlite3_bind_parameter_index(stmt, ":to"), to);
        const auto textAt = [stmt](int c) {
            return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, c)));
        };
        while (sqlite3_step(stmt) == SQLITE_ROW)
            figures[textAt(0)][textAt(1)] = sqlite3_column_double(stmt, 2);
        sqlite3_finalize(stmt);
        return figures;
    }

    // The day's counts, then each clerk's and the average clerk's 30 days before it.
    void expectFigures(const Document& document, double day) {
        ASSERT_EQ(document.sections.size(), 3u);
        const double start = day - 30;
        expectCrosstab(document.sections[0], recompute(kDayCounts, day, day + 1), false);
        expectAverageClerk(document.sections[1], recompute(kAverageClerk, start, day));
        expectCrosstab(document.sections[2], recompute(kClerkAverages, start, day), true);
    }

    QString copy_;
    sqlite3* lines_ = nullptr;
};

} // namespace

TEST_F(DailySummary, FridayReadsBackWithTheLinesFiguresAndLeavesEachSetAtItsEnd) {
    const auto summary = build(kFriday);
    const QString html = summary->HTML();
    EXPECT_TRUE(html.startsWith(head(kFridayTitle) + u"<p>"_s + kFridayCaptions[0] +
                                u"<p>\r\n<TABLE BORDER>\r\n<TR>\r\n"_s + kHeaderCell +
                                u"Clerk</font></TD>\r\n"_s));
    EXPECT_TRUE(html.endsWith(u"</TR>\r\n</TABLE>\r\n"_s + kTail));
    const Document document = readDocument(html);
    EXPECT_EQ(document.title, kFridayTitle);
    EXPECT_EQ(captionsOf(document),
              QStringList(std::begin(kFridayCaptions), std::end(kFridayCaptions)));
    expectFigures(document, kFriday);

    EXPECT_EQ(summary->Title(), kFridayTitle);
    EXPECT_EQ(summary->ReportDate(), kFriday);
    EXPECT_EQ(summary->CountsChartCaption(), u"Code Counts by Clerk for 3/28/2003"_s);
    EXPECT_EQ(summary->AvgByClerkChartCaption(),
              u"Average Code Counts per Day by Clerk 2/26/2003 00:00 - 3/28/2003 00:00 "_s);
    EXPECT_EQ(summary->fncBuildHTML(), html) << "a second composition reads the sets afresh";
    for (const auto* table :
         {&summary->CountsTable(), &summary->OverallTable(), &summary->AvgByClerkTable()}) {
        ASSERT_TRUE(*table);
        EXPECT_TRUE((*table)->eof());
        EXPECT_FALSE((*table)->bof());
    }
}

TEST_F(DailySummary, CriteriaStartAtMidnightWhateverTheTimeOfDay) {
    for (const double date : {kFriday, kFriday + 0.75}) {
        EXPECT_EQ(clsDailySummary::fncDayCriteria(date),
                  u" tblTrans.fldTransTime  between #2003/03/28 00:00:00# and "
                  "#2003/03/29 00:00:00#"_s);
        EXPECT_EQ(clsDailySummary::fncThirtyDayCriteria(date),
                  u" tblTrans.fldTransTime between #2/26/2003# and #2003/03/28 00:00:00#"_s);
        EXPECT_EQ(clsDailySummary::fncThirtyDayPeriod(date),
                  u"2/26/2003 00:00 - 3/28/2003 00:00 "_s);
    }
    // Across a month end and a leap day.
    EXPECT_EQ(clsDailySummary::fncThirtyDayCriteria(vb::dateSerial(2004, 3, 1)),
              u" tblTrans.fldTransTime between #1/31/2004# and #2004/03/01 00:00:00#"_s);

    const auto evening = build(kFriday + 0.75);
    EXPECT_EQ(evening->ReportDate(), kFriday + 0.75);
    EXPECT_EQ(evening->HTML(), build(kFriday)->HTML());
}

TEST_F(DailySummary, DayWithoutTradeLeavesOutItsCountsOnly) {
    const double saturday = kFriday + 1;
    const auto summary = build(saturday);
    EXPECT_FALSE(rs::fncHasRecords(summary->CountsTable()));
    const Document document = readDocument(summary->HTML());
    EXPECT_EQ(captionsOf(document),
              (QStringList{u"During the 30 days 2/27/2003 00:00 - 3/29/2003 00:00  the average "
                           "clerk had these counts per day"_s,
                           u"During the 30 days 2/27/2003 00:00 - 3/29/2003 00:00  each clerk had "
                           "an average of these counts per day"_s}));
}

TEST_F(DailySummary, SiteWithoutDataGivesTheFrameAlone) {
    connectSite(sitePath_);
    const auto summary = build(kFriday);
    EXPECT_EQ(summary->HTML(), head(kFridayTitle) + kTail);
}

// Lines stamped at the two midnights both count in the day; the first also in the 30 days. A
// clerk's name goes into the cells as it is.
TEST_F(DailySummary, MidnightsAtBothEndsAndMarkupInANameOnACopy) {
    change("UPDATE tblActors SET fldActorlName = 'O<Neil & Sons' WHERE idfActorID = "
           "(SELECT fkyActorID FROM tblTrans ORDER BY idftransid LIMIT 1)");
    for (const double moment : {kFriday, kFriday + 1})
        change(u"INSERT INTO tblTrans (fldTransTime, fldtransregnum, fldTransQty, fldTransDesc, "
               "fldTransPrice, fkyActionID, fkyActorID) SELECT %1, fldtransregnum, 1, 'X', 1, "
               "fkyActionID, fkyActorID FROM tblTrans ORDER BY idftransid LIMIT 1"_s.arg(moment)
                   .toUtf8()
                   .constData());

    const QString html = build(kFriday)->HTML();
    EXPECT_TRUE(html.contains(u"<TD NOWRAP>O<Neil & Sons, "_s));
    const Document document = readDocument(html);
    expectFigures(document, kFriday);
}

// Types decide a cell: single and double show two decimals, Null among them nothing; any other
// Null a blank that keeps the border; text as it is.
TEST_F(DailySummary, TableCellsFollowTheirColumnTypes) {
    const auto records =
        rstest::makeRecordset({{"Clerk", AdoType::VarWChar, 40},
                               {"Day", AdoType::Date},
                               {"SALE", AdoType::Integer},
                               {"Per Day", AdoType::Double},
                               {"Share", AdoType::Single}},
                              {{vb::Variant(u"A<b> & c"_s), rstest::date("3/28/2003"), lng(3),
                                vb::Variant(3.0), vb::Variant(0.126f)},
                               {null(), null(), null(), null(), null()}});
    EXPECT_EQ(clsDailySummary::fncTableHTML(records),
              u"<TABLE BORDER>\r\n<TR>\r\n"_s + kHeaderCell + u"Clerk</font></TD>\r\n"_s +
                  kHeaderCell + u"Day</font></TD>\r\n"_s + kHeaderCell + u"SALE</font></TD>\r\n"_s +
                  kHeaderCell + u"Per Day</font></TD>\r\n"_s + kHeaderCell +
                  u"Share</font></TD>\r\n</TR>\r\n<TR>\r\n<TD NOWRAP>A<b> & c</TD>\r\n"
                  "<TD NOWRAP>3/28/2003</TD>\r\n<TD NOWRAP>3</TD>\r\n<TD NOWRAP>3.00</TD>\r\n"
                  "<TD NOWRAP>0.13</TD>\r\n</TR>\r\n<TR>\r\n<TD NOWRAP>&nbsp;</TD>\r\n"
                  "<TD NOWRAP>&nbsp;</TD>\r\n<TD NOWRAP>&nbsp;</TD>\r\n<TD NOWRAP></TD>\r\n"
                  "<TD NOWRAP></TD>\r\n</TR>\r\n</TABLE>\r\n"_s);
    EXPECT_TRUE(records->eof());
    EXPECT_EQ(clsDailySummary::fncTableHTML(nullptr), QString());
    EXPECT_EQ(
        clsDailySummary::fncTableHTML(rstest::makeRecordset({{"Clerk", AdoType::VarWChar}}, {})),
        QString());
}
