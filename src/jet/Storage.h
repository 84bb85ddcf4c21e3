#pragma once

// How dialect values are kept in an SQLite site file, and how they cross into SQLite functions.
//
// - Dates are REAL on a linear day line: the calendar day number plus the fraction of the day,
//   always counted forward. From 1899-12-30 on this is the serial itself; before it the serial's
//   fraction counts away from zero, which would break ordering, so it is converted. Plain numeric
//   comparison then orders every date, and a range on an indexed date column uses the index.
// - Currency is REAL (read back through Currency::fromDouble, exact to the ten-thousandth).
// - Yes/No is INTEGER -1 (True) or 0.
// - Texts are TEXT, numbers INTEGER or REAL; a Single's REAL is the Single's own value, exactly.
//
// SQLite values carry no type beyond these, so when a Date, Currency, Boolean or Single is handed
// to a dialect function the generated SQL tags it with an SQLite subtype (jet_tag_date(x), ...),
// and a function that returns one of them tags its result the same way.

namespace jet::storage {

constexpr unsigned kSubtypeDate = 'D';
constexpr unsigned kSubtypeCurrency = 'C';
constexpr unsigned kSubtypeBoolean = 'B';
constexpr unsigned kSubtypeSingle = 'S';

double linearFromSerial(double serial);
double serialFromLinear(double linear);

} // namespace jet::storage
