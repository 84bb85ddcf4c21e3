#include "vb/DateTime.h"
#include "vb/Format.h"

#include "support/VbTestSupport.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace vb;
using testsupport::errorOf;

namespace {

double ymd(int y, int m, int d, int hh = 0, int nn = 0, int ss = 0) {
    return joinSerial(dayNumberFromCivil(y, m, d), hh * 3600 + nn * 60 + ss);
}

// Sunday 23 March 2003, 14:05:09.
const double kSunday = ymd(2003, 3, 23, 14, 5, 9);

struct Case {
    Variant value;
    const char* pattern;
    const char* expected;
};

void expectFormats(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(format(c.value, QString::fromUtf8(c.pattern)), QString::fromUtf8(c.expected));
    }
}

Variant at(double serial) {
    return Variant::date(serial);
}
Variant num(double v) {
    return Variant(v);
}

class Format : public testsupport::EnUsTest {};

} // namespace

TEST_F(Format, NamedDateAndTimeFormats) {
    expectFormats({
        {at(kSunday), "General Date", "3/23/2003 2:05:09 PM"},
        {at(ymd(2003, 3, 23)), "General Date", "3/23/2003"}, // no time at midnight
        {at(0.5), "General Date", "12:00:00 PM"},            // no date on day 0
        {at(0), "General Date", "12:00:00 AM"},
        {at(kSunday), "general date", "3/23/2003 2:05:09 PM"},
        {at(kSunday), "Long Date", "Sunday, March 23, 2003"},
        {at(ymd(2003, 1, 2)), "Long Date", "Thursday, January 02, 2003"}, // the day padded
        {at(kSunday), "Medium Date", "23-Mar-03"},
        {at(kSunday), "SHORT DATE", "3/23/2003"},
        {at(kSunday), "Long Time", "2:05:09 PM"},
        {at(kSunday), "Medium Time", "02:05 PM"},
        {at(kSunday), "Short Time", "14:05"},
        {num(37703.5), "Short Date", "3/23/2003"},
        {Variant("2003-03-23 14:05"), "Long Date", "Sunday, March 23, 2003"},
        {Variant("not a date"), "Long Date", "not a date"},
    });
}

TEST_F(Format, NamedNumberFormats) {
    expectFormats({
        {num(1234.5), "General Number", "1234.5"},
        {Variant("1,234.5"), "General Number", "1234.5"},
        {Variant(true), "General Number", "-1"},
        {num(1234.5), "Currency", "$1,234.50"},
        {num(-1234.5), "Currency", "($1,234.50)"},
        {num(0.125), "Currency", "$0.13"},
        {num(1234.5), "Fixed", "1234.50"},
        {num(-1234.5), "Fixed", "-1234.50"},
        {num(0.5), "Fixed", "0.50"},
        {num(1234.5), "Standard", "1,234.50"},
        {num(0.125), "Percent", "12.50%"},
        {num(1234.5), "Scientific", "1.23E+03"},
        {num(-0.000123), "Scientific", "-1.23E-04"},
        {num(0), "Yes/No", "No"},
        {num(0.001), "Yes/No", "Yes"},
        {Variant(std::int16_t(-1)), "True/False", "True"},
        {Variant(false), "True/False", "False"},
        {Variant("0"), "On/Off", "Off"},
        {Variant(std::int32_t(7)), "on/off", "On"},
        {Variant("words"), "Yes/No", "words"},
        {Variant::null(), "Currency", ""},
    });
}

