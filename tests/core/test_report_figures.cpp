// Every Fixed Report the list offers, run through the core's runner on the demo site, and its
// figures computed once more from the register lines by plain SQL on the same file, through
// SQLite itself rather than the dialect engine. A template whose headings say something its lines
// do not fails here, over one day and over the Daily Summary's 30 days, with the critical box
// ticked and cleared.

#include "SessionTest.h"

#include "core/modFixedReports.h"
#include "core/modPowerSearch.h"
#include "vb/DateTime.h"

#include "support/DemoSite.h"

#include <QRegularExpression>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <variant>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

// The lines of the range as the reports see them: those with a listed clerk and code. Dates are
// stored as REAL day serials, which from 1900 on are plain day counts, so a line's date is the
// whole part and its time the fraction. `boxed` holds what the critical box keeps; `traded` the
// days with any line and the clerks who rang any. What each code means is read from the demo
// generator: a price override rings the item up at another price, discounts and coupons take
// money off without moving goods, drawer and shift lines are no sales.
constexpr auto kLines = uR"(
WITH line AS (
  SELECT CAST(t.fldTransTime AS INTEGER) AS day,
         CAST(round((t.fldTransTime - CAST(t.fldTransTime AS INTEGER)) * 86400) AS INTEGER)
           AS second,
         t.fldtransregnum AS reg, t.fldTransQty AS qty, t.fldTransDesc AS item,
         t.fldTransPrice AS price, a.fldActionCode AS code,
         a.fldActionCode || ' (' || a.fldActionDesc || ')' AS action,
         a.fldactioncritical <> 0 AS critical, c.idfActorID AS actor,
         c.fldActorlName || ', ' || c.fldActorfName || ' - ' || c.fldActorCode AS clerk,
         a.fldActionCode IN ('SALE', 'PRICEOVR') AS sells,
         a.fldActionCode IN ('SALE', 'PRICEOVR', 'VOID', 'LINECORR', 'REFUND', 'CANCEL') AS moves,
         a.fldActionCode IN ('SALE', 'PRICEOVR', 'VOID', 'LINECORR', 'REFUND', 'CANCEL', 'DISC',
                             'COUPON') AS paid
  FROM tblTrans t JOIN lkpActions a ON a.idfActionID = t.fkyActionID
       JOIN tblActors c ON c.idfActorID = t.fkyActorID
  WHERE t.fldTransTime BETWEEN julianday(:from) - julianday('1899-12-30')
                           AND julianday(:to) - julianday('1899-12-30')),
boxed AS (SELECT * FROM line WHERE NOT :critical OR critical),
traded AS (SELECT count(DISTINCT day) AS days, count(DISTINCT actor) AS clerks FROM line)
)";

enum class Shape {
    Rows,     // one row per group or per line, in whatever order
    Crosstab, // a label, then one column per code: the SQL gives (label, code, value)
    Ranked,   // the first 25 by the third column, largest first: the SQL gives every row
};

struct Figures {
    int report;
    Shape shape;
    QStringList headings; // a crosstab's are its label's only
    QString sql;          // after kLines
};

const QStringList kLineHeadings = {u"Clerk"_s,    u"Date"_s,        u"Time"_s,
                                   u"Register"_s, u"Description"_s, u"Price"_s};
const QStringList kDatedLineHeadings = {u"Date"_s,  u"Time"_s,        u"Register"_s,
                                        u"Clerk"_s, u"Description"_s, u"Price"_s};
const QStringList kCodeCounts = {u"Code"_s, u"Count"_s, u"Price Sum"_s};
const QStringList kSalesHeadings = {u"Sale Lines"_s, u"Gross Sales"_s, u"Net Sales"_s};
const QString kSales =
    u"sum(sells), sum(CASE WHEN sells THEN price ELSE 0 END), sum(price) FROM line WHERE paid "_s;

Figures linesByClerk(int report, const char* code) {
    return {
        report, Shape::Rows, kLineHeadings,
        u"SELECT clerk, day, second / 86400.0, reg, item, price FROM line WHERE code = '%1'"_s.arg(
            QLatin1String(code))};
}

Figures linesByDate(int report, const char* code) {
    return {
        report, Shape::Rows, kDatedLineHeadings,
        u"SELECT day, second / 86400.0, reg, clerk, item, price FROM line WHERE code = '%1'"_s.arg(
            QLatin1String(code))};
}

Figures codeCounts(int report, const QString& heading, const QString& by, const QString& from) {
    return {report, Shape::Rows, QStringList{heading} + kCodeCounts,
            u"SELECT %1, action, count(*), sum(price) FROM %2 GROUP BY %1, action"_s.arg(by, from)};
}

