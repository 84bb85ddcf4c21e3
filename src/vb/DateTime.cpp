#include "vb/DateTime.h"

#include "vb/VbError.h"

#include <QDateTime>
#include <cmath>

namespace vb {

namespace {

// Day number of 1970-01-01 counted from 1899-12-30.
constexpr std::int64_t kUnixEpochDay = 25569;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    std::int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

bool isLeap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int daysInMonth(int y, int m) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && isLeap(y) ? 29 : kDays[m - 1];
}

// Two-digit years as DateSerial and the date readers take them: 0-29 this century, 30-99 the last.
int windowYear(int year) {
    if (year >= 0 && year < 30) return year + 2000;
    if (year >= 30 && year < 100) return year + 1900;
    return year;
}

double checkedJoin(std::int64_t day, int second) {
    double serial = joinSerial(day, second);
    checkDateRange(serial);
    return serial;
}

// The day number of year/month/day after moving whole months; the day clamps to the month's end.
std::int64_t addMonths(std::int64_t dayNumber, std::int64_t months) {
    int y, m, d;
    civilFromDayNumber(dayNumber, y, m, d);
    std::int64_t total = static_cast<std::int64_t>(y) * 12 + (m - 1) + months;
    std::int64_t ny = floorDiv(total, 12);
    int nm = static_cast<int>(total - ny * 12) + 1;
    if (ny < 100 || ny > 9999) raise(err::InvalidProcedureCall);
    int nd = std::min(d, daysInMonth(static_cast<int>(ny), nm));
    return dayNumberFromCivil(static_cast<int>(ny), nm, nd);
}

// Day number of the first day of the week (by firstDayOfWeek) holding the given day.
std::int64_t weekStart(std::int64_t day, int firstDayOfWeek) {
    // Day 0 (1899-12-30) was a Saturday: weekday 7 counting Sunday as 1.
    std::int64_t sundayBased = floorDiv(day + 6, 7) * 7 - 6; // the Sunday on or before `day`
    std::int64_t start = sundayBased + (firstDayOfWeek - 1);
    if (start > day) start -= 7;
    return start;
}

int normaliseFirstDay(int firstDayOfWeek) {
    if (firstDayOfWeek == 0) return 1; // the system's first day: Sunday
    if (firstDayOfWeek < 1 || firstDayOfWeek > 7) raise(err::InvalidProcedureCall);
    return firstDayOfWeek;
}

// Week of the year: 1 = the week holding January 1st, 2 = the first week with four days of the
// year, 3 = the first full week (the language's vbFirstJan1 / vbFirstFourDays / vbFirstFullWeek).
int weekOfYear(std::int64_t day, int firstDayOfWeek, int firstWeekOfYear) {
    int y, m, d;
    civilFromDayNumber(day, y, m, d);
    auto firstWeekStart = [&](int year) {
        std::int64_t jan1 = dayNumberFromCivil(year, 1, 1);
        std::int64_t start = weekStart(jan1, firstDayOfWeek);
        std::int64_t daysInYearInThatWeek = start + 7 - jan1;
        if (firstWeekOfYear == 2 && daysInYearInThatWeek < 4) start += 7;
        if (firstWeekOfYear == 3 && start != jan1) start += 7;
        return start;
    };
    std::int64_t first = firstWeekStart(y);
    if (day < first) first = firstWeekStart(y - 1);
    return static_cast<int>((weekStart(day, firstDayOfWeek) - first) / 7 + 1);
}

} // namespace

std::int64_t dayNumberFromCivil(int year, int month, int day) {
    // Days from civil (proleptic Gregorian), shifted so that 1899-12-30 is 0.
    std::int64_t y = static_cast<std::int64_t>(year) - (month <= 2 ? 1 : 0);
    const std::int64_t era = floorDiv(y, 400);
    const std::int64_t yoe = y - era * 400;
    const std::int64_t mp = (month + 9) % 12;
    const std::int64_t doy = (153 * mp + 2) / 5 + day - 1;
    const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468 + kUnixEpochDay;
}

void civilFromDayNumber(std::int64_t dayNumber, int& year, int& month, int& day) {
    const std::int64_t z = dayNumber - kUnixEpochDay + 719468;
    const std::int64_t era = floorDiv(z, 146097);
    const std::int64_t doe = z - era * 146097;
    const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const std::int64_t mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(yoe + era * 400 + (month <= 2 ? 1 : 0));
}

