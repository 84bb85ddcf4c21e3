#include "jet/Lexer.h"

#include "support/VbTestSupport.h"
#include "vb/DateTime.h"
#include "vb/Regional.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace {

using namespace Qt::StringLiterals;
using jet::TokenKind;

char kindLetter(TokenKind kind) {
    switch (kind) {
    case TokenKind::End:
        return 'E';
    case TokenKind::Word:
        return 'W';
    case TokenKind::Name:
        return 'N';
    case TokenKind::String:
        return 'S';
    case TokenKind::Number:
        return '#';
    case TokenKind::Date:
        return 'D';
    case TokenKind::Symbol:
        return 'Y';
    case TokenKind::Invalid:
        return '!';
    }
    return '?';
}

// The tokens as "kind:text" pairs, End left out: W word, N [name], S string, # number, D date,
// Y symbol, ! invalid.
QString describe(const QString& text) {
    QStringList parts;
    for (const jet::Token& t : jet::tokenize(text))
        if (t.kind != TokenKind::End)
            parts << QChar::fromLatin1(kindLetter(t.kind)) + u':' + t.text;
    return parts.join(u' ');
}

jet::Token single(const QString& text) {
    const std::vector<jet::Token> tokens = jet::tokenize(text);
    EXPECT_EQ(tokens.size(), 2u) << text.toStdString();
    return tokens.front();
}

// Pins en-US and puts it back after tests that switch to another region.
class LexerTest : public testsupport::EnUsTest {
protected:
    void TearDown() override { vb::Regional::setCurrent(vb::Regional::enUS()); }
    static void useGerman() {
        vb::Regional::setCurrent(
            vb::Regional::fromLocale(QLocale(QLocale::German, QLocale::Germany)));
    }
};