const std::vector<Figures>& allFigures() {
    static const std::vector<Figures> all = {
        codeCounts(1, u"Clerk"_s, u"clerk"_s, u"boxed"_s),
        codeCounts(2, u"Register"_s, u"reg"_s, u"boxed"_s),
        codeCounts(3, u"Date"_s, u"day"_s, u"boxed"_s),
        {4,
         Shape::Rows,
         {u"Hour"_s, u"All Lines"_s, u"Sale Lines"_s, u"Net Sales"_s},
         u"SELECT second / 3600, count(*), sum(sells), sum(CASE WHEN paid THEN price ELSE 0 END) "
         u"FROM line GROUP BY second / 3600"_s},
        linesByClerk(5, "VOID"),
        {6,
         Shape::Rows,
         {u"Register"_s, u"Date"_s, u"Time"_s, u"Clerk"_s},
         u"SELECT reg, day, second / 86400.0, clerk FROM line WHERE code = 'NOSALE'"_s},
        {7,
         Shape::Crosstab,
         {u"Clerk"_s},
         u"SELECT clerk, code, count(*) FROM boxed GROUP BY clerk, code"_s},
        linesByDate(8, "REFUND"),
        linesByClerk(9, "PRICEOVR"),
        codeCounts(10, u"Clerk"_s, u"clerk"_s, u"line WHERE critical"_s),
        {11, Shape::Rows, QStringList{u"Register"_s} + kSalesHeadings,
         u"SELECT reg, "_s + kSales + u"GROUP BY reg"_s},
        {12,
         Shape::Rows,
         {u"Clerk"_s, u"Count"_s, u"Price Sum"_s},
         u"SELECT clerk, count(*), sum(price) FROM line WHERE code = 'DISC' GROUP BY clerk"_s},
        linesByClerk(13, "LINECORR"),
        {14,
         Shape::Ranked,
         {u"Description"_s, u"Gross Qty"_s, u"Net Qty"_s, u"Gross Sales"_s, u"Net Sales"_s},
         u"SELECT item, sum(CASE WHEN sells THEN qty ELSE 0 END), "
         u"sum(CASE WHEN moves THEN qty ELSE 0 END), sum(CASE WHEN sells THEN price ELSE 0 END), "
         u"sum(price) FROM line WHERE paid GROUP BY item"_s},
        linesByClerk(15, "CANCEL"),
        linesByDate(16, "PAIDOUT"),
        {17, Shape::Rows, QStringList{u"Date"_s} + kSalesHeadings,
         u"SELECT day, "_s + kSales + u"GROUP BY day"_s},
        {18,
         Shape::Rows,
         {u"Date"_s, u"Time"_s, u"Register"_s, u"Code"_s, u"Clerk"_s, u"Description"_s, u"Price"_s},
         u"SELECT day, second / 86400.0, reg, action, clerk, item, price FROM line "
         u"WHERE critical"_s},
        {20,
         Shape::Crosstab,
         {u"Clerk"_s},
         u"SELECT clerk, code, count(*) * 1.0 / days FROM boxed, traded GROUP BY clerk, code"_s},
        {25,
         Shape::Rows,
         {u"Code"_s, u"Per Day"_s},
         u"SELECT code, count(*) * 1.0 / days / clerks FROM boxed, traded GROUP BY code"_s},
    };
    return all;
}

// A range as the runner is handed it, and its bounds for SQLite (both inclusive).
struct Range {
    const char* name;
    QString criterion;
    const char* from;
    const char* to;
};

std::vector<Range> ranges() {
    // Thursday 27 March 2003 as the report list runs it; the Daily Summary's 30 days before the
    // 28th as it writes them, its start in the short date form.
    core::SearchCriteria day;
    day.start = vb::dateSerial(2003, 3, 27);
    day.end = vb::dateSerial(2003, 3, 28);
    QString title;
    return {{"one day", modPowerSearch::fncTimeCriteria(day, title), "2003-03-27", "2003-03-28"},
            {"30 days", u" tblTrans.fldTransTime between #2/26/2003# and #2003/03/28 00:00:00#"_s,
             "2003-02-26", "2003-03-28"}};
}

// A cell: Null, a number (dates as serials) or a text.
using Cell = std::variant<std::monostate, double, QString>;
using Row = std::vector<Cell>;
using Table = std::vector<Row>;

QString textOf(const Cell& cell) {
    if (const auto* n = std::get_if<double>(&cell)) return QString::number(*n, 'f', 6);
    if (const auto* t = std::get_if<QString>(&cell)) return *t;
    return u"Null"_s;
}

QString textOf(const Row& row) {
    QStringList cells;
    for (const Cell& cell : row)
        cells << textOf(cell);
    return cells.join(u" | "_s);
}

