#include "vb/Convert.h"

#include "support/VbTestSupport.h"
#include "vb/DateTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace vb;
using namespace Qt::Literals::StringLiterals;
using testsupport::errorOf;

namespace {

class Conversions : public testsupport::EnUsTest {};

double ymd(int y, int m, int d, int hh = 0, int nn = 0, int ss = 0) {
    return joinSerial(dayNumberFromCivil(y, m, d), hh * 3600 + nn * 60 + ss);
}

} // namespace

TEST_F(Conversions, WholeNumbersRoundHalfToEven) {
    EXPECT_EQ(cint(Variant(0.5)), 0);
    EXPECT_EQ(cint(Variant(1.5)), 2);
    EXPECT_EQ(cint(Variant(2.5)), 2);
    EXPECT_EQ(cint(Variant(-2.5)), -2);
    EXPECT_EQ(cint(Variant(2.5000001)), 3);
    EXPECT_EQ(clng(Variant(u"3.5"_s)), 4);
    EXPECT_EQ(clng(Variant(Currency{25000})), 2); // 2.5 exactly
    EXPECT_EQ(clng(Variant(Currency{35000})), 4);
    EXPECT_EQ(cint(Variant(Currency{-25000})), -2);
    EXPECT_EQ(cint(Variant(-32768.5)), -32768);
    EXPECT_EQ(cint(Variant(true)), -1);
    EXPECT_EQ(errorOf([] { cint(Variant(32767.5)); }), 6);
    EXPECT_EQ(errorOf([] { clng(Variant(2147483647.5)); }), 6);
    EXPECT_EQ(errorOf([] { cint(Variant(u"abc"_s)); }), 13);
    EXPECT_EQ(errorOf([] { clng(Variant::null()); }), 94);
    EXPECT_EQ(errorOf([] { csng(Variant(1e39)); }), 6);
    EXPECT_EQ(errorOf([] { ccur(Variant(1e15)); }), 6);
    EXPECT_EQ(ccur(Variant(12.3456)).scaled, 123456);
    EXPECT_EQ(ccur(Variant(u"$1,234.5"_s)).scaled, 12345000);
}

TEST_F(Conversions, CStrWritesFifteenDigitsOfADoubleAndSevenOfASingle) {
    struct Case {
        double value;
        const char* text;
    } cases[] = {
        {8.9498564737284912e16, "8.94985647372849E+16"},
        {895649.84737284912, "895649.847372849"},
        {2.3423421e-8, "0.000000023423421"}, // fifteen digits after the point still fit
        {2.342342133e-7, "2.342342133E-07"}, // sixteen do not
        {0.1, "0.1"},
        {-0.5, "-0.5"},
        {0.1 + 0.2, "0.3"},
        {1.0 / 3, "0.333333333333333"},
        {2.0 / 3, "0.666666666666667"},
        {1.0 / 30, "3.33333333333333E-02"},
        {123456789012345.0, "123456789012345"},
        {999999999999999.9, "1E+15"}, // the rounding carry moves the exponent
        {1e15, "1E+15"},
        {1.5e-7, "0.00000015"},
        {0.00001, "0.00001"},
        {1e-15, "0.000000000000001"},
        {1e-16, "1E-16"},
        {1e300, "1E+300"},
        {2.0, "2"},
        {1234.5, "1234.5"},
        {-1.25e20, "-1.25E+20"},
        // Exactly half at the sixteenth digit goes away from zero, as the runtime prints.
        {100000000000000.5, "100000000000001"},
        {-1000000000000005.0, "-1.00000000000001E+15"},
        // A tail that only rounds to 5 at the sixteenth digit (4.66...) goes down.
        {1 + 21 * std::numeric_limits<double>::epsilon(), "1"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(cstr(Variant(c.value)), QString::fromUtf8(c.text)) << c.text;
    // A Single rounds its own value to seven digits.
    struct SingleCase {
        float value;
        const char* text;
    } singles[] = {
        {895649.847f, "895649.9"},  {0.0000234f, "0.0000234"},
        {0.00002342f, "2.342E-05"}, {0.1f, "0.1"},
        {15000000.0f, "1.5E+07"},   {654322.25f, "654322.3"},
        {-654322.25f, "-654322.3"}, {654321.25f, "654321.3"},
    };
    for (const SingleCase& c : singles)
        EXPECT_EQ(cstr(Variant(c.value)), QString::fromUtf8(c.text)) << c.text;
    EXPECT_EQ(str(Variant(2.3423421e-8)), u" .000000023423421");
    EXPECT_EQ(str(Variant(-1.0 / 30)), u"-3.33333333333333E-02");
    EXPECT_EQ(cstr(Variant(Currency{125000})), u"12.5");
    EXPECT_EQ(cstr(Variant(Currency{-1})), u"-0.0001");
    EXPECT_EQ(cstr(Variant(true)), u"True");
    EXPECT_EQ(cstr(Variant(std::int16_t(-7))), u"-7");
    EXPECT_EQ(cstr(Variant()), u"");
    EXPECT_EQ(errorOf([] { cstr(Variant::null()); }), 94);
}

TEST_F(Conversions, CStrOfDatesUsesTheGeneralDateForm) {
    EXPECT_EQ(cstr(Variant::date(ymd(2003, 3, 23, 14, 5, 9))), u"3/23/2003 2:05:09 PM");
    EXPECT_EQ(cstr(Variant::date(ymd(2003, 3, 23))), u"3/23/2003");
    EXPECT_EQ(cstr(Variant::date(ymd(1899, 12, 30, 0, 0, 1))), u"12:00:01 AM");
    EXPECT_EQ(cstr(Variant::date(-1.25)), u"12/29/1899 6:00:00 AM");
}

TEST_F(Conversions, RegionalDecimalPointInCStrButNeverInStr) {
    Regional comma = Regional::enUS();
    comma.decimalPoint = u","_s;
    comma.thousandsSeparator = u"."_s;
    Regional::setCurrent(comma);
    EXPECT_EQ(cstr(Variant(1.5)), u"1,5");
    EXPECT_EQ(str(Variant(1.5)), u" 1.5");
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"1.234,5"_s)), 1234.5);
}