TEST_F(Format, DatePatterns) {
    expectFormats({
        {at(ymd(2003, 3, 1)), "1 mmm yyyy", "1 Mar 2003"}, // the 1 is literal, not dropped
        {at(kSunday), "ddd, d mmm yyyy", "Sun, 23 Mar 2003"},
        {at(kSunday), "dddd dd/mm/yy", "Sunday 23/03/03"},
        {at(kSunday), "M/D/YYYY", "3/23/2003"},
        {at(kSunday), "m mm mmm mmmm", "3 03 Mar March"},
        {at(kSunday), "q y yy", "1 82 03"},
        {at(ymd(2003, 12, 31)), "y", "365"},
        {at(kSunday), "hh:mm", "14:05"},    // m after an hour is the minute
        {at(kSunday), "h \\h m", "14 h 5"}, // with literals between
        {at(kSunday), "hh dd mm", "14 23 03"},
        {at(kSunday), "mm:ss", "03:09"}, // before seconds it is still the month
        {at(kSunday), "H:N:S HH:NN:SS", "14:5:9 14:05:09"},
        {at(kSunday), "ddddd", "3/23/2003"},
        {at(kSunday), "dddddd", "Sunday, March 23, 2003"},
        {at(ymd(2003, 1, 2)), "dddddd", "Thursday, January 02, 2003"},
        {at(kSunday), "ttttt", "2:05:09 PM"},
        {at(kSunday), "c", "3/23/2003 2:05:09 PM"},
        {at(ymd(2003, 3, 23)), "[c]", "[3/23/2003]"},
        {at(0.75), "c", "6:00:00 PM"},
        {at(kSunday), "\"Day \"d", "Day 23"},
        {at(kSunday), "\\d\\a\\y d", "day 23"},
        {at(kSunday), ">mmm", "MAR"},
        {at(kSunday), "<dddd", "sunday"},
        {at(kSunday), "yyyy-mm-dd\"T\"hh:nn:ss", "2003-03-23T14:05:09"},
    });
}

TEST_F(Format, AmPmFamilyAtMidnightNoonAndAfter) {
    const double midnight = ymd(2003, 3, 23), noon = ymd(2003, 3, 23, 12);
    expectFormats({
        {at(midnight), "h:nn AM/PM", "12:00 AM"},
        {at(noon), "h:nn AM/PM", "12:00 PM"},
        {at(midnight), "hh:nn am/pm", "12:00 am"},
        {at(noon), "hh:nn am/pm", "12:00 pm"},
        {at(kSunday), "h A/P", "2 P"},
        {at(ymd(2003, 3, 23, 9)), "h a/p", "9 a"},
        {at(kSunday), "h Am/pM", "2 pM"}, // each half keeps the case it was written in
        {at(kSunday), "hh:nn AMPM", "02:05 PM"},
        {at(ymd(2003, 3, 23, 0, 30)), "h:nn", "0:30"}, // 24-hour without an AM/PM token
        {at(kSunday), "AM/PM h", "PM 2"},              // the token anywhere makes the clock 12-hour
    });
}

TEST_F(Format, DatesBeforeDayZeroAndRoundedSeconds) {
    expectFormats({
        {at(-1.25), "m/d/yyyy h:nn AM/PM", "12/29/1899 6:00 AM"},
        {at(-2.75), "m/d/yyyy hh:nn", "12/28/1899 18:00"},
        {at(-0.5), "General Date", "12:00:00 PM"},
        {at(-1.25), "General Date", "12/29/1899 6:00:00 AM"},
        {at(37703 + 86399.6 / 86400), "m/d/yyyy hh:nn:ss", "3/24/2003 00:00:00"},
        {at(37703 + 86399.4 / 86400), "m/d/yyyy hh:nn:ss", "3/23/2003 23:59:59"},
        {at(37703 + 86399.6 / 86400), "General Date", "3/24/2003"},
    });
}

TEST_F(Format, ValuesThroughDatePatterns) {
    expectFormats({
        {num(37703.5), "yyyy-mm-dd hh:nn", "2003-03-23 12:00"},
        {Variant("3/23/2003"), "dd mmm", "23 Mar"},
        {Variant("37703"), "dd mmm", "23 Mar"},
        {Variant("hello"), "dd mmm", "hello"},
        {Variant(), "m/d/yyyy", "12/30/1899"},
        {Variant(true), "m/d/yyyy", "12/29/1899"},
    });
    EXPECT_EQ(errorOf([] { format(num(1e10), "yyyy"); }), err::Overflow);
    EXPECT_EQ(format(Variant::null(), "dd mmm"), u"");
    EXPECT_EQ(formatVariant(Variant::null(), "dd mmm"), Variant(""));
}

