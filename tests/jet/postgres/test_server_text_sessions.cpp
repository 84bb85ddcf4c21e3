// Text on a server site compares, sorts, groups and matches Like as the file engine does, letter
// case aside, with accented letters and punctuation; and what a session owns: temporary tables
// private to a connection, SELECT ... INTO with the dialect's types, crosstabs, the server's
// refusals as the dialect's numbers, cancel and progress.

#include "ServerSiteTest.h"
#include "jet/JetError.h"

#include <QTemporaryDir>
#include <chrono>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using testsupport::expectSameRows;

using testsupport::errorOf;

namespace {

// A fresh site file and a fresh server site, given the same statements.
class FreshSites : public ::testing::Test {
protected:
    void SetUp() override {
        file_ = jet::SqliteDatabase::open(dir_.filePath(u"t.tsite"_s), true);
        server_ = testsupport::openServer(database_);
    }
    void both(const QString& script) {
        file_->executeScript(script);
        server_->executeScript(script);
    }
    void expectSame(const QString& text, bool ordered, bool caseBlind = true) {
        SCOPED_TRACE(text.toStdString());
        try {
            expectSameRows(*file_->query(text), *server_->query(text), ordered, caseBlind);
        } catch (const vb::VbError& e) {
            ADD_FAILURE() << e.number() << " " << e.description().toStdString();
        }
    }