DayAndSecond splitSerial(double serial) {
    double whole = std::trunc(serial);
    double fraction = std::fabs(serial - whole);
    auto day = static_cast<std::int64_t>(whole);
    int second = static_cast<int>(std::floor(fraction * kSecondsPerDay + 0.5));
    if (second >= kSecondsPerDay) {
        // Rounding reached midnight: that is the next calendar day, whatever the sign.
        ++day;
        second = 0;
    }
    return {day, second};
}

double joinSerial(std::int64_t dayNumber, int secondOfDay) {
    double time = static_cast<double>(secondOfDay) / kSecondsPerDay;
    return dayNumber >= 0 ? static_cast<double>(dayNumber) + time
                          : static_cast<double>(dayNumber) - time;
}

std::int64_t linearSeconds(double serial) {
    DayAndSecond ds = splitSerial(serial);
    return ds.day * kSecondsPerDay + ds.second;
}

double serialFromLinearSeconds(std::int64_t seconds) {
    std::int64_t day = floorDiv(seconds, kSecondsPerDay);
    return joinSerial(day, static_cast<int>(seconds - day * kSecondsPerDay));
}

DateParts splitDate(double serial) {
    DayAndSecond ds = splitSerial(serial);
    DateParts p;
    civilFromDayNumber(ds.day, p.year, p.month, p.day);
    p.hour = ds.second / 3600;
    p.minute = ds.second / 60 % 60;
    p.second = ds.second % 60;
    return p;
}

bool isValidDateSerial(double serial) {
    return std::isfinite(serial) && serial >= kMinDateSerial - 0.5 / kSecondsPerDay &&
           serial <= kMaxDateSerial + 0.5 / kSecondsPerDay;
}

void checkDateRange(double serial) {
    if (!isValidDateSerial(serial)) raise(err::InvalidProcedureCall);
}

int weekday(double serial, int firstDayOfWeek) {
    firstDayOfWeek = normaliseFirstDay(firstDayOfWeek);
    std::int64_t day = splitSerial(serial).day;
    return static_cast<int>(day - weekStart(day, firstDayOfWeek)) + 1;
}

Interval parseInterval(QStringView text) {
    const QString t = text.trimmed().toString().toLower();
    if (t == u"yyyy") return Interval::Year;
    if (t == u"q") return Interval::Quarter;
    if (t == u"m") return Interval::Month;
    if (t == u"y") return Interval::DayOfYear;
    if (t == u"d") return Interval::Day;
    if (t == u"w") return Interval::Weekday;
    if (t == u"ww") return Interval::Week;
    if (t == u"h") return Interval::Hour;
    if (t == u"n") return Interval::Minute;
    if (t == u"s") return Interval::Second;
    raise(err::InvalidProcedureCall);
}

double dateAdd(Interval interval, double number, double serial) {
    checkDateRange(serial);
    // A count that is not whole is rounded to the nearest whole number, as a Long would be.
    if (!std::isfinite(number) || std::fabs(number) > 1e12) raise(err::InvalidProcedureCall);
    auto n = static_cast<std::int64_t>(std::nearbyint(number));
    DayAndSecond ds = splitSerial(serial);
    switch (interval) {
    case Interval::Year:
        return checkedJoin(addMonths(ds.day, n * 12), ds.second);
    case Interval::Quarter:
        return checkedJoin(addMonths(ds.day, n * 3), ds.second);
    case Interval::Month:
        return checkedJoin(addMonths(ds.day, n), ds.second);
    case Interval::DayOfYear:
    case Interval::Day:
    case Interval::Weekday:
        return checkedJoin(ds.day + n, ds.second);
    case Interval::Week:
        return checkedJoin(ds.day + n * 7, ds.second);
    case Interval::Hour:
    case Interval::Minute:
    case Interval::Second: {
        std::int64_t unit = interval == Interval::Hour     ? 3600
                            : interval == Interval::Minute ? 60
                                                           : 1;
        double result = serialFromLinearSeconds(ds.day * kSecondsPerDay + ds.second + n * unit);
        checkDateRange(result);
        return result;
    }
    }
    raise(err::InvalidProcedureCall);
}