TEST_F(Format, WeekdayAndWeekNumbersFollowTheFirstDays) {
    struct WeekCase {
        double serial;
        const char* pattern;
        int firstDayOfWeek;
        int firstWeekOfYear;
        const char* expected;
    };
    const double newYear = ymd(2003, 1, 1); // a Wednesday
    const std::vector<WeekCase> cases = {
        {kSunday, "w", 1, 1, "1"},   {kSunday, "w", 2, 1, "7"},
        {kSunday, "w", 7, 1, "2"},   {kSunday, "w", 0, 1, "1"},
        {kSunday, "ww", 1, 1, "13"}, {kSunday, "ww", 2, 1, "12"},
        {newYear, "ww", 1, 1, "1"},  {newYear, "ww", 1, 2, "1"},
        {newYear, "ww", 1, 3, "52"}, {ymd(2003, 12, 31), "ww", 1, 1, "53"},
    };
    for (const WeekCase& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.pattern << " " << c.firstDayOfWeek << " " << c.firstWeekOfYear);
        EXPECT_EQ(format(at(c.serial), c.pattern, c.firstDayOfWeek, c.firstWeekOfYear),
                  QString::fromUtf8(c.expected));
    }
    EXPECT_EQ(errorOf([] { format(at(kSunday), "w", 8); }), err::InvalidProcedureCall);
    EXPECT_EQ(errorOf([] { format(at(kSunday), "ww", 1, 4); }), err::InvalidProcedureCall);
}

TEST_F(Format, NumberPlaceholdersAndRounding) {
    expectFormats({
        {num(2.5), "0", "3"}, // half away from zero, not to even
        {num(-2.5), "0", "-3"},
        {num(0.125), "0.00", "0.13"},
        {num(1.005), "0.00", "1.01"}, // the fifteen-digit value 1.00500000000000 is rounded
        {num(2.675), "0.00", "2.68"},
        {num(0.1 + 0.2), "0.00000000000000000", "0.30000000000000000"},
        {num(123456789012345678.0), "0", "123456789012346000"},
        {num(1e20), "0", "100000000000000000000"},
        {num(0), "#.##", "."},
        {num(0.5), "#.##", ".5"},
        {num(0.5), "0.##", "0.5"},
        {num(5), "#.##", "5."},
        {num(0.05), "0.#0", "0.05"},
        {num(0.5), "0.#0", "0.50"},
        {num(0), "#", ""},
        {num(5), "000", "005"},
        {num(1.5), "0.000", "1.500"},
        {num(999.96), "0.0", "1000.0"},
        {num(1.5), ".00", "1.50"}, // no integer placeholder: the whole part still shows
        {num(-0.0), "0.00", "0.00"},
    });
}

TEST_F(Format, IntegerDigitsAroundLiteralsAndOverflow) {
    expectFormats({
        {num(12345), "00", "12345"},
        {num(12345), "0-0", "1234-5"}, // extra digits go to the leftmost placeholder
        {num(5551234567.0), "(000) 000-0000", "(555) 123-4567"},
        {num(1234567), "(###) ###-####", "() 123-4567"},
        {num(1234.5), "$#,##0.00", "$1,234.50"},
        {num(-1234.5), "$#,##0.00", "-$1,234.50"},
        {num(5), "\"Total: \"0", "Total: 5"},
        {num(3), "0 \\d\\a\\y\\s", "3 days"},
        {num(3), "0 days", "3 days"}, // letters after a digit placeholder are literal
        {num(12), "0\";\"0", "1;2"},  // a quoted semicolon separates nothing
        {num(5), "+0;-0", "+5"},
    });
}

TEST_F(Format, ThousandsGroupingAndScaling) {
    expectFormats({
        {num(1234567), "#,##0", "1,234,567"},
        {num(123), "#,##0", "123"},
        {num(0), "#,##0", "0"},
        {num(5), "0,000", "0,005"},
        {num(1234567), "#,,##0", "1,234,567"},
        {num(1234567), "#,##0,", "1,235"}, // a trailing comma divides by 1000
        {num(123456789), "0,,", "123"},
        {num(100000000), "##0,,", "100"},
        {num(123456789), "0,,.0", "123.5"},
        {num(999999), "0,,", "1"},
        {num(12), ",0", ",12"}, // before any placeholder a comma is just a comma
        {Variant(std::int32_t(2147483647)), "#,##0", "2,147,483,647"},
        {num(1e18), "#,##0", "1,000,000,000,000,000,000"},
    });
}

