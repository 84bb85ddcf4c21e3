#pragma once

#include <QStringView>
#include <cstdint>

// Dates are serials: days since 1899-12-30, the fraction the time of day. Before that day the
// fraction counts away from zero (-1.25 is 1899-12-29 06:00), so the day and the time are read
// separately from the whole part and the magnitude of the fraction.
namespace vb {

constexpr double kMinDateSerial = -657434.0;         // 100-01-01 00:00:00
constexpr double kMaxDateSerial = 2958465.999988426; // 9999-12-31 23:59:59
constexpr int kSecondsPerDay = 86400;

// A moment split into calendar fields, rounded to the whole second.
struct DateParts {
    int year = 1899;
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;
    friend bool operator==(const DateParts&, const DateParts&) = default;
};

// Day numbers count calendar days since 1899-12-30 on a straight line (so day -1 is 1899-12-29);
// they are what the calendar arithmetic works on.
std::int64_t dayNumberFromCivil(int year, int month, int day);
void civilFromDayNumber(std::int64_t dayNumber, int& year, int& month, int& day);

// The serial's calendar day and second of the day, rounded to the whole second (23:59:59.6 is
// the next day's 00:00:00).
struct DayAndSecond {
    std::int64_t day;
    int second;
};
DayAndSecond splitSerial(double serial);
// The serial of a calendar day and a second of that day (0..86399).
double joinSerial(std::int64_t dayNumber, int secondOfDay);
// Seconds since day 0 on a straight line: what hour, minute and second arithmetic adds to.
std::int64_t linearSeconds(double serial);
double serialFromLinearSeconds(std::int64_t seconds);

DateParts splitDate(double serial);
bool isValidDateSerial(double serial);
// Raises 5 (Invalid procedure call or argument) when the serial lies outside year 100..9999.
void checkDateRange(double serial);

// Weekday with firstDayOfWeek counted as 1 (1 = Sunday .. 7 = Saturday when it is 1, the
// default). firstDayOfWeek 0 means the system's first day, which is Sunday here.
int weekday(double serial, int firstDayOfWeek = 1);

enum class Interval { Year, Quarter, Month, DayOfYear, Day, Weekday, Week, Hour, Minute, Second };
// "yyyy" "q" "m" "y" "d" "w" "ww" "h" "n" "s", any case; raises 5 for anything else.
Interval parseInterval(QStringView text);

// DateAdd: months and years clamp to the month's end (31 January + 1 month is the last day of
// February); raises 5 when the result leaves year 100..9999.
double dateAdd(Interval interval, double number, double serial);
// DateDiff: the number of interval boundaries crossed from d1 to d2.
std::int64_t dateDiff(Interval interval, double d1, double d2, int firstDayOfWeek = 1,
                      int firstWeekOfYear = 1);
// DatePart.
int datePart(Interval interval, double serial, int firstDayOfWeek = 1, int firstWeekOfYear = 1);

// DateSerial and TimeSerial normalise out-of-range parts (month 13, day 0, minute -1); years 0-29
// mean 2000-2029 and 30-99 mean 1930-1999. Raise 5 outside year 100..9999.
double dateSerial(int year, int month, int day);
double timeSerial(int hour, int minute, int second);

// The present moment in local time (Now), and today's date (Date).
double now();
double today();

} // namespace vb
