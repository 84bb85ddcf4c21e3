#include "jet/AstPrinter.h"
#include "jet/JetError.h"
#include "jet/Parser.h"

#include "support/VbTestSupport.h"
#include "vb/DateTime.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStringList>
#include <optional>
#include <random>

namespace {

using namespace Qt::StringLiterals;
using jet::Grouping;
using testsupport::errorOf;

QString readData(const QString& name) {
    QFile file(QStringLiteral(TILLSIGHT_TEST_DATA) + u'/' + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The statement, or nullopt after reporting the error it raised.
std::optional<jet::Statement> parsed(const QString& text) {
    try {
        return jet::parseStatement(text);
    } catch (const vb::VbError& e) {
        ADD_FAILURE() << e.number() << " " << e.description().toStdString() << "\n  in "
                      << text.toStdString();
        return std::nullopt;
    }
}

// Printing, reading the print back and printing again changes nothing, in either grouping: the
// printer writes what the parser reads as the same tree.
void expectRoundTrip(const jet::Statement& statement) {
    const QString canonical = jet::printStatement(statement);
    const QString grouped = jet::printStatement(statement, Grouping::Every);
    for (const QString& printed : {canonical, grouped}) {
        const auto again = parsed(printed);
        if (!again) continue;
        EXPECT_EQ(jet::printStatement(*again), canonical);
        EXPECT_EQ(jet::printStatement(*again, Grouping::Every), grouped);
    }
}

// ---- statements.txt

struct Case {
    int line = 0;
    QString text;
    QString canonical; // "-> text"
    QString grouped;   // "=> text"
    int error = 0;     // "! number ['subject']"
    std::optional<QString> subject;

    bool expectsSomething() const { return !canonical.isEmpty() || !grouped.isEmpty() || error; }
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << "line " << c.line << ": " << c.text.toStdString();
}

void readExpectation(const QString& line, Case& c) {
    const QString rest = line.mid(3);
    if (line.startsWith(u"-> "))
        c.canonical = rest;
    else if (line.startsWith(u"=> "))
        c.grouped = rest;
    else {
        const qsizetype blank = line.indexOf(u' ', 2);
        c.error = line.mid(2, blank < 0 ? -1 : blank - 2).toInt();
        if (blank > 0) c.subject = line.mid(blank + 2).chopped(1); // without the quotes
    }
}

std::vector<Case> loadCases() {
    std::vector<Case> cases;
    const QStringList lines = readData(u"statements.txt"_s).split(u'\n');
    for (int i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.trimmed().isEmpty() || line == u"#" || line.startsWith(u"# ")) continue;
        if (line.startsWith(u"-> ") || line.startsWith(u"=> ") || line.startsWith(u"! ")) {
            if (!cases.empty()) readExpectation(line, cases.back());
            continue;
        }
        Case c;
        c.line = i + 1;
        c.text = line;
        cases.push_back(c);
    }
    return cases;
}

class ParserCases : public ::testing::TestWithParam<Case> {};

TEST_P(ParserCases, GiveTheirPrintOrTheirError) {
    const Case& c = GetParam();
    ASSERT_TRUE(c.expectsSomething()) << "the case says nothing about its outcome";
    if (c.error) {
        try {
            const jet::Statement s = jet::parseStatement(c.text);
            FAIL() << "parsed as " << jet::printStatement(s).toStdString();
        } catch (const vb::VbError& e) {
            EXPECT_EQ(e.number(), c.error) << e.description().toStdString();
            if (c.subject) {
                EXPECT_EQ(e.description(), jet::errorMessage(c.error, *c.subject));
            }
        }
        return;
    }
    const auto statement = parsed(c.text);
    if (!statement) return;
    if (!c.canonical.isEmpty()) {
        EXPECT_EQ(jet::printStatement(*statement), c.canonical);
    }
    if (!c.grouped.isEmpty()) {
        EXPECT_EQ(jet::printStatement(*statement, Grouping::Every), c.grouped);
    }
    expectRoundTrip(*statement);
}

INSTANTIATE_TEST_SUITE_P(Statements, ParserCases, ::testing::ValuesIn(loadCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return "line" + std::to_string(info.param.line);
                         });

TEST(ParserData, StatementsFileIsThere) {
    EXPECT_GE(loadCases().size(), 150u);
}

// ---- the tree behind the text

const jet::Select& selectOf(const jet::Statement& s) {
    return std::get<jet::Select>(s);
}

class ParserTree : public testsupport::EnUsTest {};

TEST_F(ParserTree, LiteralsKeepTheirTypesAndValues) {
    const jet::Statement s = jet::parseStatement(
        u"SELECT 40000, 2147483648, 2.0, 'x', #3/23/2003 2:05 PM#, FALSE, Null"_s);
    const auto& items = selectOf(s).items;
    ASSERT_EQ(items.size(), 7u);
    const vb::Variant expected[] = {
        vb::Variant(std::int32_t(40000)),
        vb::Variant(2147483648.0),
        vb::Variant(2.0),
        vb::Variant(u"x"_s),
        vb::Variant::date(vb::dateSerial(2003, 3, 23) + 14.0 / 24 + 5.0 / 1440),
        vb::Variant(false),
        vb::Variant::null(),
    };
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].expr->kind, jet::ExprKind::Literal) << i;
        EXPECT_EQ(items[i].expr->value.type(), expected[i].type()) << i;
    }
    EXPECT_EQ(items[0].expr->value, expected[0]);
    EXPECT_EQ(items[1].expr->value, expected[1]);
    EXPECT_NEAR(items[4].expr->value.dateValue(), expected[4].dateValue(), 1e-9);
}

