#pragma once

#include "vb/Variant.h"

#include <QString>

// Format and Format$: named formats ("Short Date", "Currency", "Yes/No", ...) and user patterns
// for dates ("ddd, d mmm yyyy") and numbers ("#,##0.00;(#,##0.00);\"zero\""), under the
// current Regional forms. Patterns are compiled once and cached.
namespace vb {

// Format$: always a String. Null gives the pattern's Null section (the fourth of a number or date
// pattern, the second of a text pattern), or "".
QString format(const Variant& value, const QString& pattern = QString(), int firstDayOfWeek = 1,
               int firstWeekOfYear = 1);

// Format: a Variant String; Null only for a Null value without a pattern.
Variant formatVariant(const Variant& value, const QString& pattern = QString(),
                      int firstDayOfWeek = 1, int firstWeekOfYear = 1);

// A date serial through a date pattern, without building a Variant (the grid's hot path).
QString formatDate(double serial, const QString& pattern);

} // namespace vb
