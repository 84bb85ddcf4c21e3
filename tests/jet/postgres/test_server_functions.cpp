// Every dialect function, and its "$" form, at every argument count it takes, run on a server
// site against the same call on the site file: the same values and types, or the same error.
// Each call takes its first argument from a column of each kind the reports use, so the server's
// own forms, its schema's functions and the engine's local work on fetched rows all meet real
// values.

#include "ServerSiteTest.h"
#include "jet/FunctionRegistry.h"
#include "jet/JetError.h"

using namespace Qt::Literals::StringLiterals;
using testsupport::bothSites;
using testsupport::expectSameRows;

using testsupport::errorOf;

namespace {

// The error a call raised, or 0.

QString call(const jet::DialectFunction& f, int count, bool dollar, const QString& first) {
    QStringList args;
    for (int i = 0; i < count; ++i)
        args << (i == 0 ? first : u"1"_s);
    return QString::fromLatin1(f.name) + (dollar ? u"$("_s : u"("_s) + args.join(u", "_s) + u')';
}

bool readsTheClock(const jet::DialectFunction& f) {
    return f.postgres.form == jet::PostgresForm::Clock;
}

TEST(ServerFunctions, EveryFunctionGivesTheFileEnginesAnswerAtEveryArgumentCount) {
    auto& sites = bothSites();
    // A Long, a Currency, a Text, a Date and a Yes/No column, and a constant.
    const QString firsts[] = {u"fldtransregnum"_s, u"fldTransPrice"_s,     u"fldTransDesc"_s,
                              u"fldTransTime"_s,   u"fldactioncritical"_s, u"3"_s};
    int compared = 0;
    for (const jet::DialectFunction& f : jet::dialectFunctions()) {
        const int most = std::min(f.maxArgs, f.minArgs + 3);
        for (int n = f.minArgs; n <= most; ++n) {
            for (const bool dollar : {false, true}) {
                if (dollar && f.dollar == jet::DollarForm::None) continue;
                for (const QString& first : firsts) {
                    if (n == 0 && first != firsts[0]) continue;
                    // First and Last take the rows in the order the table holds them, which a
                    // join may change; the file engine sums text as SQLite does (see the
                    // report), so aggregates read tblTrans alone, and Sum and Avg no text.
                    if (f.isAggregate() && first == u"fldactioncritical") continue;
                    if ((QString::fromLatin1(f.name) == u"sum" ||
                         QString::fromLatin1(f.name) == u"avg") &&
                        first == u"fldTransDesc")
                        continue;
                    const QString text =
                        u"SELECT "_s + call(f, n, dollar, first) + u" AS v FROM tblTrans"_s +
                        (f.isAggregate() ? QString()
                                         : u" INNER JOIN lkpActions ON lkpActions.idfActionID = "
                                           u"tblTrans.fkyActionID"_s) +
                        u" WHERE idftransid <= 40"_s +
                        (f.isAggregate() ? QString() : u" ORDER BY idftransid"_s);
                    SCOPED_TRACE(text.toStdString());
                    const auto a = testsupport::runOn(*sites.file, text, true);
                    const auto b = testsupport::runOn(*sites.server, text, true);
                    EXPECT_EQ(a.error, b.error) << b.words.toStdString();
                    if (a.error || b.error) continue;
                    ++compared;
                    if (readsTheClock(f)) {
                        EXPECT_EQ(a.rows->field(0).type(), b.rows->field(0).type());
                        EXPECT_EQ(a.rows->recordCount(), b.rows->recordCount());
                    } else {
                        expectSameRows(*a.rows, *b.rows, true);
                    }
                }
            }
        }
    }
    EXPECT_GT(compared, 300);
}

TEST(ServerFunctions, AFunctionTheServerCannotComputeIsRefusedOutsideTheListWithItsNumber) {
    auto& server = *bothSites().server;
    const struct {
        const char* text;
        int error;
    } cases[] = {
        {"SELECT count(*) FROM tblTrans WHERE Format(fldTransTime, 'yyyy') = '2003'",
         jet::err::UndefinedFunction},
        {"SELECT Sum(Val(fldTransDesc)) FROM tblTrans", jet::err::UndefinedFunction},
        {"SELECT count(*) FROM tblTrans WHERE fldTransDesc = 1", jet::err::DataTypeMismatch},
        {"SELECT fldtransregnum / 0 FROM tblTrans", vb::err::DivisionByZero},
        {"SELECT 0 * fldtransregnum / (fldtransregnum - fldtransregnum) FROM tblTrans",
         vb::err::Overflow},
        {"SELECT fldtransregnum \\ 0 FROM tblTrans", vb::err::DivisionByZero},
        {"SELECT UCase$(Null & Null) FROM tblTrans", vb::err::InvalidUseOfNull},
        {"SELECT Format(fldTransTime, 'yyyy') AS y FROM tblTrans ORDER BY y",
         jet::err::UndefinedFunction},
        // IIf works out the choice it does not take as well.
        {"SELECT count(*) FROM tblTrans WHERE IIf(fldtransregnum > 0, 1, 1 / (fldtransregnum - "
         "fldtransregnum)) = 1",
         vb::err::DivisionByZero},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(errorOf([&] { server.query(QString::fromUtf8(c.text)); }), c.error);
    }
    // The same functions are worked out where they only show a value.
    auto rows = server.query(u"SELECT Format(fldTransTime, 'yyyy') AS y, Val(fldTransDesc) AS v "
                             u"FROM tblTrans WHERE idftransid = 1"_s);
    ASSERT_EQ(rows->recordCount(), 1u);
    EXPECT_EQ(rows->valueAt(0, 0), vb::Variant(u"2003"_s));
}

} // namespace

