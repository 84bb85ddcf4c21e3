#pragma once

#include <QString>
#include <QStringView>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// The compiled form of Format patterns and the renderers that write values through them. Only
// Format.cpp and its helpers use this; everyone else calls vb::format().
//
// A compiled pattern never holds anything taken from the Regional forms: separators, names and
// the named formats' regional patterns are looked up while rendering, so a cached pattern stays
// right when the forms change.
namespace vb::fmt {

// A stretch of a section's literal pool.
struct TextRef {
    qsizetype offset = 0;
    qsizetype length = 0;
};

enum class CaseForce : std::uint8_t { None, Lower, Upper };

// ---- dates ----

enum class DateToken : std::uint8_t {
    Literal,
    DateSeparator,
    TimeSeparator,
    Day,
    Day2,
    DayAbbrev,
    DayName,
    ShortDate, // ddddd
    LongDate,  // dddddd
    Weekday,   // w
    WeekOfYear,
    Month,
    Month2,
    MonthAbbrev,
    MonthName,
    Quarter,
    DayOfYear, // y
    Year2,
    Year4,
    Hour,
    Hour2,
    Minute,
    Minute2,
    Second,
    Second2,
    LongTime,     // ttttt
    AmPm,         // as written ("AM/PM", "a/p"): text is the morning form, alt the afternoon one
    AmPmRegional, // AMPM
    General,      // c
};

struct DateItem {
    DateToken token = DateToken::Literal;
    TextRef text;
    TextRef alt;
};

struct DateSection {
    std::vector<DateItem> items;
    QString pool;
    bool twelveHour = false;
    CaseForce caseForce = CaseForce::None;
};

// ---- numbers ----

enum class NumberToken : std::uint8_t { Literal, IntegerDigit, FractionDigit, Point, Exponent };

struct NumberItem {
    NumberToken token = NumberToken::Literal;
    TextRef text;
    // IntegerDigit: how many integer placeholders stand to its right; FractionDigit: 1-based.
    int position = 0;
    bool zero = false; // a 0 placeholder rather than a #
};

struct NumberSection {
    std::vector<NumberItem> items;
    QString pool;
    bool empty = true; // nothing was written between the semicolons
    int integerPlaceholders = 0;
    int fractionPlaceholders = 0;
    int minIntegerDigits = 0;  // up to the leftmost integer 0
    int minFractionDigits = 0; // up to the rightmost fraction 0
    int shift = 0;             // powers of ten: +2 for each %, -3 for each scaling comma
    bool grouping = false;
    bool hasPoint = false;
    bool scientific = false;
    bool exponentPlus = false; // E+ writes the sign of a positive exponent too
    QChar exponentLetter = u'E';
    int exponentDigits = 1;
};

// ---- text ----

struct TextItem {
    bool placeholder = false;
    bool blankWhenMissing = false; // @ writes a blank where there is no character, & nothing
    TextRef text;
};

struct TextSection {
    std::vector<TextItem> items;
    QString pool;
    int placeholders = 0;
    bool leftToRight = false;
    CaseForce caseForce = CaseForce::None;
};

// ---- a whole pattern ----

enum class Named : std::uint8_t {
    None,
    GeneralDate,
    LongDate,
    MediumDate,
    ShortDate,
    LongTime,
    MediumTime,
    ShortTime,
    GeneralNumber,
    Currency,
    Fixed,
    Standard,
    Percent,
    Scientific,
    YesNo,
    TrueFalse,
    OnOff,
};

enum class Mode : std::uint8_t { Number, Date, Text };

struct CompiledFormat {
    Named named = Named::None;
    Mode mode = Mode::Number;
    std::vector<NumberSection> numbers; // positive, negative, zero
    DateSection date;                   // a date pattern has one section for every value
    std::vector<TextSection> texts;     // text, then empty text and Null
    std::optional<QString> nullText;    // the fourth section, quotes and escapes resolved
};

CompiledFormat compileFormat(QStringView pattern);
// The compiled pattern from a small per-thread cache.
std::shared_ptr<const CompiledFormat> compiledFormat(const QString& pattern);

// ---- rendering ----

// A non-negative decimal 0.d1d2...dn x 10^pointPos without trailing zeros; no digits is zero.
struct Decimal {
    std::array<char, 24> digits{};
    int count = 0;
    int pointPos = 0;
    bool isZero() const { return count == 0; }
};

struct NumberValue {
    Decimal magnitude;
    bool negative = false;
};

// The fifteen significant digits the language formats a (finite) Double with.
Decimal decimalFromDouble(double magnitude);
// An exact integer count of 10^-decimals (Currency counts ten-thousandths).
Decimal decimalFromScaled(std::uint64_t magnitude, int decimals);
// Rounds half away from zero to the given number of decimals.
void roundDecimal(Decimal& d, int decimals);

void renderNumber(const CompiledFormat& format, const NumberValue& value, QString& out);

struct DateOptions {
    int firstDayOfWeek = 1;
    int firstWeekOfYear = 1;
};

void renderDate(const DateSection& section, double serial, const DateOptions& options,
                QString& out);
// The named date and time formats ("Long Date", "Medium Time", ...).
void renderNamedDate(Named named, double serial, const DateOptions& options, QString& out);

} // namespace vb::fmt
