#include "vb/DateTime.h"

#include "support/VbTestSupport.h"

#include <gtest/gtest.h>

using namespace vb;
using testsupport::errorOf;

namespace {

double ymd(int y, int m, int d, int hh = 0, int nn = 0, int ss = 0) {
    return joinSerial(dayNumberFromCivil(y, m, d), hh * 3600 + nn * 60 + ss);
}

DateParts parts(int y, int m, int d, int hh = 0, int nn = 0, int ss = 0) {
    return DateParts{y, m, d, hh, nn, ss};
}

} // namespace

TEST(DateSerials, KnownAnchorsAndEveryDayRoundTrips) {
    EXPECT_EQ(dayNumberFromCivil(1899, 12, 30), 0);
    EXPECT_EQ(dayNumberFromCivil(1900, 1, 1), 2);
    EXPECT_EQ(dayNumberFromCivil(2003, 3, 23), 37703);
    EXPECT_EQ(dayNumberFromCivil(100, 1, 1), static_cast<std::int64_t>(kMinDateSerial));
    EXPECT_EQ(dayNumberFromCivil(9999, 12, 31), 2958465);

    // Every day from year 100 to 9999 reads back as itself and follows the day before it.
    int py = 0, pm = 0, pd = 0;
    civilFromDayNumber(-657435, py, pm, pd);
    EXPECT_EQ(py, 99);
    for (std::int64_t n = -657434; n <= 2958465; ++n) {
        int y, m, d;
        civilFromDayNumber(n, y, m, d);
        ASSERT_EQ(dayNumberFromCivil(y, m, d), n);
        const bool nextDay = (y == py && m == pm && d == pd + 1) ||
                             (y == py && m == pm + 1 && d == 1) ||
                             (y == py + 1 && m == 1 && d == 1);
        ASSERT_TRUE(nextDay) << y << "-" << m << "-" << d;
        py = y, pm = m, pd = d;
    }
}

TEST(DateSerials, TimeBeforeDayZeroCountsAwayFromZero) {
    EXPECT_EQ(splitDate(-1.25), parts(1899, 12, 29, 6));
    EXPECT_EQ(splitDate(-0.5), parts(1899, 12, 30, 12));
    EXPECT_EQ(splitDate(0.75), parts(1899, 12, 30, 18));
    EXPECT_DOUBLE_EQ(ymd(1899, 12, 29, 6), -1.25);
    EXPECT_DOUBLE_EQ(ymd(1899, 12, 28, 18), -2.75);
    EXPECT_EQ(splitDate(ymd(1066, 10, 14, 9, 30, 15)), parts(1066, 10, 14, 9, 30, 15));
}

TEST(DateSerials, RoundsToTheWholeSecondAndCarriesIntoTheNextDay) {
    const double almostMidnight = 37703 + (86399.6 / 86400);
    EXPECT_EQ(splitDate(almostMidnight), parts(2003, 3, 24));
    EXPECT_EQ(splitDate(37703 + 86399.4 / 86400), parts(2003, 3, 23, 23, 59, 59));
    // Before day zero the carry still moves forward in the calendar.
    EXPECT_EQ(splitDate(-1 - 86399.7 / 86400), parts(1899, 12, 30));
    EXPECT_EQ(splitDate(ymd(2003, 3, 23, 14, 5, 9)), parts(2003, 3, 23, 14, 5, 9));
}

TEST(DateAdd, MonthsClampToTheMonthEnd) {
    EXPECT_EQ(splitDate(dateAdd(Interval::Month, 1, ymd(2003, 1, 31))), parts(2003, 2, 28));
    EXPECT_EQ(splitDate(dateAdd(Interval::Month, 1, ymd(2004, 1, 31))), parts(2004, 2, 29));
    EXPECT_EQ(splitDate(dateAdd(Interval::Month, -1, ymd(2003, 3, 31))), parts(2003, 2, 28));
    EXPECT_EQ(splitDate(dateAdd(Interval::Month, -13, ymd(2003, 3, 31, 8))), parts(2002, 2, 28, 8));
    EXPECT_EQ(splitDate(dateAdd(Interval::Year, 1, ymd(2004, 2, 29))), parts(2005, 2, 28));
    EXPECT_EQ(splitDate(dateAdd(Interval::Quarter, 1, ymd(2003, 11, 30))), parts(2004, 2, 29));
}

TEST(DateAdd, DaysWeeksAndTimesAcrossDayZero) {
    EXPECT_EQ(splitDate(dateAdd(Interval::Day, -1, ymd(2003, 3, 1))), parts(2003, 2, 28));
    EXPECT_EQ(splitDate(dateAdd(Interval::Week, 1, ymd(2003, 3, 23))), parts(2003, 3, 30));
    EXPECT_EQ(splitDate(dateAdd(Interval::Weekday, 3, ymd(2003, 3, 23))), parts(2003, 3, 26));
    // Adding serials naively would move 1899-12-29 23:00 backwards.
    EXPECT_EQ(splitDate(dateAdd(Interval::Hour, 2, ymd(1899, 12, 29, 23))), parts(1899, 12, 30, 1));
    EXPECT_EQ(splitDate(dateAdd(Interval::Minute, -90, ymd(1899, 12, 30, 0, 30))),
              parts(1899, 12, 29, 23));
    EXPECT_EQ(splitDate(dateAdd(Interval::Second, 1, ymd(2003, 12, 31, 23, 59, 59))),
              parts(2004, 1, 1));
    // A count that is not whole rounds to the nearest, halves to even.
    EXPECT_EQ(splitDate(dateAdd(Interval::Day, 1.6, ymd(2003, 3, 1))), parts(2003, 3, 3));
    EXPECT_EQ(splitDate(dateAdd(Interval::Day, 2.5, ymd(2003, 3, 1))), parts(2003, 3, 3));
}