TEST_F(Conversions, CDblReadsNumbersAsPeopleWriteThem) {
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"1,234.5"_s)), 1234.5);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u" $1,234.50 "_s)), 1234.5);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"(5)"_s)), -5);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"-$5"_s)), -5);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"&H10"_s)), 16);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u"1e3"_s)), 1000);
    EXPECT_DOUBLE_EQ(cdbl(Variant(u".5"_s)), 0.5);
    EXPECT_DOUBLE_EQ(cdbl(Variant(true)), -1);
    EXPECT_DOUBLE_EQ(cdbl(Variant()), 0);
    EXPECT_DOUBLE_EQ(cdbl(Variant::date(37703.5)), 37703.5);
    for (const char* bad : {"", "12abc", "1e", "--1", "1.2.3", "$"})
        EXPECT_EQ(errorOf([&] { cdbl(Variant(bad)); }), 13) << bad;
}

TEST_F(Conversions, CBoolTakesMinusOneTrueAndAnyNonZeroNumber) {
    EXPECT_TRUE(cbool(Variant(u"-1"_s)));
    EXPECT_TRUE(cbool(Variant(u"True"_s)));
    EXPECT_TRUE(cbool(Variant(u" true "_s)));
    EXPECT_FALSE(cbool(Variant(u"FALSE"_s)));
    EXPECT_FALSE(cbool(Variant(u"0"_s)));
    EXPECT_TRUE(cbool(Variant(u"2.5"_s)));
    EXPECT_TRUE(cbool(Variant(0.001)));
    EXPECT_FALSE(cbool(Variant(Currency{0})));
    EXPECT_FALSE(cbool(Variant()));
    EXPECT_EQ(errorOf([] { cbool(Variant(u"yes"_s)); }), 13);
    EXPECT_EQ(errorOf([] { cbool(Variant::null()); }), 94);
}

TEST_F(Conversions, CDateTakesNumbersAsSerials) {
    EXPECT_DOUBLE_EQ(cdate(Variant(37703.25)), 37703.25);
    EXPECT_EQ(errorOf([] { cdate(Variant(1e10)); }), 6);
    EXPECT_EQ(errorOf([] { cdate(Variant::null()); }), 94);
    EXPECT_TRUE(cvdate(Variant::null()).isNull());
    EXPECT_DOUBLE_EQ(dateValue(Variant::date(-1.25)), -1);
    EXPECT_DOUBLE_EQ(timeValue(Variant::date(-1.25)), 0.25);
    EXPECT_FALSE(isDate(Variant(37703)));
}

TEST_F(Conversions, ValTakesTheLeadingNumber) {
    struct Case {
        const char* text;
        double expected;
    } cases[] = {
        {"  1 2 3", 123},   {"-12abc", -12},    {"1,000", 1},      {".5", 0.5},   {"", 0},
        {"abc", 0},         {"1e3", 1000},      {"2.5E-1x", 0.25}, {"&HFF", 255}, {"&HFFFF", -1},
        {"&HFFFF&", 65535}, {"&H10000", 65536}, {"&O17", 15},      {"&O8", 0},    {"+7", 7},
        {"1.2.3", 1.2},     {"\t4\n2", 42},     {"12e", 12},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(val(QString::fromUtf8(c.text)), c.expected) << c.text;
}

TEST_F(Conversions, StrLeavesRoomForTheSignAndDropsTheLeadingZero) {
    EXPECT_EQ(str(Variant(5)), u" 5");
    EXPECT_EQ(str(Variant(-5)), u"-5");
    EXPECT_EQ(str(Variant(0.5)), u" .5");
    EXPECT_EQ(str(Variant(-0.25)), u"-.25");
    EXPECT_EQ(str(Variant(u"12"_s)), u" 12");
    EXPECT_EQ(errorOf([] { str(Variant::null()); }), 94);
}

TEST_F(Conversions, IsNumericFollowsTheLanguage) {
    EXPECT_TRUE(isNumeric(Variant(u" 1,234 "_s)));
    EXPECT_TRUE(isNumeric(Variant()));
    EXPECT_TRUE(isNumeric(Variant(true)));
    EXPECT_FALSE(isNumeric(Variant::null()));
    EXPECT_FALSE(isNumeric(Variant::date(1)));
    EXPECT_FALSE(isNumeric(Variant(u"12a"_s)));
}

TEST_F(Conversions, NonFiniteDoublesFromAnEngineStillPrint) {
    EXPECT_EQ(cstr(Variant(std::numeric_limits<double>::infinity())), u"1.#INF");
    EXPECT_EQ(cstr(Variant(-std::numeric_limits<float>::infinity())), u"-1.#INF");
    EXPECT_EQ(cstr(Variant(std::numeric_limits<double>::quiet_NaN())), u"-1.#IND");
}
