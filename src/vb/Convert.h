#pragma once

#include "vb/DateText.h"
#include "vb/Variant.h"

#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

// The language's conversion functions. Failures raise VbError: 13 Type mismatch for a value that
// is not of the kind asked for, 6 Overflow outside the target's range, 94 Invalid use of Null.
namespace vb {

QString cstr(const Variant& v);
double cdbl(const Variant& v);
float csng(const Variant& v);
std::int32_t clng(const Variant& v); // round half to even
std::int16_t cint(const Variant& v); // round half to even
Currency ccur(const Variant& v);
bool cbool(const Variant& v);
double cdate(const Variant& v);   // a serial
Variant cvdate(const Variant& v); // CDate as a Variant (Null stays Null)

// Val: the leading number of the text, blanks skipped anywhere, "." as the decimal point,
// &H and &O prefixes; 0 when there is none.
double val(QStringView text);
// Str: numbers with a leading blank when not negative and no leading zero before the point.
QString str(const Variant& v);

// IsNumeric and IsDate.
bool isNumeric(const Variant& v);
bool isDate(const Variant& v);

// DateValue and TimeValue: the date part and the time part of a text or value.
double dateValue(const Variant& v);
double timeValue(const Variant& v);

// Text readers used by the conversions (and by the dialect engine for literals).
// A number as people write it: regional decimal point and thousands separators, a currency
// symbol, a sign or parentheses, an exponent, &H/&O.
std::optional<double> parseNumber(QStringView text);

// The text CStr writes: a Double rounded to 15 significant digits, a Single to 7, in plain
// notation when that needs at most as many digits before the point and after it, otherwise as
// d.dddE+nn ("0.1", "0.000000023423421", "1E+20", "1.5E-07"); the regional decimal point.
QString doubleToText(double value);
QString singleToText(float value);
QString currencyToText(Currency value);
// The general date form: date only at midnight, time only on day 0.
QString dateToText(double serial);

// Round half to even to a whole number (the rounding of CInt and CLng).
double roundHalfEven(double value);

} // namespace vb
