#include "vb/Regional.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace vb {

namespace {

// Qt date patterns (d M y) into Format's (d m y); quoted text is kept quoted.
QString patternFromQt(const QString& qt, bool fourDigitYear) {
    QString out;
    for (qsizetype i = 0; i < qt.size();) {
        QChar c = qt[i];
        qsizetype run = 1;
        while (i + run < qt.size() && qt[i + run] == c)
            ++run;
        if (c == u'\'') {
            qsizetype end = qt.indexOf(u'\'', i + 1);
            if (end < 0) end = qt.size();
            out += u'"' + qt.mid(i + 1, end - i - 1) + u'"';
            i = end + 1;
            continue;
        }
        if (c == u'd')
            out += QString(run, u'd');
        else if (c == u'M' || c == u'L')
            out += QString(run, u'm');
        else if (c == u'y')
            out += (run <= 2 && !fourDigitYear) ? QStringLiteral("yy") : QStringLiteral("yyyy");
        else if (c == u'h' || c == u'H')
            out += QString(run, u'h');
        else if (c == u'm')
            out += QString(run, u'n');
        else if (c == u's')
            out += QString(run, u's');
        else if (c == u'a' || c == u'A' || c == u'p' || c == u'P')
            out += QStringLiteral("AM/PM");
        else if (c == u'z' || c == u't') { /* milliseconds and zone: not part of these forms */
        } else
            out += QString(run, c);
        i += run;
    }
    return out.trimmed();
}

Regional& currentStorage() {
    static Regional regional = Regional::fromLocale(QLocale::system());
    return regional;
}

} // namespace

Regional Regional::enUS() {
    Regional r;
    r.shortDate = QStringLiteral("m/d/yyyy");
    // The runtime's own en-US long date pads the day ("Thursday, January 02, 2003"), unlike the
    // locale data Qt carries for en_US ("dddd, MMMM d, yyyy").
    r.longDate = QStringLiteral("dddd, mmmm dd, yyyy");
    r.longTime = QStringLiteral("h:nn:ss AM/PM");
    r.am = QStringLiteral("AM");
    r.pm = QStringLiteral("PM");
    r.dateSeparator = QStringLiteral("/");
    r.timeSeparator = QStringLiteral(":");
    r.decimalPoint = QStringLiteral(".");
    r.thousandsSeparator = QStringLiteral(",");
    r.currencySymbol = QStringLiteral("$");
    r.dayNames = {u"Sunday"_s,   u"Monday"_s, u"Tuesday"_s, u"Wednesday"_s,
                  u"Thursday"_s, u"Friday"_s, u"Saturday"_s};
    r.dayAbbrevs = {u"Sun"_s, u"Mon"_s, u"Tue"_s, u"Wed"_s, u"Thu"_s, u"Fri"_s, u"Sat"_s};
    r.monthNames = {u"January"_s,   u"February"_s, u"March"_s,    u"April"_s,
                    u"May"_s,       u"June"_s,     u"July"_s,     u"August"_s,
                    u"September"_s, u"October"_s,  u"November"_s, u"December"_s};
    r.monthAbbrevs = {u"Jan"_s, u"Feb"_s, u"Mar"_s, u"Apr"_s, u"May"_s, u"Jun"_s,
                      u"Jul"_s, u"Aug"_s, u"Sep"_s, u"Oct"_s, u"Nov"_s, u"Dec"_s};
    return r;
}

Regional Regional::fromLocale(const QLocale& locale) {
    if (locale.language() == QLocale::C || locale.name() == u"C" || locale.name() == u"en_US" ||
        locale.name() == u"en_US_POSIX")
        return enUS();
    Regional r;
    // People expect four-digit years in a short date; most desktop regions write them so.
    r.shortDate = patternFromQt(locale.dateFormat(QLocale::ShortFormat), true);
    r.longDate = patternFromQt(locale.dateFormat(QLocale::LongFormat), true);
    r.longTime = patternFromQt(locale.timeFormat(QLocale::LongFormat), true);
    r.am = locale.amText();
    r.pm = locale.pmText();
    const QString shortDate = locale.dateFormat(QLocale::ShortFormat);
    qsizetype sep = shortDate.indexOf(QRegularExpression(QStringLiteral("[^dMyL]")));
    r.dateSeparator = sep >= 0 ? QString(shortDate[sep]) : QStringLiteral("/");
    const QString time = locale.timeFormat(QLocale::ShortFormat);
    qsizetype tsep = time.indexOf(QRegularExpression(QStringLiteral("[^hHmsapAP ]")));
    r.timeSeparator = tsep >= 0 ? QString(time[tsep]) : QStringLiteral(":");
    r.decimalPoint = locale.decimalPoint();
    r.thousandsSeparator = locale.groupSeparator();
    r.currencySymbol = locale.currencySymbol(QLocale::CurrencySymbol);
    const QString money = locale.toCurrencyString(-1.0);
    r.currencySymbolFirst = money.indexOf(r.currencySymbol) <= money.indexOf(u'1');
    r.currencyNegativeInParentheses = money.startsWith(u'(');
    for (int i = 0; i < 7; ++i) {
        int qtDay = i == 0 ? 7 : i; // Qt counts Monday as 1
        r.dayNames[i] = locale.dayName(qtDay, QLocale::LongFormat);
        r.dayAbbrevs[i] = locale.dayName(qtDay, QLocale::ShortFormat);
    }
    for (int i = 0; i < 12; ++i) {
        r.monthNames[i] = locale.monthName(i + 1, QLocale::LongFormat);
        r.monthAbbrevs[i] = locale.monthName(i + 1, QLocale::ShortFormat);
    }
    return r;
}

const Regional& Regional::current() {
    return currentStorage();
}

void Regional::setCurrent(const Regional& regional) {
    currentStorage() = regional;
}

} // namespace vb