TEST_F(LexerTest, SplitsTextIntoTokens) {
    struct Case {
        const char16_t* text;
        const char16_t* tokens;
    };
    const Case cases[] = {
        {u"[Qty Sum]", u"N:Qty Sum"},
        {u"[tbl].[col name]", u"N:tbl Y:. N:col name"},
        {u"tbl!col", u"W:tbl Y:. W:col"},
        {u"format$(x, 'yyyy')", u"W:format$ Y:( W:x Y:, S:yyyy Y:)"},
        {u"Select UCASE$(a)", u"W:Select W:UCASE$ Y:( W:a Y:)"},
        {u"a<>b<=c>=d<e>f=g", u"W:a Y:<> W:b Y:<= W:c Y:>= W:d Y:< W:e Y:> W:f Y:= W:g"},
        {u"a+b-c*d/e\\f^g&h;", u"W:a Y:+ W:b Y:- W:c Y:* W:d Y:/ W:e Y:\\ W:f Y:^ W:g Y:& W:h Y:;"},
        {u"_x1 fld_2", u"W:_x1 W:fld_2"},
        // & followed by letters that are not all hex digits joins texts.
        {u"a &Hour", u"W:a Y:& W:Hour"},
        {u"a&H1F", u"W:a #:&H1F"},
        {u"t.a, (.5)", u"W:t Y:. W:a Y:, Y:( #:.5 Y:)"},
        {u"[a].5", u"N:a Y:. #:5"},
        {u"12abc 1E x", u"#:12 W:abc #:1 W:E W:x"},
        {u"1e+ 2", u"#:1 W:e Y:+ #:2"},
        {u"a @ b ? {", u"W:a !:@ W:b !:? !:{"},
        {u"[]", u"!:[]"},
        {u"x = 'abc", u"W:x Y:= !:'abc"},
        {u"x = \"ab\"\"c", u"W:x Y:= !:\"ab\"\"c"},
        {u"[a b", u"!:[a b"},
        {u"#2003/03/23", u"!:#2003/03/23"},
        {u"", u""},
        {u" \r\n\t ", u""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(describe(QString::fromUtf16(c.text)), QString::fromUtf16(c.tokens))
            << QString::fromUtf16(c.text).toStdString();
}

TEST_F(LexerTest, QuotedTextsDoubleTheirQuote) {
    struct Case {
        const char16_t* text;
        const char16_t* value;
    };
    const Case cases[] = {
        {u"'it''s'", u"it's"},
        {u"\"say \"\"hi\"\"\"", u"say \"hi\""},
        {u"'a\"b'", u"a\"b"},
        {u"\"a'b\"", u"a'b"},
        {u"''", u""},
        {u"''''", u"'"},
        {u"'a;b--c'", u"a;b--c"},
        {u"'two\r\nlines'", u"two\r\nlines"},
        {u"' padded '", u" padded "},
    };
    for (const Case& c : cases) {
        const jet::Token t = single(QString::fromUtf16(c.text));
        EXPECT_EQ(t.kind, TokenKind::String) << QString::fromUtf16(c.text).toStdString();
        EXPECT_EQ(t.value, vb::Variant(QString::fromUtf16(c.value)));
    }
}

TEST_F(LexerTest, WholeNumbersThatFitAreLongAndTheRestDouble) {
    struct Case {
        const char16_t* text;
        vb::Variant value;
    };
    const Case cases[] = {
        {u"0", vb::Variant(std::int32_t(0))},
        {u"12", vb::Variant(std::int32_t(12))},
        {u"40000", vb::Variant(std::int32_t(40000))},
        {u"2147483647", vb::Variant(std::int32_t(2147483647))},
        {u"2147483648", vb::Variant(2147483648.0)},
        {u"99999999999999999999", vb::Variant(1e20)},
        {u"1.5", vb::Variant(1.5)},
        {u".5", vb::Variant(0.5)},
        {u"12.", vb::Variant(12.0)},
        {u"1.0", vb::Variant(1.0)},
        {u"1.5E3", vb::Variant(1500.0)},
        {u"1E-3", vb::Variant(0.001)},
        {u"1e+3", vb::Variant(1000.0)},
        {u"&H1F", vb::Variant(std::int32_t(31))},
        {u"&h7FFFFFFF", vb::Variant(std::int32_t(2147483647))},
        {u"&O17", vb::Variant(std::int32_t(15))},
    };
    for (const Case& c : cases) {
        const jet::Token t = single(QString::fromUtf16(c.text));
        EXPECT_EQ(t.kind, TokenKind::Number) << QString::fromUtf16(c.text).toStdString();
        EXPECT_EQ(t.value, c.value) << QString::fromUtf16(c.text).toStdString();
    }
    for (const char16_t* unreadable : {u"1E400", u"&H1FFFFFFFF"})
        EXPECT_EQ(single(QString::fromUtf16(unreadable)).kind, TokenKind::Invalid);
}

TEST_F(LexerTest, NumbersIgnoreTheRegionalDecimalComma) {
    useGerman();
    EXPECT_EQ(single(u"1.5"_s).value, vb::Variant(1.5));
    EXPECT_EQ(describe(u"f(1,5)"_s), u"W:f Y:( #:1 Y:, #:5 Y:)"_s);
}

TEST_F(LexerTest, DatesInEveryWrittenFormReadMonthFirst) {
    struct Case {
        const char16_t* text;
        vb::DateParts parts;
    };
    const vb::DateParts march23{2003, 3, 23, 0, 0, 0};
    const Case cases[] = {
        {u"#3/23/2003#", march23},
        {u"#2003/03/23#", march23},
        {u"#2003-03-23#", march23},
        {u"#23 Mar 2003#", march23},
        {u"#Mar 23 2003#", march23},
        {u"#March 23, 2003#", march23},
        {u"# 3/23/2003 #", march23},
        {u"#2/3/2003#", {2003, 2, 3, 0, 0, 0}},
        {u"#2/26/2003#", {2003, 2, 26, 0, 0, 0}},
        {u"#3/23/2003 14:05#", {2003, 3, 23, 14, 5, 0}},
        {u"#3/23/2003 2:05:09 PM#", {2003, 3, 23, 14, 5, 9}},
        {u"#2003/03/28 00:00:00#", {2003, 3, 28, 0, 0, 0}},
        {u"#23 Mar 2003 12:00 AM#", march23},
        {u"#14:05:09#", {1899, 12, 30, 14, 5, 9}},
        {u"#2:05 pm#", {1899, 12, 30, 14, 5, 0}},
    };
    for (const Case& c : cases) {
        const jet::Token t = single(QString::fromUtf16(c.text));
        ASSERT_EQ(t.kind, TokenKind::Date) << QString::fromUtf16(c.text).toStdString();
        EXPECT_EQ(vb::splitDate(t.value.dateValue()), c.parts)
            << QString::fromUtf16(c.text).toStdString();
    }
}

TEST_F(LexerTest, DatesReadMonthFirstWhateverTheRegion) {
    useGerman();
    EXPECT_EQ(vb::splitDate(single(u"#2/3/2003#"_s).value.dateValue()),
              (vb::DateParts{2003, 2, 3, 0, 0, 0}));
    EXPECT_EQ(vb::splitDate(single(u"#23 Mar 2003#"_s).value.dateValue()),
              (vb::DateParts{2003, 3, 23, 0, 0, 0}));
}

TEST_F(LexerTest, UnreadableDatesAreInvalidTokensSpanningTheLiteral) {
    for (const char16_t* text :
         {u"#2003/02/30#", u"#yesterday#", u"#13/13/2003#", u"##", u"#25:00#", u"#2003.13.1#"}) {
        const jet::Token t = single(QString::fromUtf16(text));
        EXPECT_EQ(t.kind, TokenKind::Invalid) << QString::fromUtf16(text).toStdString();
        EXPECT_EQ(t.length, QString::fromUtf16(text).size());
    }
}

TEST_F(LexerTest, TokensKeepTheirPlaceInTheText) {
    const QString text = u"SELECT\r\n\t[a b],'x''y'  #1/2/2003#;\n"_s;
    const std::vector<jet::Token> tokens = jet::tokenize(text);
    const QStringList expected = {u"SELECT"_s,     u"[a b]"_s, u","_s,   u"'x''y'"_s,
                                  u"#1/2/2003#"_s, u";"_s,     QString()};
    ASSERT_EQ(tokens.size(), static_cast<std::size_t>(expected.size()));
    for (std::size_t i = 0; i < tokens.size(); ++i)
        EXPECT_EQ(text.mid(tokens[i].position, tokens[i].length), expected[int(i)]) << i;
    EXPECT_EQ(tokens.back().kind, TokenKind::End);
    EXPECT_EQ(tokens.back().position, text.size());
}

TEST_F(LexerTest, NamesNeedBracketsWhenTheyWouldNotReadBackAsOneName) {
    for (const char16_t* plain : {u"fldTransTime", u"_x", u"Date", u"Name", u"tbl2", u"Größe"})
        EXPECT_FALSE(jet::needsBrackets(QStringView(plain)))
            << QString::fromUtf16(plain).toStdString();
    for (const char16_t* bracketed :
         {u"Qty Sum", u"2nd", u"a-b", u"a$", u"", u"Select", u"order", u"Desc", u"NULL", u"Mod"})
        EXPECT_TRUE(jet::needsBrackets(QStringView(bracketed)))
            << QString::fromUtf16(bracketed).toStdString();
}

} // namespace