TEST_F(Format, PercentAndScientific) {
    expectFormats({
        {num(0.125), "0%", "13%"},
        {num(0.125), "0.0%", "12.5%"},
        {num(-0.5), "0%;(0%)", "(50%)"},
        {num(1234.5), "0.00E+00", "1.23E+03"},
        {num(1234.5), "0.00E-00", "1.23E03"},
        {num(0.0001234), "0.00E-00", "1.23E-04"},
        {num(0.0001234), "0.00e+0", "1.23e-4"},
        {num(1234.5), "00.0E+00", "12.3E+02"},
        {num(9.996), "0.00E+00", "1.00E+01"}, // the rounding carry moves the exponent
        {num(0), "0.00E+00", "0.00E+00"},
        {num(-1234.5), "0.00E+00", "-1.23E+03"},
        {num(1.5e300), "0.0E+000", "1.5E+300"},
        {num(5), "0E", "5E"}, // E without a sign and placeholders is a letter
        // The exponent shows at least as many digits as it has zeros.
        {num(12345), "0.00E+000", "1.23E+004"},
        {num(1.5e-10), "0.00E+000", "1.50E-010"},
    });
}

TEST_F(Format, SectionsForNegativeZeroAndNull) {
    const char* four = "0.00;(0.00);\"zero\";\"null\"";
    expectFormats({
        {num(5), four, "5.00"},
        {num(-5), four, "(5.00)"},
        {num(0), four, "zero"},
        {Variant::null(), four, "null"},
        {num(-5), "0;;\"zero\"", "-5"}, // empty negative section: first, with minus
        {num(0), "0;(0);", "0"},        // empty zero section: the first
        {num(0), "0;(0)", "0"},
        {Variant::null(), ";;;n/a", "n/a"}, // the Null section is written as it reads
        {Variant::null(), "0;(0);\\Z", ""},
        {Variant::null(), "0.0", ""},
    });
    // Only Format without a pattern gives Null back.
    EXPECT_EQ(formatVariant(Variant::null(), "0;(0);\\Z"), Variant(""));
    EXPECT_EQ(formatVariant(Variant::null(), four), Variant("null"));
}

TEST_F(Format, AValueThatRoundsToZeroIsZero) {
    const char* three = "0.0;(0.0);\"zero\"";
    expectFormats({
        {num(0.001), three, "zero"},
        {num(-0.04), "0.0", "0.0"},                   // never "-0.0"
        {num(-0.001), "0.00;(0.00)", "0.00"},         // zero without a third section: the first
        {num(-0.04), "0.0;(0.00)", "(0.04)"},         // rounded by the section that shows it
        {num(-0.004), "0%;(0%);\"z\"", "z"},          // after the percent
        {num(0.0001), "0.00E+00;;\"z\"", "1.00E-04"}, // a mantissa never rounds to zero
    });
}

TEST_F(Format, OtherValueKinds) {
    expectFormats({
        {Variant(true), "0", "-1"},
        {Variant(false), "0", "0"},
        {Variant(true), "0;(0)", "(1)"},
        {Variant("1,234.5"), "0.0", "1234.5"},
        {Variant("abc"), "0.00", "abc"},
        {Variant("3/23/2003"), "0", "37703"},
        {at(37703.5), "0.00", "37703.50"},
        {Variant(), "0.00", "0.00"},
        {Variant(1.1f), "0.0000000000", "1.1000000238"},
        {Variant(std::numeric_limits<double>::infinity()), "0", "1.#INF"},
    });
}

TEST_F(Format, CurrencyKeepsItsExactDigits) {
    const Variant largest(Currency{std::numeric_limits<std::int64_t>::max()});
    const Variant smallest(Currency{std::numeric_limits<std::int64_t>::min()});
    expectFormats({
        // As a Double this would be 922337203685477.625 and show fifteen digits at most.
        {largest, "#,##0.0000", "922,337,203,685,477.5807"},
        {largest, "Currency", "$922,337,203,685,477.58"},
        {smallest, "0.0000", "-922337203685477.5808"},
        {smallest, "Currency", "($922,337,203,685,477.58)"},
        {Variant(Currency{1250}), "0.00", "0.13"},
        {Variant(Currency{15000}), "General Number", "1.5"},
    });
}