TEST_F(ParserTree, FunctionsDropTheDollarAndMarkTheStar) {
    const jet::Statement s = jet::parseStatement(u"SELECT Format$(a, 'yyyy'), count(*), Sum(b)"_s);
    const auto& items = selectOf(s).items;
    EXPECT_EQ(items[0].expr->name, u"Format"_s);
    EXPECT_TRUE(items[0].expr->dollar);
    EXPECT_EQ(items[0].expr->args.size(), 2u);
    EXPECT_TRUE(items[1].expr->star);
    EXPECT_TRUE(items[1].expr->args.empty());
    EXPECT_FALSE(items[2].expr->star);
    EXPECT_FALSE(items[2].expr->dollar);
}

TEST_F(ParserTree, TheLastOrderByOrdersTheWholeUnion) {
    const jet::Statement s = jet::parseStatement(
        u"SELECT a FROM t UNION ALL SELECT b FROM u UNION SELECT c FROM v ORDER BY 1 DESC"_s);
    const jet::Select& first = selectOf(s);
    ASSERT_EQ(first.orderBy.size(), 1u);
    EXPECT_TRUE(first.orderBy[0].descending);
    ASSERT_TRUE(first.unionNext && first.unionNext->unionNext);
    EXPECT_TRUE(first.unionAll);
    EXPECT_FALSE(first.unionNext->unionAll);
    EXPECT_TRUE(first.unionNext->orderBy.empty());
    EXPECT_TRUE(first.unionNext->unionNext->orderBy.empty());
    EXPECT_EQ(first.unionNext->unionNext->from[0]->name, u"v"_s);
}

TEST_F(ParserTree, JoinsNestAsWritten) {
    const jet::Statement s = jet::parseStatement(
        u"SELECT * FROM a RIGHT JOIN (b LEFT OUTER JOIN c ON b.k = c.k) ON a.k = b.k, d AS x"_s);
    const auto& from = selectOf(s).from;
    ASSERT_EQ(from.size(), 2u);
    const jet::TableRef& outer = *from[0];
    ASSERT_EQ(outer.kind, jet::TableRef::Kind::Join);
    EXPECT_EQ(outer.join, jet::JoinKind::Right);
    EXPECT_EQ(outer.left->name, u"a"_s);
    ASSERT_EQ(outer.right->kind, jet::TableRef::Kind::Join);
    EXPECT_EQ(outer.right->join, jet::JoinKind::Left);
    EXPECT_EQ(outer.right->right->name, u"c"_s);
    EXPECT_EQ(jet::printExpression(*outer.on), u"a.k = b.k"_s);
    EXPECT_EQ(from[1]->alias, u"x"_s);
}