namespace {

// The operators on every pair of kinds, in a select list (where the engine works out what the
// server cannot) and as a condition (where the server must, or the dialect's error comes back).
TEST(ServerOperators, EveryOperatorOnEveryPairOfKindsGivesTheFileEnginesAnswer) {
    auto& sites = bothSites();
    const QString operands[] = {u"fldtransregnum"_s,
                                u"fldTransPrice"_s,
                                u"fldTransQty"_s,
                                u"fldTransTime"_s,
                                u"fldactioncritical"_s,
                                u"fldTransDesc"_s,
                                u"0"_s,
                                u"2.5"_s,
                                u"'3'"_s,
                                u"Null"_s};
    const QString operators[] = {u"+"_s, u"-"_s, u"*"_s, u"/"_s, u"\\"_s,   u" Mod "_s,
                                 u"^"_s, u"&"_s, u"="_s, u"<"_s, u" And "_s};
    int compared = 0, refused = 0;
    for (const QString& a : operands)
        for (const QString& op : operators)
            for (const QString& b : operands) {
                // A number less a moment falls before 1899, where the file engine subtracts on
                // its day line and the language on the serial (see the report): the server
                // follows the language.
                if (op == u"-" && b == u"fldTransTime" && a != b) continue;
                const QString expression = a + op + b;
                const QString text = u"SELECT idftransid, "_s + expression +
                                     u" AS v FROM tblTrans INNER JOIN lkpActions ON "
                                     u"lkpActions.idfActionID = tblTrans.fkyActionID WHERE "
                                     u"idftransid <= 12 ORDER BY idftransid"_s;
                SCOPED_TRACE(text.toStdString());
                const auto x = testsupport::runOn(*sites.file, text, true);
                const auto y = testsupport::runOn(*sites.server, text, true);
                EXPECT_EQ(x.error, y.error) << y.words.toStdString();
                if (!x.error && !y.error) {
                    expectSameRows(*x.rows, *y.rows, true);
                    ++compared;
                }
                // As a condition the server must work it out itself: the same rows, or the
                // dialect's refusal of what it cannot do exactly. (^ is left out here: the file
                // engine tests a condition on one table's rows before the join, rows that join
                // nothing kept included, so a power that raises 5 there raises on the file alone.)
                if (op == u"^") continue;
                const QString where = u"SELECT idftransid FROM tblTrans INNER JOIN lkpActions ON "
                                      u"lkpActions.idfActionID = tblTrans.fkyActionID WHERE "
                                      u"idftransid <= 12 AND Not IsNull("_s +
                                      expression + u") ORDER BY idftransid"_s;
                const auto fx = testsupport::runOn(*sites.file, where, true);
                const auto fy = testsupport::runOn(*sites.server, where, true);
                if (fy.error == jet::err::UndefinedFunction ||
                    fy.error == jet::err::DataTypeMismatch) {
                    ++refused;
                    continue;
                }
                EXPECT_EQ(fx.error, fy.error) << where.toStdString() << fy.words.toStdString();
                if (!fx.error && !fy.error) expectSameRows(*fx.rows, *fy.rows, true);
            }
    EXPECT_GT(compared, 500);
    EXPECT_LT(refused, compared / 2);
}

} // namespace
