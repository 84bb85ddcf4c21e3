#pragma once

#include <QStringView>
#include <optional>

// Reading dates and times from text, as the conversions (CDate, IsDate, DateValue, ...) and the
// dialect engine's date literals do.
namespace vb {

// A date and/or time as people and this system write it (m/d/yyyy, yyyy/mm/dd, yyyy-mm-dd,
// d mmm yyyy, mmmm d, yyyy; each with an optional h:nn[:ss] [AM|PM]); a serial. Three numbers
// that do not start with the year are read in the regional order of the short date, or always
// month/day/year when monthFirst is set (as query text is read); a month past 12 swaps with the
// day, as the language does.
std::optional<double> parseDate(QStringView text, bool monthFirst = false);

} // namespace vb
