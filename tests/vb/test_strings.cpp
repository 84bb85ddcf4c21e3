#include "vb/Cp1252.h"
#include "vb/Strings.h"

#include "support/VbTestSupport.h"

#include <gtest/gtest.h>

using namespace vb;
using namespace Qt::Literals::StringLiterals;

TEST(FncReplace, IgnoresCaseAndNeverRescansInsertedText) {
    EXPECT_EQ(fncReplace(u"Ab'ab"_s, u"AB"_s, u"x"_s), u"x'x");
    EXPECT_EQ(fncReplace(u"aaa"_s, u"a"_s, u"aa"_s), u"aaaaaa");
    EXPECT_EQ(fncReplace(u"aa"_s, u"a"_s, u"ba"_s), u"baba");
    EXPECT_EQ(fncReplace(u"a b  c"_s, u" "_s, u"%20"_s), u"a%20b%20%20c");
    EXPECT_EQ(fncReplace(u"line1\r\nline2"_s, u"\r\n"_s, u"%0D%0A"_s), u"line1%0D%0Aline2");
    EXPECT_EQ(fncReplace(u"<SelDate> and <seldate>"_s, u"<SelDate>"_s, u"d"_s), u"d and d");
    EXPECT_EQ(fncReplace(u"it's"_s, u"'"_s, u""_s), u"its");
    EXPECT_EQ(fncReplace(u"abc"_s, u""_s, u"x"_s), u"abc");
    EXPECT_EQ(fncReplace(u""_s, u"a"_s, u"b"_s), u"");
}

TEST(FncReplace, TheSixteenBitLengthOverflows) {
    EXPECT_EQ(testsupport::errorOf([] { fncReplace(QString(32768, u'a'), u"b"_s, u"c"_s); }), 6);
    EXPECT_EQ(fncReplace(QString(32767, u'a'), u"a"_s, u"b"_s), QString(32767, u'b'));
    EXPECT_EQ(testsupport::errorOf([] { fncReplace(QString(20000, u'a'), u"a"_s, u"bb"_s); }), 6);
}

TEST(Cp1252, EncodesOneBytePerCharacterAndAQuestionMarkForTheRest) {
    // The euro sign sits where Latin-1 has a control code; a character beyond the code page is one
    // "?" even when it takes a surrogate pair.
    EXPECT_EQ(vb::encodeCp1252(u"\u20AC \u00E9 \u0151 \U0001D11E <&>"_s),
              QByteArray("\x80 \xE9 ? ? <&>"));
}
