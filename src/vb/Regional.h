#pragma once

#include <QLocale>
#include <QString>
#include <array>

namespace vb {

// The user's regional forms. Texts shown to people follow them; query text never does.
// Date forms are written in the pattern language of Format ("m/d/yyyy").
struct Regional {
    QString shortDate; // "m/d/yyyy"
    QString longDate;  // "dddd, mmmm dd, yyyy"
    QString longTime;  // "h:nn:ss AM/PM"
    QString am;        // "AM"
    QString pm;        // "PM"
    QString dateSeparator;
    QString timeSeparator;
    QString decimalPoint;
    QString thousandsSeparator;
    QString currencySymbol;
    int numberDigits = 2;               // decimals of FormatNumber and FormatPercent
    bool leadingZero = true;            // "0.5" rather than ".5"
    bool negativeInParentheses = false; // numbers: "(1.5)" rather than "-1.5"
    bool groupDigits = true;
    bool currencySymbolFirst = true;
    bool currencyNegativeInParentheses = true;
    int currencyDigits = 2;
    std::array<QString, 7> dayNames;    // Sunday first
    std::array<QString, 7> dayAbbrevs;  // "Sun"
    std::array<QString, 12> monthNames; // January first
    std::array<QString, 12> monthAbbrevs;

    static Regional enUS();
    // en-US for the C and POSIX locales; otherwise the locale's own forms.
    static Regional fromLocale(const QLocale& locale);

    // The process-wide forms: the system locale's until setCurrent() replaces them.
    static const Regional& current();
    static void setCurrent(const Regional& regional);
};

} // namespace vb