TEST_F(ParserTree, ExpressionsSpanTheirTextAsWritten) {
    const QString text =
        u"SELECT  a  +  (b*c) AS x FROM t WHERE  Not (x Like 'V%') AND [Qty Sum]>1"_s;
    const jet::Statement s = jet::parseStatement(text);
    auto written = [&](const jet::Expr& e) { return text.mid(e.position, e.length); };
    const jet::Expr& sum = *selectOf(s).items[0].expr;
    EXPECT_EQ(written(sum), u"a  +  (b*c)"_s);
    EXPECT_EQ(written(*sum.args[1]), u"(b*c)"_s);
    EXPECT_EQ(written(*sum.args[1]->args[1]), u"c"_s);
    const jet::Expr& where = *selectOf(s).where;
    EXPECT_EQ(written(where), u"Not (x Like 'V%') AND [Qty Sum]>1"_s);
    EXPECT_EQ(written(*where.args[0]->args[0]), u"(x Like 'V%')"_s);
    EXPECT_EQ(written(*where.args[1]->args[0]), u"[Qty Sum]"_s);
}

TEST_F(ParserTree, StatementsCarryTheirParts) {
    const auto insert = std::get<jet::Insert>(
        jet::parseStatement(u"INSERT INTO tblLog ([a b], c) VALUES (1, 'x')"_s));
    EXPECT_EQ(insert.table, u"tblLog"_s);
    EXPECT_EQ(insert.columns, (std::vector<QString>{u"a b"_s, u"c"_s}));
    EXPECT_EQ(insert.values.size(), 2u);
    EXPECT_FALSE(insert.select);

    const auto update =
        std::get<jet::Update>(jet::parseStatement(u"UPDATE t SET t.a = 1, b = 2 WHERE c"_s));
    ASSERT_EQ(update.assignments.size(), 2u);
    EXPECT_EQ(update.assignments[0].column->table, u"t"_s);
    EXPECT_EQ(update.assignments[0].column->name, u"a"_s);
    EXPECT_EQ(update.assignments[1].column->name, u"b"_s);
    EXPECT_TRUE(update.where);

    EXPECT_EQ(std::get<jet::Delete>(jet::parseStatement(u"Delete * from [x y]"_s)).from[0]->name,
              u"x y"_s);
    EXPECT_EQ(std::get<jet::DropTable>(jet::parseStatement(u"DROP TABLE tblTemp3;"_s)).name,
              u"tblTemp3"_s);

    const auto create = std::get<jet::CreateTable>(
        jet::parseStatement(u"CREATE TABLE t (id counter primary key, s Text(20) not null)"_s));
    ASSERT_EQ(create.columns.size(), 2u);
    EXPECT_EQ(create.columns[0].typeName, u"COUNTER"_s);
    EXPECT_TRUE(create.columns[0].primaryKey);
    EXPECT_EQ(create.columns[1].typeName, u"TEXT"_s);
    EXPECT_EQ(create.columns[1].size, 20);
    EXPECT_TRUE(create.columns[1].notNull);

    const auto crosstab = std::get<jet::Transform>(jet::parseStatement(
        u"TRANSFORM Sum(x) SELECT a FROM t GROUP BY a ORDER BY a PIVOT b IN (1, 2)"_s));
    EXPECT_EQ(crosstab.pivotIn.size(), 2u);
    EXPECT_EQ(crosstab.select->orderBy.size(), 1u);
}

TEST_F(ParserTree, LoneExpressionsReadToTheEnd) {
    EXPECT_EQ(jet::printExpression(*jet::parseExpression(u"a + b * c Or d"_s), Grouping::Every),
              u"(a + (b * c)) OR d"_s);
    for (const QString& broken : {u"a b"_s, u"a)"_s, u""_s, u"a;"_s, u"a FROM t"_s})
        EXPECT_EQ(errorOf([&] { jet::parseExpression(broken); }), jet::err::MissingOperator)
            << broken.toStdString();
}