std::int64_t dateDiff(Interval interval, double d1, double d2, int firstDayOfWeek,
                      int firstWeekOfYear) {
    firstDayOfWeek = normaliseFirstDay(firstDayOfWeek);
    (void)firstWeekOfYear; // week boundaries do not depend on which week is the year's first
    DayAndSecond a = splitSerial(d1);
    DayAndSecond b = splitSerial(d2);
    int ya, ma, da, yb, mb, db;
    civilFromDayNumber(a.day, ya, ma, da);
    civilFromDayNumber(b.day, yb, mb, db);
    switch (interval) {
    case Interval::Year:
        return yb - ya;
    case Interval::Quarter:
        return (static_cast<std::int64_t>(yb) * 4 + (mb - 1) / 3) -
               (static_cast<std::int64_t>(ya) * 4 + (ma - 1) / 3);
    case Interval::Month:
        return (static_cast<std::int64_t>(yb) * 12 + mb) -
               (static_cast<std::int64_t>(ya) * 12 + ma);
    case Interval::DayOfYear:
    case Interval::Day:
        return b.day - a.day;
    case Interval::Weekday:
        // Whole weeks between the two days, truncated toward zero.
        return (b.day - a.day) / 7;
    case Interval::Week:
        return (weekStart(b.day, firstDayOfWeek) - weekStart(a.day, firstDayOfWeek)) / 7;
    case Interval::Hour:
        return floorDiv(linearSeconds(d2), 3600) - floorDiv(linearSeconds(d1), 3600);
    case Interval::Minute:
        return floorDiv(linearSeconds(d2), 60) - floorDiv(linearSeconds(d1), 60);
    case Interval::Second:
        return linearSeconds(d2) - linearSeconds(d1);
    }
    raise(err::InvalidProcedureCall);
}

int datePart(Interval interval, double serial, int firstDayOfWeek, int firstWeekOfYear) {
    firstDayOfWeek = normaliseFirstDay(firstDayOfWeek);
    if (firstWeekOfYear == 0) firstWeekOfYear = 1;
    if (firstWeekOfYear < 1 || firstWeekOfYear > 3) raise(err::InvalidProcedureCall);
    DayAndSecond ds = splitSerial(serial);
    DateParts p = splitDate(serial);
    switch (interval) {
    case Interval::Year:
        return p.year;
    case Interval::Quarter:
        return (p.month - 1) / 3 + 1;
    case Interval::Month:
        return p.month;
    case Interval::DayOfYear:
        return static_cast<int>(ds.day - dayNumberFromCivil(p.year, 1, 1)) + 1;
    case Interval::Day:
        return p.day;
    case Interval::Weekday:
        return weekday(serial, firstDayOfWeek);
    case Interval::Week:
        return weekOfYear(ds.day, firstDayOfWeek, firstWeekOfYear);
    case Interval::Hour:
        return p.hour;
    case Interval::Minute:
        return p.minute;
    case Interval::Second:
        return p.second;
    }
    raise(err::InvalidProcedureCall);
}

double dateSerial(int year, int month, int day) {
    year = windowYear(year);
    std::int64_t total = static_cast<std::int64_t>(year) * 12 + (month - 1);
    std::int64_t y = floorDiv(total, 12);
    int m = static_cast<int>(total - y * 12) + 1;
    if (y < 100 || y > 9999) raise(err::InvalidProcedureCall);
    // Day 0 is the last day of the month before, day 32 spills into the next month.
    std::int64_t dayNumber = dayNumberFromCivil(static_cast<int>(y), m, 1) + (day - 1);
    return checkedJoin(dayNumber, 0);
}

double timeSerial(int hour, int minute, int second) {
    std::int64_t total =
        static_cast<std::int64_t>(hour) * 3600 + static_cast<std::int64_t>(minute) * 60 + second;
    double serial = serialFromLinearSeconds(total);
    checkDateRange(serial);
    return serial;
}

double now() {
    const QDateTime local = QDateTime::currentDateTime();
    const QDate d = local.date();
    const QTime t = local.time();
    return joinSerial(dayNumberFromCivil(d.year(), d.month(), d.day()),
                      t.hour() * 3600 + t.minute() * 60 + t.second());
}

double today() {
    return std::trunc(now());
}

} // namespace vb