    QTemporaryDir dir_;
    testsupport::PgScratchDatabase database_;
    std::unique_ptr<jet::SqliteDatabase> file_;
    std::unique_ptr<jet::PostgresDatabase> server_;
};

const char16_t* const kWords[] = {
    u"apple", u"Apple",  u"äpfel", u"Äpfel", u"zebra",  u"Zürich", u"zurich", u"a-b",
    u"a_b",   u"a b",    u"a'b",   u"[x]",   u"Éclair", u"eclair", u"résumé", u"Resume",
    u"100%",  u"_under", u"ñandu", u"Ñandu", u"é",      u"É",      u"~tilde", u"!bang",
    u"ÿ",     u"Œuvre",  u"œuvre", u"b",     u"B",      u"",       u"Ωmega",  u"ωmega",
};

TEST_F(FreshSites, TextComparesSortsGroupsAndMatchesAsTheFileEngineDoes) {
    QString script = u"CREATE TABLE tblWords (id COUNTER PRIMARY KEY, w TEXT(50))\n--\n"_s +
                     u"CREATE TABLE tblPatterns (p TEXT(20))\n"_s;
    for (const char16_t* w : kWords)
        script += u"--\nINSERT INTO tblWords (w) VALUES ('"_s +
                  QString::fromUtf16(w).replace(u'\'', u"''"_s) + u"')\n"_s;
    const QString patterns[] = {u"a%"_s,    u"Ä%"_s,    u"[a-c]%"_s, u"[!a-z]%"_s, u"%B"_s,
                                u"a_b"_s,   u"a[_]b"_s, u"%[%]"_s,   u"_"_s,       u"É%"_s,
                                u"%UVRE"_s, u"[ÄÖ]%"_s, u"a[-]b"_s,  u"[[]%"_s,    u"%"_s,
                                u"Ω%"_s,    u"z?rich"_s};
    for (const QString& p : patterns)
        script += u"--\nINSERT INTO tblPatterns (p) VALUES ('"_s + p + u"')\n"_s;
    both(script);

    expectSame(u"SELECT w FROM tblWords ORDER BY w"_s, true);
    // Case changed letter for letter as the language changes it.
    expectSame(u"SELECT id, UCase(w) AS u, LCase$(w) AS l, Len(w) AS n FROM tblWords ORDER BY id"_s,
               true, false);
    expectSame(u"SELECT id FROM tblWords WHERE UCase(w) = 'STRASSE' OR LCase(w) = 'i̇stanbul' "
               u"ORDER BY id"_s,
               true);
    expectSame(u"SELECT w FROM tblWords ORDER BY w DESC"_s, true);
    expectSame(u"SELECT w, count(*) AS n FROM tblWords GROUP BY w ORDER BY w"_s, true);
    expectSame(u"SELECT min(w) AS lo, max(w) AS hi, count(w) AS n FROM tblWords"_s, false);
    const QString conditions[] = {
        u"w = 'ÄPFEL'"_s,
        u"w < 'b'"_s,
        u"w > 'Z'"_s,
        u"w BETWEEN 'a' AND 'é'"_s,
        u"w IN ('APPLE', 'Œuvre')"_s,
        u"w <> 'b'"_s,
        u"w >= '~'"_s,
        u"w < '!'"_s,
        u"w & '' = 'resume'"_s,
    };
    for (const QString& c : conditions)
        expectSame(u"SELECT id, w FROM tblWords WHERE "_s + c + u" ORDER BY id"_s, true);
    for (const QString& p : patterns) {
        expectSame(u"SELECT id, w FROM tblWords WHERE w LIKE '"_s + p + u"' ORDER BY id"_s, true);
        expectSame(u"SELECT id FROM tblWords WHERE w NOT LIKE '"_s + p + u"' ORDER BY id"_s, true);
    }
    // A pattern that is no constant goes through the site's own function.
    expectSame(u"SELECT p, count(w) AS n FROM tblPatterns LEFT JOIN tblWords ON w LIKE p "
               u"GROUP BY p ORDER BY p"_s,
               true);
    // A range written backwards is the dialect's 93 on both.
    EXPECT_EQ(errorOf([&] { server_->query(u"SELECT w FROM tblWords WHERE w LIKE '[z-a]'"_s); }),
              93);
}

TEST_F(FreshSites, ACrosstabGivesTextsThatDifferInCaseOneColumn) {
    both(u"CREATE TABLE tblSales (region TEXT(10), colour TEXT(10), qty LONG, price CURRENCY)\n"
         u"--\nINSERT INTO tblSales VALUES ('North', 'Red', 2, 1.5)\n"
         u"--\nINSERT INTO tblSales VALUES ('north', 'RED', 3, 2.25)\n"
         u"--\nINSERT INTO tblSales VALUES ('South', 'blue', 1, 0.1)\n"
         u"--\nINSERT INTO tblSales VALUES ('South', Null, 4, 3)\n"
         u"--\nINSERT INTO tblSales VALUES ('East', 'Blue', 5, 7)\n"_s);
    const QString texts[] = {
        u"TRANSFORM Sum(qty) AS s SELECT region FROM tblSales GROUP BY region PIVOT colour"_s,
        u"TRANSFORM Count(*) SELECT region FROM tblSales GROUP BY region PIVOT colour"_s,
        u"TRANSFORM Avg(price) SELECT region, Sum(qty) AS total FROM tblSales GROUP BY region "
        u"PIVOT colour IN ('red', 'Green')"_s,
        u"TRANSFORM Max(price) SELECT colour FROM tblSales GROUP BY colour PIVOT qty"_s,
    };
    for (const QString& t : texts)
        expectSame(t, true);
    auto red = server_->query(texts[0]);
    EXPECT_EQ(red->fieldCount(), 4); // region, <>, blue, Red
}

TEST_F(FreshSites, SelectIntoKeepsTheDialectTypesAndTemporaryTablesStayWithTheirConnection) {
    // Installing the functions again keeps the types the tables below are declared with.
    server_->installFunctions();
    both(u"CREATE TABLE tblKinds (id COUNTER PRIMARY KEY, k LONG, s SHORT, b BYTE, f SINGLE, "
         u"d DOUBLE, c CURRENCY, t DATETIME, y YESNO, x TEXT(10), m MEMO)\n"
         u"--\nINSERT INTO tblKinds (k, s, b, f, d, c, t, y, x, m) VALUES (1, 2, 3, 1.5, 2.5, "
         u"12.3456, #2003/03/28 13:14:15#, True, 'ten', 'memo')\n"
         u"--\nINSERT INTO tblKinds (k, s, b, f, d, c, t, y, x, m) VALUES ('12', 2.5, 3.5, "
         u"Null, -1, 0.00005, '2003/03/29', 0, 12, Null)\n"_s);
    both(u"SELECT * INTO tblTemp5 FROM tblKinds WHERE k > 0"_s);
    both(u"SELECT k + s AS ks, c * 2 AS c2, t + 1 AS t1, y AS y2, x & m AS xm INTO tblStored "
         u"FROM tblKinds"_s);
    expectSame(u"SELECT * FROM tblTemp5 ORDER BY id"_s, true);
    expectSame(u"SELECT * FROM tblStored ORDER BY ks"_s, true);
    expectSame(u"SELECT * FROM tblKinds ORDER BY id"_s, true);

    // Another connection sees the stored table but not this one's temporary table, and may
    // make a temporary table of the same name for itself.
    auto other = jet::PostgresDatabase::open(testsupport::scratchOptions(database_));
    EXPECT_EQ(other->query(u"SELECT * FROM tblStored"_s)->recordCount(), 2u);
    EXPECT_EQ(errorOf([&] { other->query(u"SELECT * FROM tblTemp5"_s); }), jet::err::NoInputTable);
    other->execute(u"SELECT k INTO tblTemp5 FROM tblKinds WHERE k = 1"_s);
    EXPECT_EQ(other->query(u"SELECT * FROM tblTemp5"_s)->fieldCount(), 1);
    EXPECT_EQ(server_->query(u"SELECT * FROM tblTemp5"_s)->fieldCount(), 11);
    EXPECT_EQ(server_->execute(u"DROP TABLE tblTemp5"_s), 0);
    EXPECT_EQ(errorOf([&] { server_->query(u"SELECT * FROM tblTemp5"_s); }),
              jet::err::NoInputTable);

    // A text the column's type refuses is the dialect's 13, and a number beyond it 6; the
    // statement writes nothing.
    EXPECT_EQ(
        errorOf([&] { server_->execute(u"INSERT INTO tblKinds (k) SELECT x FROM tblKinds"_s); }),
        vb::err::TypeMismatch);
    EXPECT_EQ(errorOf([&] { server_->execute(u"UPDATE tblKinds SET b = k * 100"_s); }),
              vb::err::Overflow);
    expectSame(u"SELECT * FROM tblKinds ORDER BY id"_s, true);
    // Rows changed, as the dialect counts them.
    const QString writes[] = {u"UPDATE tblKinds SET x = x & '!' WHERE y = False"_s,
                              u"DELETE FROM tblStored WHERE ks > 3"_s,
                              u"INSERT INTO tblStored (ks) SELECT k FROM tblKinds"_s,
                              u"UPDATE tblKinds INNER JOIN tblStored ON tblStored.ks = tblKinds.k "
                              u"SET tblKinds.d = tblStored.ks * 2, tblStored.xm = tblKinds.x"_s,
                              u"UPDATE tblKinds LEFT JOIN tblStored ON tblStored.ks = tblKinds.s "
                              u"SET tblStored.ks = tblKinds.s + 100"_s,
                              u"DELETE tblStored.* FROM tblStored INNER JOIN tblKinds ON "
                              u"tblStored.ks = tblKinds.k"_s,
                              u"ALTER TABLE tblStored ADD COLUMN extra CURRENCY"_s,
                              u"UPDATE tblStored SET extra = ks / 3"_s,
                              u"CREATE INDEX idxKs ON tblStored (ks DESC)"_s};
    for (const QString& w : writes)
        EXPECT_EQ(file_->execute(w), server_->execute(w)) << w.toStdString();
    expectSame(u"SELECT * FROM tblStored ORDER BY ks"_s, true);
    expectSame(u"SELECT * FROM tblKinds ORDER BY id"_s, true);
    EXPECT_EQ(errorOf([&] { server_->execute(u"ALTER TABLE tblStored DROP COLUMN ks"_s); }),
              jet::err::IndexedField);
}

TEST(ServerSessions, ACancelStopsALongReadAndLeavesTheConnectionUsable) {
    auto& server = *testsupport::bothSites().server;
    const QString longRead =
        u"SELECT count(*) FROM tblTrans AS a, tblTrans AS b WHERE a.fldTransPrice < b.fldTransPrice"_s;
    const auto started = std::chrono::steady_clock::now();
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        server.interrupt();
    });
    const int error = errorOf([&] { server.query(longRead); });
    canceller.join();
    EXPECT_EQ(error, jet::kCanceledError);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    // The request holds until cleared: a call after it stops at once.
    EXPECT_EQ(errorOf([&] { server.query(u"SELECT count(*) FROM tblTrans"_s); }),
              jet::kCanceledError);
    server.clearInterrupt();
    EXPECT_EQ(server.query(u"SELECT count(*) FROM tblTrans"_s)->recordCount(), 1u);

    // Progress goes forward only and ends at 100.
    std::vector<int> told;
    auto rows = server.query(u"SELECT * FROM tblTrans"_s, [&](int p) { told.push_back(p); });
    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.front(), 0);
    EXPECT_EQ(told.back(), 100);
    EXPECT_GT(told.size(), 10u);
}

// An aggregate read sends its one row only when it is done; once a read of its shape has run, the
// bar moves while the server works, by the time that read took per unit of the plan's cost.
TEST(ServerSessions, AnAggregateReadMovesTheBarBeforeItsRowComes) {
    auto& server = *testsupport::bothSites().server;
    const auto counted = [](int below) {
        return u"SELECT count(*) AS n FROM tblTrans AS a, tblTrans AS b "
               "WHERE a.idftransid < %1 AND a.fldTransPrice < b.fldTransPrice"_s.arg(below);
    };
    server.query(counted(3000), [](int) {});
    std::vector<int> told;
    server.query(counted(4000), [&](int p) { told.push_back(p); });
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), 100);
    // The row itself takes the bar to 99 at once; anything between was the server's work.
    EXPECT_TRUE(std::any_of(told.begin(), told.end(), [](int p) { return p > 0 && p < 99; }))
        << "the bar stood still until the row came: " << ::testing::PrintToString(told);
}

} // namespace
