#include "vb/DateText.h"

#include "support/VbTestSupport.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"

#include <gtest/gtest.h>

#include <initializer_list>

using namespace vb;
using namespace Qt::Literals::StringLiterals;
using testsupport::errorOf;

namespace {

class DateText : public testsupport::EnUsTest {};

double ymd(int y, int m, int d, int hh = 0, int nn = 0, int ss = 0) {
    return joinSerial(dayNumberFromCivil(y, m, d), hh * 3600 + nn * 60 + ss);
}

double hms(int hh, int nn, int ss = 0) {
    return joinSerial(0, hh * 3600 + nn * 60 + ss);
}

int thisYear() {
    return splitDate(today()).year;
}

struct Read {
    const char* text;
    double expected;
};

// CDate, CVDate and IsDate all read text through the same reader.
void expectRead(std::initializer_list<Read> cases) {
    for (const Read& c : cases) {
        SCOPED_TRACE(c.text);
        const Variant text(QString::fromUtf8(c.text));
        EXPECT_DOUBLE_EQ(cdate(text), c.expected);
        EXPECT_DOUBLE_EQ(cvdate(text).dateValue(), c.expected);
        EXPECT_TRUE(isDate(text));
    }
}

void expectRefused(std::initializer_list<const char*> texts) {
    for (const char* t : texts) {
        SCOPED_TRACE(t);
        const Variant text(QString::fromUtf8(t));
        EXPECT_EQ(errorOf([&] { cdate(text); }), 13);
        EXPECT_FALSE(isDate(text));
    }
}

} // namespace

TEST_F(DateText, TimesOnTheTwelveAndTheTwentyFourHourClock) {
    expectRead({{"14:05:09", hms(14, 5, 9)},
                {"14:24", hms(14, 24)},
                {"2:24PM", hms(14, 24)},
                {"2:05 pm", hms(14, 5)},
                {"2p", hms(14, 0)},
                {"11 AM", hms(11, 0)},
                {"23A", hms(23, 0)},
                {"12:00 AM", hms(0, 0)},
                {"12:30 PM", hms(12, 30)},
                {"0:30 am", hms(0, 30)},
                {"00:00 pm", hms(12, 0)}, // PM moves hours 0-11 to the afternoon
                {"13:00 AM", hms(13, 0)}, // hours past 12 are already on the 24-hour clock
                {"13:55 PM", hms(13, 55)},
                {"3/23/2003 2:05 PM", ymd(2003, 3, 23, 14, 5)},
                {"2:05 PM 3/23/2003", ymd(2003, 3, 23, 14, 5)},
                {"3/23/2003 12:00 AM", ymd(2003, 3, 23)}});
    expectRefused({"24:00", "1:60", "1:00:60", "24P", "32A", "1:2:3:4", "3/23/2003 25:00",
                   "2:05 3:06", "PM", "2:05 PM PM"});
}

TEST_F(DateText, DotsJoinThePartsOfATimeOrAYearFirstDate) {
    expectRead({{"13.50", hms(13, 50)},
                {"12.25", hms(12, 25)},
                {"12.25.10", hms(12, 25, 10)},
                {"0.12", hms(0, 12)},
                {"5.1", hms(5, 1)},
                {"4.5 pm", hms(16, 5)},
                {"3/23/2003 14.05", ymd(2003, 3, 23, 14, 5)},
                {"2003.1.13", ymd(2003, 1, 13)},
                {"2003.03.23 14:05:09", ymd(2003, 3, 23, 14, 5, 9)},
                {"23.Mar.2003", ymd(2003, 3, 23)}});
    // A dotted run is a time unless it starts with a written-out year, and then it is read
    // year, month, day and nothing else.
    expectRefused({"12.25.2010", "24.12", "1.2.3.4", "2003.13.1", "2003.2.30", "2003.1.13.5",
                   "Mar 2003.1.13"});
}

TEST_F(DateText, NumbersAloneAreTriedInTheRegionalOrderThenTheOthers) {
    expectRead({{"3/23/2003", ymd(2003, 3, 23)},
                {"03/23/2003", ymd(2003, 3, 23)},
                {"3-23-2003", ymd(2003, 3, 23)},
                {"3 23 2003", ymd(2003, 3, 23)},
                {"3,23,2003", ymd(2003, 3, 23)},
                {"2003/03/23", ymd(2003, 3, 23)},
                {"2003-03-23", ymd(2003, 3, 23)},
                {"2003-03-23T14:05:09", ymd(2003, 3, 23, 14, 5, 9)},
                {"1 2 3", ymd(2003, 1, 2)},
                {"1 2 3 4.5", ymd(2003, 1, 2, 4, 5)},
                {"13/1/2003", ymd(2003, 1, 13)}, // no month 13: day/month/year
                {"0/5/14", ymd(2000, 5, 14)},    // no month or day 0: year/month/day
                {"1/1/29", ymd(2029, 1, 1)},
                {"1/1/30", ymd(1930, 1, 1)},
                {"1/1/100", ymd(100, 1, 1)},
                {"12/31/9999 23:59:59", ymd(9999, 12, 31, 23, 59, 59)},
                {"12/29/1899 6:00 AM", -1.25},
                {"12/24", ymd(thisYear(), 12, 24)},
                {"30 6", ymd(thisYear(), 6, 30)},
                {"30 2", ymd(1930, 2, 1)}, // no 30 February: February 1930
                {"2/30", ymd(1930, 2, 1)},
                {"3/2003", ymd(2003, 3, 1)},
                {"2003/3", ymd(2003, 3, 1)}});
    // Never year/day/month; a lone number is no date.
    expectRefused(
        {"2003", "2/30/2003", "13/13/2003", "2003/13/1", "1/2/3/4", "13/2003", "3//", "1/1/10000"});
}