TEST_F(Format, NoPatternIsCStr) {
    expectFormats({
        {num(1.5), "", "1.5"},
        {Variant(true), "", "True"},
        {Variant(), "", ""},
        {at(kSunday), "", "3/23/2003 2:05:09 PM"},
        {Variant(Currency{15000}), "", "1.5"},
        {Variant("text"), "", "text"},
    });
    EXPECT_EQ(format(Variant::null()), u"");
    EXPECT_TRUE(formatVariant(Variant::null()).isNull());
    EXPECT_EQ(formatVariant(num(2)), Variant("2"));
}

TEST_F(Format, TextPatterns) {
    expectFormats({
        {Variant("abc"), "@@@@@", "  abc"},
        {Variant("abc"), "!@@@@@", "abc  "},
        {Variant("abc"), "&&&&&", "abc"},
        {Variant("12345"), "@@@-@@", "123-45"},
        {Variant("123"), "@@@-@@", "  1-23"},
        {Variant("abcd"), "@@", "abcd"},
        {Variant("abcd"), "!@@", "abcd"},
        {Variant("Hello"), ">", "HELLO"},
        {Variant("Hello"), "<", "hello"},
        {Variant(std::int32_t(123)), "@@@@@", "  123"},
        {Variant("12345678"), "@@@-@@", "123456-78"}, // extra text goes to the far placeholder
        {Variant("12345678"), "!@@@-@@", "123-45678"},
        {Variant("12"), "&&&-&&", "-12"},
        {Variant("12"), "!@@@-@@", "12 -  "},
        {Variant("abc"), "Name: @", "Name: abc"}, // letters around @ are literal, not a date
        {Variant(""), "@;\"(empty)\"", "(empty)"},
        {Variant::null(), "@;\"(empty)\"", "(empty)"},
    });
    EXPECT_EQ(formatVariant(Variant::null(), "@@"), Variant(""));
}

TEST_F(Format, FormatDateIsTheSameAsFormatOfADate) {
    for (const char* pattern : {"ddd, d mmm yyyy", "General Date", "Short Time", "0.00", ""})
        EXPECT_EQ(formatDate(kSunday, pattern), format(at(kSunday), pattern)) << pattern;
    EXPECT_EQ(errorOf([] { formatDate(1e9, "yyyy"); }), err::Overflow);
}

TEST_F(Format, FollowsTheRegionalFormsEvenForCachedPatterns) {
    const char* patterns[] = {"Short Date", "General Date", "#,##0.00", "dd/mm/yyyy hh:nn AMPM",
                              "Currency",   "dddd"};
    for (const char* p : patterns)
        format(at(kSunday), p); // compile and cache them under en-US

    Regional de = Regional::enUS();
    de.shortDate = "dd.mm.yyyy";
    de.longTime = "hh:nn:ss";
    de.dateSeparator = ".";
    de.decimalPoint = ",";
    de.thousandsSeparator = ".";
    de.currencySymbol = "€";
    de.currencySymbolFirst = false;
    de.currencyNegativeInParentheses = false;
    de.am = "vorm.";
    de.pm = "nachm.";
    de.dayNames[0] = "Sonntag";
    Regional::setCurrent(de);
    expectFormats({
        {at(kSunday), "Short Date", "23.03.2003"},
        {at(kSunday), "General Date", "23.03.2003 14:05:09"},
        {num(1234.5), "#,##0.00", "1.234,50"},
        {at(kSunday), "dd/mm/yyyy hh:nn AMPM", "23.03.2003 02:05 nachm."},
        {num(1234.5), "Currency", "1.234,50 €"},
        {num(-1234.5), "Currency", "-1.234,50 €"},
        {at(kSunday), "dddd", "Sonntag"},
    });
}

TEST_F(Format, ManyPatternsOutgrowTheCacheWithoutMixingThemUp) {
    for (int round = 0; round < 3; ++round) {
        for (int decimals = 1; decimals < 150; ++decimals) {
            const QString zeros(decimals, u'0');
            ASSERT_EQ(format(num(1), "0." + zeros + "\\x"), "1." + zeros + "x") << decimals;
        }
    }
}

