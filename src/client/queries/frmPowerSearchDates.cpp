// The date range every Power Search and Fixed Report covers: the preset ranges, the custom
// pickers with their order checks, and the range text report titles carry.

#include "queries/frmPowerSearch.h"

#include "app/modShared.h"
#include "queries/DateField.h"
#include "queries/frmDateTime.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

#include <QRadioButton>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kCustomRange = 9;

struct Range {
    double start;
    double end;
};

frmPowerSearch::NowFunction& nowFunction() {
    static frmPowerSearch::NowFunction now;
    return now;
}

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

Range fromMidnight(double start, int days) {
    return {midnight(start), midnight(addDays(midnight(start), days))};
}

// The preset ranges by option index; Custom and unknown indexes have none.
std::optional<Range> presetRange(int index, double now) {
    switch (index) {
    case 0: // Current Day
        return Range{midnight(now), midnight(addDays(now, 1))};
    case 1: // Previous Day
        return Range{midnight(addDays(now, -1)), midnight(now)};
    case 2: { // Previous 24 Hours, to the second
        const double start = addDays(now, -1);
        return Range{start, addDays(start, 1)};
    }
    case 3: // Current Week
        return fromMidnight(frmPowerSearch::fncGetPreviousSunday(now), 7);
    case 4: // Previous Week
        return fromMidnight(frmPowerSearch::fncGetPreviousSunday(addDays(now, -7)), 7);
    case 5: // Previous 7 Days
        return fromMidnight(addDays(now, -7), 7);
    case 6: { // Current Month
        const double start = firstOfMonth(now);
        return Range{start, addMonths(start, 1)};
    }
    case 7: { // Previous Month
        const double start = midnight(addMonths(firstOfMonth(now), -1));
        return Range{start, addMonths(start, 1)};
    }
    case 8: { // Previous 30 Days
        const double start = midnight(addDays(now, -30));
        return Range{start, addDays(start, 30)};
    }
    default:
        return std::nullopt;
    }
}

// "Sun 3/23/2003 00:00:00": weekday, the user's short date, the 24-hour time.
QString momentText(double serial) {
    return vb::formatDate(serial, u"ddd"_s) + u' ' + vb::formatDate(serial, u"Short Date"_s) +
           u' ' + vb::formatDate(serial, u"HH:nn:ss"_s);
}

// Whole seconds, so two readings of the same moment always compare equal.
std::int64_t seconds(double serial) {
    return vb::linearSeconds(serial);
}

void tellUser(const QString& message) {
    modShared::fncMessageBox(message, QString(), modShared::vbOKOnly);
}

} // namespace

frmPowerSearch::NowFunction frmPowerSearch::setNowFunction(NowFunction now) {
    return std::exchange(nowFunction(), std::move(now));
}

double frmPowerSearch::fncNow() {
    return nowFunction() ? nowFunction()() : vb::now();
}

double frmPowerSearch::fncGetPreviousSunday(double xDay) {
    return addDays(xDay, -(vb::weekday(xDay, 1) - 1));
}

void frmPowerSearch::optDateTimeRange_Click(int index) {
    subMarkUnsaved();
    if (index >= 0 && index < static_cast<int>(optDateTimeRange.size()))
        optDateTimeRange[index]->setChecked(true);
    if (const auto range = presetRange(index, fncNow())) {
        fdtStartTime->setValue(range->start);
        fdtEndTime->setValue(range->end);
    }
    // Custom starts from whatever range was chosen before it.
    if (index == kCustomRange)
        subEnableCustomRange();
    else
        subDisableCustomRange();
}

QString frmPowerSearch::fncDateRangeText() const {
    return momentText(fdtStartTime->value()) + u" to "_s + momentText(fdtEndTime->value());
}

void frmPowerSearch::subEnableCustomRange() {
    fdtStartTime->setEnabled(true);
    fdtEndTime->setEnabled(true);
}

void frmPowerSearch::subDisableCustomRange() {
    fdtStartTime->setEnabled(false);
    fdtEndTime->setEnabled(false);
}

std::optional<double> frmPowerSearch::fncPickDate(const QString& banner, double value,
                                                  bool hideClock) {
    frmDateTime& dialog = frmDateTime::instance();
    dialog.Banner = banner;
    dialog.DateTime = value;
    // Left alone otherwise: the dialog puts its clock back each time it unloads.
    if (hideClock) dialog.HideClock = true;
    dialog.showModal();
    if (dialog.Cancel) return std::nullopt;
    return dialog.DateTime;
}

void frmPowerSearch::fdtStartTime_Click() {
    const auto picked = fncPickDate(u"Select start date and time"_s, fdtStartTime->value(), false);
    if (!picked) return;
    if (seconds(fdtEndTime->value()) >= seconds(*picked))
        fdtStartTime->setValue(*picked);
    else
        tellUser(u"The start time you are trying to enter is later than the current end date."_s);
}

void frmPowerSearch::fdtEndTime_Click() {
    const auto picked = fncPickDate(u"Select end date and time"_s, fdtEndTime->value(), false);
    if (!picked) return;
    if (seconds(fdtStartTime->value()) <= seconds(*picked))
        fdtEndTime->setValue(*picked);
    else
        tellUser(u"The end time you are trying to enter is earlier than the current start date."_s);
}