bool same(const Cell& a, const Cell& b) {
    const auto* x = std::get_if<double>(&a);
    const auto* y = std::get_if<double>(&b);
    if (x && y) return std::abs(*x - *y) <= 1e-6 + 1e-12 * std::max(std::abs(*x), std::abs(*y));
    return a == b;
}

bool same(const Row& a, const Row& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Cell& x, const Cell& y) { return same(x, y); });
}

// Rows in one order whatever order they came in: by their cells, numbers rounded far below any
// figure's last digit.
void sortRows(Table& table) {
    std::sort(table.begin(), table.end(),
              [](const Row& a, const Row& b) { return textOf(a) < textOf(b); });
}

::testing::AssertionResult sameRows(Table actual, Table expected) {
    sortRows(actual);
    sortRows(expected);
    if (actual.size() != expected.size())
        return ::testing::AssertionFailure()
               << actual.size() << " rows where the lines give " << expected.size();
    for (std::size_t i = 0; i < actual.size(); ++i)
        if (!same(actual[i], expected[i]))
            return ::testing::AssertionFailure()
                   << textOf(actual[i]).toStdString() << "\n where the lines give\n"
                   << textOf(expected[i]).toStdString();
    return ::testing::AssertionSuccess();
}

struct Result {
    QStringList headings;
    Table rows;
};

Result tableOf(const rs::Recordset& records) {
    Result result;
    for (int c = 0; c < records.fieldCount(); ++c)
        result.headings << records.field(c).name();
    for (std::size_t r = 0; r < records.recordCount(); ++r) {
        Row row;
        for (int c = 0; c < records.fieldCount(); ++c) {
            const vb::Variant value = records.valueAt(r, c);
            if (value.isNull())
                row.emplace_back();
            else if (value.isString())
                row.emplace_back(value.toString());
            else
                row.emplace_back(value.toDouble());
        }
        result.rows.push_back(std::move(row));
    }
    return result;
}

// A crosstab as (label, column heading, value), one row per cell that holds a value.
Table cellsOf(const Result& crosstab) {
    Table cells;
    for (const Row& row : crosstab.rows)
        for (std::size_t c = 1; c < row.size(); ++c)
            if (!std::holds_alternative<std::monostate>(row[c]))
                cells.push_back({row[0], crosstab.headings[c], row[c]});
    return cells;
}

QStringList distinctTexts(const Table& table, std::size_t column) {
    QStringList texts;
    for (const Row& row : table)
        texts << textOf(row[column]);
    texts.removeDuplicates();
    texts.sort();
    return texts;
}

void expectCrosstab(const Figures& figures, const Result& actual, const Table& expected) {
    EXPECT_EQ(actual.headings.mid(0, 1), figures.headings);
    QStringList codes = actual.headings.mid(1);
    codes.sort();
    EXPECT_EQ(codes, distinctTexts(expected, 1));
    EXPECT_EQ(actual.rows.size(), std::size_t(distinctTexts(expected, 0).size()));
    EXPECT_TRUE(sameRows(cellsOf(actual), expected));
}

// The runner's rows must be the leaders, in order of the ranking column; rows tied on it may come
// in any order, each with its own figures.
void expectRanked(const Result& actual, Table expected) {
    constexpr std::size_t kTop = 25;
    constexpr std::size_t kRank = 2;
    std::stable_sort(expected.begin(), expected.end(), [](const Row& a, const Row& b) {
        return std::get<double>(a[kRank]) > std::get<double>(b[kRank]);
    });
    ASSERT_EQ(actual.rows.size(), std::min(kTop, expected.size()));
    for (std::size_t i = 0; i < actual.rows.size(); ++i) {
        const Row& row = actual.rows[i];
        EXPECT_TRUE(same(row[kRank], expected[i][kRank])) << "place " << i + 1;
        const auto own = std::find_if(expected.begin(), expected.end(),
                                      [&](const Row& e) { return e[0] == row[0]; });
        ASSERT_NE(own, expected.end()) << textOf(row).toStdString();
        EXPECT_TRUE(same(row, *own)) << textOf(row).toStdString() << "\n where the lines give\n"
                                     << textOf(*own).toStdString();
    }
}

void expectFigures(const Figures& figures, const Result& actual, const Table& expected) {
    switch (figures.shape) {
    case Shape::Crosstab:
        return expectCrosstab(figures, actual, expected);
    case Shape::Ranked:
        EXPECT_EQ(actual.headings, figures.headings);
        return expectRanked(actual, expected);
    case Shape::Rows:
        EXPECT_EQ(actual.headings, figures.headings);
        EXPECT_TRUE(sameRows(actual.rows, expected));
        return;
    }
}

