#include "core/modDateRanges.h"

#include "vb/DateTime.h"
#include "vb/Format.h"

using namespace Qt::Literals::StringLiterals;

namespace modDateRanges {

namespace {

double midnight(double serial) {
    return vb::joinSerial(vb::splitSerial(serial).day, 0);
}

double addDays(double serial, int days) {
    return vb::dateAdd(vb::Interval::Day, days, serial);
}

double addMonths(double serial, int months) {
    return vb::dateAdd(vb::Interval::Month, months, serial);
}

double firstOfMonth(double serial) {
    const vb::DateParts p = vb::splitDate(serial);
    return vb::dateSerial(p.year, p.month, 1);
}

DateRange fromMidnight(double start, int days) {
    return {midnight(start), midnight(addDays(midnight(start), days))};
}

QString momentText(double serial) {
    return vb::formatDate(serial, u"ddd"_s) + u' ' + vb::formatDate(serial, u"Short Date"_s) +
           u' ' + vb::formatDate(serial, u"HH:nn:ss"_s);
}

} // namespace

const QStringList& fncRangeCaptions() {
    static const QStringList captions = {
        u"Current Day"_s,      u"Previous Day"_s,    u"Previous 24 Hours"_s, u"Current Week"_s,
        u"Previous Week"_s,    u"Previous 7 Days"_s, u"Current Month"_s,     u"Previous Month"_s,
        u"Previous 30 Days"_s, u"Custom"_s};
    return captions;
}

std::optional<DateRange> fncPresetRange(int index, double now) {
    switch (index) {
    case 0: // Current Day
        return DateRange{midnight(now), midnight(addDays(now, 1))};
    case 1: // Previous Day
        return DateRange{midnight(addDays(now, -1)), midnight(now)};
    case 2: { // Previous 24 Hours, to the second
        const double start = addDays(now, -1);
        return DateRange{start, addDays(start, 1)};
    }
    case 3: // Current Week
        return fromMidnight(fncGetPreviousSunday(now), 7);
    case 4: // Previous Week
        return fromMidnight(fncGetPreviousSunday(addDays(now, -7)), 7);
    case 5: // Previous 7 Days
        return fromMidnight(addDays(now, -7), 7);
    case 6: { // Current Month
        const double start = firstOfMonth(now);
        return DateRange{start, addMonths(start, 1)};
    }
    case 7: { // Previous Month
        const double start = midnight(addMonths(firstOfMonth(now), -1));
        return DateRange{start, addMonths(start, 1)};
    }
    case 8: { // Previous 30 Days
        const double start = midnight(addDays(now, -30));
        return DateRange{start, addDays(start, 30)};
    }
    default:
        return std::nullopt;
    }
}

double fncGetPreviousSunday(double xDay) {
    return addDays(xDay, -(vb::weekday(xDay, 1) - 1));
}

QString fncDateRangeText(double start, double end) {
    return momentText(start) + u" to "_s + momentText(end);
}

QString fncQueryDate(double serial) {
    // Built from the calendar fields, not through Format, whose separators are the regional ones.
    const vb::DateParts p = vb::splitDate(serial);
    return QString::asprintf("%04d/%02d/%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour,
                             p.minute, p.second);
}

} // namespace modDateRanges
