#pragma once

// The date ranges every Power Search and Fixed Report covers: the preset ranges worked out from a
// given present moment, and the range text report titles carry. Moments are date serials.

#include <QString>
#include <QStringList>
#include <optional>

namespace modDateRanges {

// The option that keeps the pickers' own values.
inline constexpr int kCustomRange = 9;

struct DateRange {
    double start = 0;
    double end = 0;
};

// The options' captions as the Power Search view lists them: the presets 0 to 8, then Custom.
const QStringList& fncRangeCaptions();

// The range of preset option `index` (0 Current Day ... 8 Previous 30 Days) at `now`; Custom and
// unknown options have none.
std::optional<DateRange> fncPresetRange(int index, double now);

// xDay less its weekday's distance from Sunday (Sunday is day 1 whatever the locale); the time of
// day is kept.
double fncGetPreviousSunday(double xDay);

// "Sun 3/23/2003 00:00:00 to Sun 3/30/2003 00:00:00": weekday, the user's short date and the
// 24-hour time of each end.
QString fncDateRangeText(double start, double end);

// "yyyy/mm/dd HH:nn:ss", as query text writes a moment between "#" marks whatever the regional
// forms.
QString fncQueryDate(double serial);

} // namespace modDateRanges