TEST(DateAdd, OutsideYears100To9999IsAnInvalidArgument) {
    EXPECT_EQ(errorOf([] { dateAdd(Interval::Year, 1, ymd(9999, 6, 1)); }), 5);
    EXPECT_EQ(errorOf([] { dateAdd(Interval::Day, -1, ymd(100, 1, 1)); }), 5);
    EXPECT_EQ(errorOf([] { dateAdd(Interval::Second, 1, ymd(9999, 12, 31, 23, 59, 59)); }), 5);
    EXPECT_EQ(errorOf([] { parseInterval(u"x"); }), 5);
    EXPECT_EQ(parseInterval(u"WW"), Interval::Week);
    EXPECT_EQ(parseInterval(u"yyyy"), Interval::Year);
}

TEST(DateDiff, CountsBoundariesCrossed) {
    const double lateEvening = ymd(2003, 3, 22, 23), earlyMorning = ymd(2003, 3, 23, 1);
    EXPECT_EQ(dateDiff(Interval::Day, lateEvening, earlyMorning), 1);
    EXPECT_EQ(dateDiff(Interval::Hour, lateEvening, earlyMorning), 2);
    EXPECT_EQ(dateDiff(Interval::Month, ymd(2003, 1, 31), ymd(2003, 2, 1)), 1);
    EXPECT_EQ(dateDiff(Interval::Year, ymd(2002, 12, 31), ymd(2003, 1, 1)), 1);
    EXPECT_EQ(dateDiff(Interval::Quarter, ymd(2003, 3, 31), ymd(2003, 4, 1)), 1);
    EXPECT_EQ(dateDiff(Interval::Day, ymd(2003, 3, 23), ymd(2003, 3, 1)), -22);
    // "ww" counts Sundays after the first date up to and including the second.
    EXPECT_EQ(dateDiff(Interval::Week, ymd(2003, 3, 22), ymd(2003, 3, 23)), 1);
    EXPECT_EQ(dateDiff(Interval::Week, ymd(2003, 3, 23), ymd(2003, 3, 29)), 0);
    // "w" counts whole weeks.
    EXPECT_EQ(dateDiff(Interval::Weekday, ymd(2003, 3, 22), ymd(2003, 3, 28)), 0);
    EXPECT_EQ(dateDiff(Interval::Weekday, ymd(2003, 3, 22), ymd(2003, 3, 29)), 1);
    EXPECT_EQ(dateDiff(Interval::Second, ymd(1899, 12, 29, 23, 59, 59), ymd(1899, 12, 30)), 1);
    EXPECT_EQ(dateDiff(Interval::Minute, ymd(2003, 3, 23, 10, 59, 59), ymd(2003, 3, 23, 11)), 1);
}

TEST(DatePartAndWeekday, SundayIsOneUnlessToldOtherwise) {
    const double sunday = ymd(2003, 3, 23, 14, 5, 9);
    EXPECT_EQ(weekday(sunday), 1);
    EXPECT_EQ(weekday(ymd(2003, 3, 22)), 7);
    EXPECT_EQ(weekday(sunday, 2), 7);         // Monday first
    EXPECT_EQ(weekday(ymd(1899, 12, 29)), 6); // a Friday before day zero
    EXPECT_EQ(datePart(Interval::DayOfYear, sunday), 82);
    EXPECT_EQ(datePart(Interval::DayOfYear, ymd(2004, 12, 31)), 366);
    EXPECT_EQ(datePart(Interval::Quarter, sunday), 1);
    EXPECT_EQ(datePart(Interval::Hour, sunday), 14);
    EXPECT_EQ(datePart(Interval::Minute, sunday), 5);
    EXPECT_EQ(datePart(Interval::Second, sunday), 9);
    EXPECT_EQ(datePart(Interval::Week, sunday), 13);
    // 2005 starts on a Saturday: that day is week 1, unless the first week needs four days.
    EXPECT_EQ(datePart(Interval::Week, ymd(2005, 1, 1)), 1);
    EXPECT_EQ(datePart(Interval::Week, ymd(2005, 1, 2)), 2);
    EXPECT_EQ(datePart(Interval::Week, ymd(2005, 1, 1), 2, 2), 53);
    EXPECT_EQ(datePart(Interval::Week, ymd(2005, 1, 3), 2, 2), 1);
    EXPECT_EQ(datePart(Interval::Week, ymd(2005, 1, 2), 1, 3), 1);
}

TEST(DateSerialAndTimeSerial, NormaliseOutOfRangeParts) {
    EXPECT_EQ(splitDate(dateSerial(2003, 13, 1)), parts(2004, 1, 1));
    EXPECT_EQ(splitDate(dateSerial(2003, 3, 0)), parts(2003, 2, 28));
    EXPECT_EQ(splitDate(dateSerial(2003, 1, -1)), parts(2002, 12, 30));
    EXPECT_EQ(splitDate(dateSerial(2003, 0, 1)), parts(2002, 12, 1));
    EXPECT_EQ(splitDate(dateSerial(29, 1, 1)), parts(2029, 1, 1));
    EXPECT_EQ(splitDate(dateSerial(30, 1, 1)), parts(1930, 1, 1));
    EXPECT_EQ(errorOf([] { dateSerial(10000, 1, 1); }), 5);
    EXPECT_DOUBLE_EQ(timeSerial(14, 5, 9), (14 * 3600 + 5 * 60 + 9) / 86400.0);
    EXPECT_EQ(splitDate(timeSerial(25, 0, 0)), parts(1899, 12, 31, 1));
    EXPECT_EQ(splitDate(timeSerial(12, -15, 0)), parts(1899, 12, 30, 11, 45));
}
