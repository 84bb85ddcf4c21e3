#pragma once

#include "vb/Variant.h"

#include <QString>

// Format and Format$: named formats ("Short Date", "Currency", "Yes/No", ...) and user patterns
// for dates ("ddd, d mmm yyyy") and numbers ("#,##0.00;(#,##0.00);\"zero\""), under the
// current Regional forms. Patterns are compiled once and cached.
namespace vb {

// Format$: always a String. Null gives the fourth section of a number pattern, or "".
QString format(const Variant& value, const QString& pattern = QString(), int firstDayOfWeek = 1,
               int firstWeekOfYear = 1);

// Format: a Variant String, or Null when the value is Null and the pattern has nothing for Null.
Variant formatVariant(const Variant& value, const QString& pattern = QString(),
                      int firstDayOfWeek = 1, int firstWeekOfYear = 1);

// A date serial through a date pattern, without building a Variant (the grid's hot path).
QString formatDate(double serial, const QString& pattern);

} // namespace vb
