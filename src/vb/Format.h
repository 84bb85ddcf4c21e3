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

// The tri-state arguments of FormatNumber, FormatCurrency and FormatPercent take numbers as the
// language passes them: -1 (or any other truth) True, 0 False, -2 the regional default.
constexpr int kUseDefault = -2;

struct NumberOptions {
    int digitsAfterDecimal = -1; // -1: the regional default; below -1 raises 5
    int includeLeadingDigit = kUseDefault;
    int useParensForNegativeNumbers = kUseDefault;
    int groupDigits = kUseDefault;
};

// FormatNumber, FormatCurrency and FormatPercent: a Variant String, Null for Null. Text converts
// as CDbl reads it (13 otherwise); Currency keeps its exact digits.
Variant formatNumber(const Variant& value, const NumberOptions& options = {});
Variant formatCurrency(const Variant& value, const NumberOptions& options = {});
Variant formatPercent(const Variant& value, const NumberOptions& options = {});

// FormatDateTime with its named formats 0 General Date, 1 Long Date, 2 Short Date, 3 Long Time
// and 4 Short Time (any other raises 5): a Variant String, Null for Null. The value converts as
// CDate converts it.
Variant formatDateTime(const Variant& value, int namedFormat = 0);

} // namespace vb
