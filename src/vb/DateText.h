#pragma once

#include <QStringView>
#include <optional>

// Reading dates and times from text, as the conversions (CDate, IsDate, DateValue, ...) and the
// dialect engine's date literals do.
namespace vb {

// A date and/or time read the way the runtime reads them (the rules open DateText.cpp): m/d/yyyy,
// yyyy/mm/dd, yyyy-mm-dd, d mmm yyyy, mmmm d, yyyy, 2003.1.13, "1 2 3"; times h:nn[:ss] or h.nn
// with an optional AM/PM mark, or h AM/PM; a serial. Numbers are tried in the regional order of
// the short date first, or month/day/year when monthFirst is set (as query text is read,
// whatever the region), then in the other orders the runtime knows.
std::optional<double> parseDate(QStringView text, bool monthFirst = false);

} // namespace vb