TEST_F(Format, FormatNumberCurrencyAndPercent) {
    using Function = Variant (*)(const Variant&, const NumberOptions&);
    constexpr int kTrue = -1, kFalse = 0, kDefault = kUseDefault;
    struct AmountCase {
        Function f;
        Variant value;
        NumberOptions options;
        const char* expected;
    };
    const Variant largest(Currency{std::numeric_limits<std::int64_t>::max()});
    const std::vector<AmountCase> cases = {
        {formatNumber, num(0.2), {2, kFalse}, ".20"},
        {formatNumber, num(0.4), {0, kFalse}, "0"}, // no fraction shown: the units stay
        {formatNumber, num(-50), {1, kTrue, kTrue}, "(50.0)"},
        {formatNumber, num(-5), {0, kDefault, 1}, "(5)"}, // any truth is True
        {formatNumber, num(2.5), {0}, "3"},               // half away from zero, as Format rounds
        {formatNumber, num(-0.001), {2, kDefault, kTrue}, "0.00"},
        {formatNumber, largest, {4}, "922,337,203,685,477.5807"},
        {formatNumber, Variant("1,234.5"), {}, "1,234.50"},
        {formatCurrency, num(-1234.5), {}, "($1,234.50)"},
        {formatCurrency, num(-1234.5), {-1, kDefault, kFalse}, "-$1,234.50"},
        {formatCurrency, num(0.5), {2, kFalse, kDefault, kFalse}, "$.50"},
        {formatPercent, num(0.1234), {1}, "12.3%"},
        {formatPercent, num(-10), {0, kDefault, kTrue, kFalse}, "(1000%)"},
    };
    for (const AmountCase& c : cases) {
        SCOPED_TRACE(c.expected);
        EXPECT_EQ(c.f(c.value, c.options), Variant(QString::fromUtf8(c.expected)));
    }
    EXPECT_TRUE(formatCurrency(Variant::null()).isNull());
    EXPECT_EQ(errorOf([] { formatPercent(Variant("abc")); }), err::TypeMismatch);
    EXPECT_EQ(errorOf([] { formatNumber(num(1), {-2}); }), err::InvalidProcedureCall);
}

TEST_F(Format, AmountDefaultsComeFromTheRegionalForms) {
    Regional r = Regional::enUS();
    r.numberDigits = 3;
    r.leadingZero = false;
    r.negativeInParentheses = true;
    r.groupDigits = false;
    r.currencyDigits = 0;
    Regional::setCurrent(r);
    EXPECT_EQ(formatNumber(num(-1234.5)), Variant("(1234.500)"));
    EXPECT_EQ(formatPercent(num(0.005)), Variant(".500%"));
    EXPECT_EQ(formatCurrency(num(-1234.5)), Variant("($1235)"));
    EXPECT_EQ(formatNumber(num(-0.5), {1, -1, 0, -1}), Variant("-0.5"));
}

TEST_F(Format, FormatDateTime) {
    const std::vector<std::pair<int, const char*>> named = {
        {0, "3/23/2003 2:05:09 PM"},
        {1, "Sunday, March 23, 2003"},
        {2, "3/23/2003"},
        {3, "2:05:09 PM"},
        {4, "14:05"},
    };
    for (const auto& [n, expected] : named)
        EXPECT_EQ(formatDateTime(at(kSunday), n), Variant(expected)) << n;
    EXPECT_EQ(formatDateTime(at(ymd(2003, 3, 23)), 3), Variant("12:00:00 AM"));
    EXPECT_EQ(formatDateTime(num(37703.5), 2), Variant("3/23/2003"));
    EXPECT_TRUE(formatDateTime(Variant::null(), 1).isNull());
    EXPECT_EQ(errorOf([] { formatDateTime(Variant("hello")); }), err::TypeMismatch);
    EXPECT_EQ(errorOf([] { formatDateTime(num(1e10)); }), err::Overflow);
    EXPECT_EQ(errorOf([] { formatDateTime(at(kSunday), 5); }), err::InvalidProcedureCall);
}