class ReportFigures : public testsupport::SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        // The site is only read, but a failing run logs to it: the shared demo site stays clean.
        const QString copy = dir_.filePath(u"demo.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, copy));
        connectSite(copy);
        ASSERT_EQ(
            sqlite3_open_v2(copy.toUtf8().constData(), &lines_, SQLITE_OPEN_READONLY, nullptr),
            SQLITE_OK);
        session().fixedReports();
    }

    void TearDown() override {
        sqlite3_close(lines_);
        SessionTest::TearDown();
    }

    Result run(int report, const Range& range, bool critical) {
        const auto records = modFixedReports::fncRunFixedReport(session(), report, range.criterion,
                                                                critical, session().SessionIndex());
        if (!records) {
            ADD_FAILURE() << "no result: " << feedback_.messages.join(u'\n').toStdString();
            return {};
        }
        return tableOf(*records);
    }

    // The figures straight from the lines, through SQLite's own SQL.
    Table recompute(const QString& sql, const Range& range, bool critical) {
        sqlite3_stmt* stmt = nullptr;
        const QByteArray text = (QString::fromUtf16(kLines) + sql).toUtf8();
        if (sqlite3_prepare_v2(lines_, text.constData(), -1, &stmt, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << sqlite3_errmsg(lines_) << " in " << sql.toStdString();
            return {};
        }
        sqlite3_bind_text(stmt, sqlite3_bind_parameter_index(stmt, ":from"), range.from, -1,
                          SQLITE_STATIC);
        sqlite3_bind_text(stmt, sqlite3_bind_parameter_index(stmt, ":to"), range.to, -1,
                          SQLITE_STATIC);
        sqlite3_bind_int(stmt, sqlite3_bind_parameter_index(stmt, ":critical"), critical);
        Table table;
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            Row row;
            for (int c = 0; c < sqlite3_column_count(stmt); ++c) {
                switch (sqlite3_column_type(stmt, c)) {
                case SQLITE_NULL:
                    row.emplace_back();
                    break;
                case SQLITE_TEXT:
                    row.emplace_back(QString::fromUtf8(
                        reinterpret_cast<const char*>(sqlite3_column_text(stmt, c))));
                    break;
                default:
                    row.emplace_back(sqlite3_column_double(stmt, c));
                }
            }
            table.push_back(std::move(row));
        }
        sqlite3_finalize(stmt);
        return table;
    }

    sqlite3* lines_ = nullptr;
};

const Figures* figuresOf(int report) {
    const auto& all = allFigures();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Figures& f) { return f.report == report; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace

TEST_F(ReportFigures, EveryListedReportShowsWhatItsLinesSay) {
    const auto listed = modFixedReports::fncListedReports(session());
    ASSERT_FALSE(listed.empty());
    for (const auto& report : listed) {
        SCOPED_TRACE((QString::number(report.id) + u' ' + report.title).toStdString());
        const Figures* figures = figuresOf(report.id);
        if (!figures) {
            ADD_FAILURE() << "the list offers a report whose figures nothing checks";
            continue;
        }
        for (const Range& range : ranges()) {
            for (bool critical : {false, true}) {
                SCOPED_TRACE(std::string(range.name) + (critical ? ", critical only" : ""));
                const Table expected = recompute(figures->sql, range, critical);
                // Every code turns up in 30 days of the demo, so an empty answer is a wrong one.
                if (QLatin1String(range.name) == "30 days") {
                    EXPECT_FALSE(expected.empty());
                }
                expectFigures(*figures, run(report.id, range, critical), expected);
            }
        }
    }
    EXPECT_TRUE(feedback_.messages.isEmpty()) << feedback_.messages.join(u'\n').toStdString();
}

// The title is all the box leaves on a report: it must say "Critical" exactly when the box
// changes what the report shows, and it must not promise a span of days the user did not pick.
TEST_F(ReportFigures, ATitleSaysCriticalWhenTheBoxChangesTheFiguresAndNamesNoSpan) {
    const Range thirty = ranges().back();
    const QRegularExpression span(u"\\d+ Days?\\b"_s, QRegularExpression::CaseInsensitiveOption);
    for (const auto& report : modFixedReports::fncListedReports(session())) {
        SCOPED_TRACE((QString::number(report.id) + u' ' + report.title).toStdString());
        EXPECT_FALSE(span.match(report.title).hasMatch());
        const bool boxChangesIt = !static_cast<bool>(
            sameRows(run(report.id, thirty, true).rows, run(report.id, thirty, false).rows));
        const auto heading =
            modFixedReports::fncReportHeading(session(), report.id, report.title, true, u"R"_s);
        EXPECT_EQ(heading.title,
                  (boxChangesIt ? u"Critical "_s : QString()) + report.title + u" - R"_s);
    }
}
