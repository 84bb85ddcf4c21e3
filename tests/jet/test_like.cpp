#include "jet/JetLike.h"

#include "DialectSqlTest.h"
#include "support/VbTestSupport.h"

#include <QString>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using jet::LikePattern;

namespace {

struct LikeCase {
    const char* pattern;
    const char* text;
    bool expected;
};

// Both entry points, UTF-8 and QString, must agree on every case.
void expectMatches(const std::vector<LikeCase>& cases) {
    for (const LikeCase& c : cases) {
        const LikePattern pattern(QString::fromUtf8(c.pattern));
        const std::string shown = std::string(c.text).substr(0, 40);
        EXPECT_EQ(pattern.matchesUtf8(c.text), c.expected) << c.pattern << " ~ " << shown;
        EXPECT_EQ(pattern.matches(QString::fromUtf8(c.text)), c.expected)
            << c.pattern << " ~ " << shown << " (QString)";
    }
}

int sign(int c) {
    return (c > 0) - (c < 0);
}

class Like : public dialecttest::DialectSqlTest {};
class Collation : public dialecttest::DialectSqlTest {};

} // namespace

TEST(LikePatterns, PercentAndUnderscore) {
    expectMatches({
        {"%", "", true},           {"%", "anything", true},  {"", "", true},
        {"", "a", false},          {"abc", "abc", true},     {"abc", "abcd", false},
        {"ab%", "abc", true},      {"ab%", "ab", true},      {"ab%", "xab", false},
        {"%bc", "abc", true},      {"%bc", "bcx", false},    {"%b%", "abc", true},
        {"%b%", "ac", false},      {"a%c", "ac", true},      {"a%c", "abbbc", true},
        {"a%c", "abcb", false},    {"ab%ab", "ab", false}, // the two ends may not share characters
        {"ab%ab", "abab", true},   {"%ab%ab", "abab", true}, {"%a%b%c%", "xaybzc", true},
        {"%a%b%c%", "cba", false}, {"a_c", "abc", true},     {"a_c", "ac", false},
        {"_", "", false},          {"_", "ab", false},       {"__%", "ab", true},
        {"%_x", "x", false},       {"_é_", "xéy", true}, // a character, not a byte
        {"%%", "", true},
    });
}

TEST(LikePatterns, SetsRangesAndNegation) {
    expectMatches({
        {"[abc]x", "bx", true},
        {"[abc]x", "dx", false},
        {"[a-c]", "b", true},
        {"[a-c]", "d", false},
        {"[a-cx-z0-9]", "y", true},
        {"[a-cx-z0-9]", "5", true},
        {"[a-cx-z0-9]", "m", false},
        {"[!a-c]", "d", true},
        {"[!a-c]", "b", false},
        {"[!a-c]", "", false}, // a negated set still takes one character
        {"[!]", "!", true},    // a lone ! is itself
        {"[-a]", "-", true},   // - at either end is itself
        {"[a-]", "-", true},
        {"[%]", "%", true},
        {"[%]", "x", false},
        {"[_]", "_", true},
        {"[_]", "x", false},
        {"[[]", "[", true},
        {"a[]b", "ab", true}, // [] stands for no character
        {"a[]b", "axb", false},
        {"%[0-9][0-9]", "till 42", true},
        {"%[0-9][0-9]", "till 4x", false},
        {"[é]", "É", true},
    });
}

TEST(LikePatterns, OtherWildcardsAreOrdinaryCharacters) {
    expectMatches({
        {"a*", "a*", true},
        {"a*", "abc", false},
        {"a?", "a?", true},
        {"a?", "ab", false},
        {"#1", "#1", true},
        {"#1", "11", false},
        {"a]", "a]", true},
        // An unclosed [ is a literal [.
        {"[abc", "[abc", true},
        {"[abc", "a", false},
        {"%[", "x[", true},
    });
}

TEST(LikePatterns, CaseNeverMatters) {
    expectMatches({
        {"ABC", "abc", true},
        {"a%", "ABC", true},
        {"%B%", "abc", true},
        {"[A-C]", "b", true},
        {"[a-c]", "B", true},
        {"[!A-C]", "b", false},
        {"É%", "éclair", true},
        {"%ÖR%", "wörld", true},
        {"straße", "STRASSE", false}, // one character is not two
    });
}