// A tree built elsewhere (a binder folding constants) may hold a negative number; printed, it
// must read back grouped as it was, not as -(2 ^ 2).
TEST(ParserPrinter, NegativeNumbersKeepTheirGrouping) {
    auto number = [](double v) {
        auto e = std::make_unique<jet::Expr>();
        e->value = vb::Variant(v);
        return e;
    };
    jet::Expr power;
    power.kind = jet::ExprKind::Binary;
    power.op = jet::Op::Power;
    power.args.push_back(number(-2));
    power.args.push_back(number(-0.5));
    EXPECT_EQ(jet::printExpression(power), u"(-2.0) ^ (-0.5)"_s);
    EXPECT_EQ(
        jet::printExpression(*jet::parseExpression(jet::printExpression(power)), Grouping::Every),
        u"(-2.0) ^ (-0.5)"_s);
}

// ---- hostile text: refused with an error, never a crash or a hang

QString repeated(const QString& piece, int times) {
    return piece.repeated(times);
}

TEST(ParserLimits, DeepOrLongTextsAreRefusedWithAnError) {
    constexpr int kMany = 100000;
    const QString texts[] = {
        u"SELECT "_s + repeated(u"("_s, kMany) + u"1"_s + repeated(u")"_s, kMany),
        u"SELECT "_s + repeated(u"- "_s, kMany) + u"1"_s,
        u"SELECT "_s + repeated(u"NOT "_s, kMany) + u"1"_s,
        u"SELECT 1"_s + repeated(u"+1"_s, kMany),
        u"SELECT 2"_s + repeated(u"^2"_s, kMany),
        u"SELECT 1 + "_s + repeated(u"NOT 1 + "_s, kMany) + u"1"_s,
        u"SELECT "_s + repeated(u"f("_s, kMany) + u"1"_s + repeated(u")"_s, kMany),
        u"SELECT "_s + repeated(u"(SELECT "_s, kMany) + u"1"_s + repeated(u")"_s, kMany),
        u"SELECT 1 FROM t"_s + repeated(u" UNION SELECT 1 FROM t"_s, kMany),
        u"SELECT 1 FROM "_s + repeated(u"("_s, kMany) + u"t"_s + repeated(u")"_s, kMany),
        u"SELECT 1 FROM t"_s + repeated(u" INNER JOIN t ON 1"_s, kMany),
        u"SELECT 1 FROM t WHERE x IN (1"_s + repeated(u",1"_s, kMany) + u")"_s,
        u"SELECT 1 FROM t WHERE a=1"_s + repeated(u" AND a=1"_s, 2000),
    };
    for (const QString& text : texts)
        EXPECT_EQ(errorOf([&] { jet::parseStatement(text); }), jet::err::TooComplex)
            << text.left(60).toStdString();
}

TEST(ParserLimits, NestingWithinTheLimitsIsRead) {
    const QString texts[] = {
        u"SELECT "_s + repeated(u"("_s, 150) + u"1"_s + repeated(u")"_s, 150),
        u"SELECT 1"_s + repeated(u"+1"_s, 900),
        u"SELECT 1 FROM t"_s + repeated(u" UNION SELECT 1 FROM t"_s, 300),
        u"SELECT * FROM t WHERE "_s + repeated(u"a IN (SELECT b FROM u WHERE "_s, 100) + u"c"_s +
            repeated(u")"_s, 100),
        u"SELECT 1 FROM t WHERE x IN (1"_s + repeated(u",1"_s, 5000) + u")"_s,
    };
    // Only the canonical print: fully grouped, a long chain nests deeper than the text may.
    for (const QString& text : texts) {
        const auto s = parsed(text);
        if (!s) continue;
        const QString printed = jet::printStatement(*s);
        if (const auto again = parsed(printed)) {
            EXPECT_EQ(jet::printStatement(*again), printed);
        }
    }
}