TEST_F(DateText, AMonthNameTakesADayAndAYearInEitherOrder) {
    expectRead({{"23 Mar 2003", ymd(2003, 3, 23)},
                {"23-Mar-03", ymd(2003, 3, 23)},
                {"23Mar2003", ymd(2003, 3, 23)},
                {"March 23, 2003", ymd(2003, 3, 23)},
                {"mar 23 2003", ymd(2003, 3, 23)},
                {"2003 March 23", ymd(2003, 3, 23)},
                {"Sept 5, 2003", ymd(2003, 9, 5)},
                {"29-Feb-01", ymd(2029, 2, 1)}, // no 29 February 2001: year, month, day
                {"March 2003", ymd(2003, 3, 1)},
                {"23 March", ymd(thisYear(), 3, 23)},
                {"March 23, 2003 2:05:09 PM", ymd(2003, 3, 23, 14, 5, 9)},
                {"23 Mar 2003 2:05:09 pm", ymd(2003, 3, 23, 14, 5, 9)}});
    // The runtime refuses a long date that names its weekday.
    expectRefused({"March", "March April 2003", "1 2 Mar 2003", "Sunday, March 23, 2003",
                   "Sun 23 Mar 2003", "Smarch 23, 2003"});
}

TEST_F(DateText, OtherTextIsNoDate) {
    expectRefused({"", "   ", "hello", "$3/23/2003", "3/23/2003 +1", "3/23:2003", "3/23/2003 PM"});
}

TEST_F(DateText, ADayFirstRegionReadsDayFirstButQueryTextStaysMonthFirst) {
    Regional dayFirst = Regional::enUS();
    dayFirst.shortDate = u"dd/mm/yyyy"_s;
    Regional::setCurrent(dayFirst);
    EXPECT_DOUBLE_EQ(*parseDate(u"2/3/2003"), ymd(2003, 3, 2));
    EXPECT_DOUBLE_EQ(*parseDate(u"2/3"), ymd(thisYear(), 3, 2));
    EXPECT_DOUBLE_EQ(*parseDate(u"2/3/2003", true), ymd(2003, 2, 3));
    EXPECT_DOUBLE_EQ(*parseDate(u"13/2/2003", true), ymd(2003, 2, 13));
    EXPECT_DOUBLE_EQ(*parseDate(u"2003/03/23 14:05:09", true), ymd(2003, 3, 23, 14, 5, 9));
}

TEST_F(DateText, WhereDatesAreWrittenWithDotsTheDotsMakeDates) {
    Regional dotted = Regional::enUS();
    dotted.shortDate = u"dd.mm.yyyy"_s;
    dotted.dateSeparator = u"."_s;
    Regional::setCurrent(dotted);
    EXPECT_DOUBLE_EQ(*parseDate(u"25.12.2010"), ymd(2010, 12, 25));
    EXPECT_DOUBLE_EQ(*parseDate(u"25.12.2010 14:05"), ymd(2010, 12, 25, 14, 5));
    EXPECT_FALSE(parseDate(u"25.12.2010", true)); // query text is not regional
}

TEST_F(DateText, DateValueAndTimeValueKeepOnePartButCheckBoth) {
    struct Case {
        const char* text;
        double date;
        double time;
    } cases[] = {
        {"3/23/2003 2:05 PM", ymd(2003, 3, 23), hms(14, 5)},
        {"1 2 3 4.5", ymd(2003, 1, 2), hms(4, 5)},
        {"2:24PM", 0, hms(14, 24)},
        {"March 23, 2003", ymd(2003, 3, 23), 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_DOUBLE_EQ(dateValue(Variant(QString::fromUtf8(c.text))), c.date);
        EXPECT_DOUBLE_EQ(timeValue(Variant(QString::fromUtf8(c.text))), c.time);
    }
    EXPECT_EQ(errorOf([] { dateValue(Variant(u"3/23/2003 89:98"_s)); }), 13);
    EXPECT_EQ(errorOf([] { timeValue(Variant(u"2/30/2003 2:05 PM"_s)); }), 13);
}