TEST(LikePatterns, BackwardsRangeIsAnInvalidPattern) {
    EXPECT_EQ(testsupport::errorOf([] { LikePattern(u"[z-a]"); }), 93);
}

TEST(LikePatterns, HostilePatternsStayFast) {
    const std::string as(20000, 'a');
    expectMatches({
        {"%a%a%a%a%a%a%a%a%a%a%a%a%b", as.c_str(), false},
        {"%_%_%_%_%_%_%_%_%_%_%_%_%b", as.c_str(), false},
        {"%[a]%[a]%[a]%[a]%[a]%[a]%b%", as.c_str(), false},
        {"%aaaaaaaaaaaaaaaaaaab", as.c_str(), false},
        {"%a%a%a%a%a%a%a%a%a%a%a%a%a", as.c_str(), true},
    });
}

TEST_F(Like, TheSqlFunction) {
    expectAll({
        {"jet_like('Cigarettes', 'cig%')", "B:-1"},
        {"jet_like('Cigars', '%ETTE%')", "B:0"},
        {"jet_like(NULL, '%')", "Null"},
        {"jet_like('a', NULL)", "Null"},
        {"jet_like(123, '1_3')", "B:-1"},
        {"jet_like(2.5, '2.5')", "B:-1"},
        {"jet_like(jet_tag_date(37703), '3/23/%')", "B:-1"}, // dates as CStr writes them
        {"jet_like(jet_tag_bool(1), 'T%')", "B:-1"},
        {"jet_like('abc', '[z-a]')", "error: 93: Invalid pattern string"},
    });
}

TEST_F(Like, PatternsThatChangeFromRowToRowAreNotMixedUp) {
    exec("CREATE TABLE t (id INTEGER PRIMARY KEY, text TEXT, pattern TEXT);"
         "INSERT INTO t (text, pattern) VALUES ('milk', 'm%'), ('milk', 'b%'), ('bread', 'b%'),"
         " ('bread', 'm%'), ('MILK', 'm%')");
    EXPECT_EQ(scalar("SELECT group_concat(jet_like(text, pattern), ',') FROM t ORDER BY id"),
              "-1,0,-1,0,-1");
    EXPECT_EQ(scalar("SELECT group_concat(id, ',') FROM t WHERE jet_like(text, 'M%') ORDER BY id"),
              "1,2,5");
}

TEST(CollationOrder, AgreesWithQStringIgnoringCase) {
    const std::vector<std::pair<const char*, const char*>> pairs = {
        {"abc", "ABC"},      {"abc", "ABD"},     {"a", "ab"},     {"", "a"},
        {"_", "A"},          {"[", "a"},         {"Z", "a"},      {"abcÉ", "ABCé"},
        {"abd", "ABCé"},     {"é", "z"},         {"k", "\u212A"}, // Kelvin sign folds to k
        {"Éclair", "éclat"}, {"x\u00DF", "XSS"},
    };
    for (const auto& [a, b] : pairs) {
        const int expected =
            sign(QString::compare(QString::fromUtf8(a), QString::fromUtf8(b), Qt::CaseInsensitive));
        EXPECT_EQ(jet::compareTextIgnoringCase(a, b), expected) << a << " vs " << b;
        EXPECT_EQ(jet::compareTextIgnoringCase(b, a), -expected) << b << " vs " << a;
    }
}

TEST_F(Collation, OrdersAndComparesIgnoringCase) {
    exec("CREATE TABLE t (name TEXT);"
         "INSERT INTO t VALUES ('c'), ('B'), ('a'), ('_'), ('Éclair')");
    EXPECT_EQ(column("SELECT name FROM t ORDER BY name COLLATE jet_text"),
              (std::vector<std::string>{"_", "a", "B", "c", "Éclair"}));
    EXPECT_EQ(scalar("SELECT 'abc' = 'ABC' COLLATE jet_text"), "1");
    EXPECT_EQ(scalar("SELECT 'éclair' = 'ÉCLAIR' COLLATE jet_text"), "1");
    EXPECT_EQ(scalar("SELECT 'abd' > 'ABCé' COLLATE jet_text"), "1");
    exec("INSERT INTO t VALUES ('C'), ('éCLAIR')");
    EXPECT_EQ(scalar("SELECT count(DISTINCT name COLLATE jet_text) FROM t"), "5");
}