// Random soups of the dialect's pieces: whatever does not parse must fail with the dialect's
// error, and whatever parses must print and read back unchanged.
TEST(ParserLimits, RandomTextsFailCleanlyOrRoundTrip) {
    static const char* const kPieces[] = {
        "SELECT ",   "FROM ",       "WHERE ",     "GROUP BY ",
        "HAVING ",   "ORDER BY ",   "UNION ",     "ALL ",
        "DISTINCT ", "TOP 5 ",      "PERCENT ",   "INTO ",
        "AS ",       "INNER JOIN ", "LEFT JOIN ", "ON ",
        "AND ",      "OR ",         "NOT ",       "XOR ",
        "IMP ",      "MOD ",        "LIKE ",      "BETWEEN ",
        "IN ",       "IS ",         "NULL ",      "TRUE ",
        "EXISTS ",   "a ",          "t.c ",       "[x y] ",
        "t.* ",      "* ",          "f(",         "format$(",
        "count(*) ", "Left(",       "1 ",         "2.5 ",
        "1E3 ",      "'s' ",        "\"q\" ",     "#2003/03/23# ",
        "&H1F ",     "( ",          ") ",         ", ",
        "+ ",        "- ",          "\\ ",        "^ ",
        "& ",        "= ",          "<> ",        ">= ",
        "; ",        ". ",          "DESC ",      "PIVOT ",
        "VALUES ",   "SET ",        "TEXT(5) ",   "NOT NULL ",
        "#x# ",      "'open ",      "[open ",     "@ ",
        "é ",
    };
    static const char* const kStarts[] = {
        "SELECT ",
        "SELECT a FROM t WHERE ",
        "TRANSFORM count(*) SELECT a FROM t GROUP BY a PIVOT ",
        "INSERT INTO t ",
        "UPDATE t SET a = ",
        "DELETE FROM t WHERE ",
        "CREATE TABLE t (",
        "SELECT a FROM ",
        "DROP TABLE ",
    };
    std::mt19937 random(20030323);
    int parsedCount = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text = kStarts[random() % std::size(kStarts)];
        for (int n = 1 + random() % 10; n > 0; --n)
            text += kPieces[random() % std::size(kPieces)];
        try {
            const jet::Statement s = jet::parseStatement(QString::fromStdString(text));
            ++parsedCount;
            expectRoundTrip(s);
        } catch (const vb::VbError& e) {
            EXPECT_GE(e.number(), 3000) << text;
        }
    }
    EXPECT_GT(parsedCount, 100); // the soup is not all refused
}

// ---- the texts the client sends

struct SystemQuery {
    QString name;
    QString text;
};

// Entries are separated by lines holding only "--"; "-- " lines are comments, the first naming
// the entry; the lines between keep their blanks and join with line feeds.
std::vector<SystemQuery> loadSystemQueries() {
    std::vector<SystemQuery> queries;
    SystemQuery entry;
    QStringList lines;
    auto flush = [&] {
        entry.text = lines.join(u'\n');
        if (!entry.text.trimmed().isEmpty()) queries.push_back(entry);
        entry = {};
        lines.clear();
    };
    for (const QString& line : readData(u"system_queries.sql"_s).split(u'\n')) {
        if (line == u"--")
            flush();
        else if (!line.startsWith(u"-- "))
            lines << line;
        else if (entry.name.isEmpty())
            entry.name = line.mid(3);
    }
    flush();
    return queries;
}

TEST(SystemQueries, EveryTextParsesAndRoundTrips) {
    const std::vector<SystemQuery> queries = loadSystemQueries();
    EXPECT_GE(queries.size(), 40u);
    QStringList names;
    for (const SystemQuery& q : queries) {
        SCOPED_TRACE(q.name.toStdString());
        EXPECT_FALSE(q.name.isEmpty());
        EXPECT_FALSE(names.contains(q.name)) << "named twice";
        names << q.name;
        if (const auto s = parsed(q.text)) expectRoundTrip(*s);
    }
}

// The data file keeps what an editor might quietly drop: the blanks that end a text.
TEST(SystemQueries, TextsKeepTheirTrailingBlanks) {
    int endingInBlank = 0;
    for (const SystemQuery& q : loadSystemQueries())
        if (q.text.endsWith(u' ')) ++endingInBlank;
    EXPECT_GE(endingInBlank, 15);
}

} // namespace
