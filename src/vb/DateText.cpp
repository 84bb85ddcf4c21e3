#include "vb/DateText.h"

#include "vb/DateTime.h"
#include "vb/Regional.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

// How the runtime reads a date and a time from text, and so how this reader does.
//
// The text is cut into numbers, words and the gaps between them. Blanks, ",", "/", "-" and the
// date separator are date gaps; ":" and the time separator join the parts of a time, and so
// does a "." written straight between two numbers (where dates are not written with dots).
// Any other character, and any word but a month name or an AM/PM mark, makes the text no date:
// weekday names included, since the runtime refuses a long date that carries one.
//
// The time. Numbers joined by ":" or "." (hour, minute and second; "13.50" and "12.25.10" are
// times), or one number followed by an AM/PM mark ("2p", "11 AM"). A mark may follow any time.
// Hours run 0-23, minutes and seconds 0-59, so "12.25.2010" is no time (and, being a dotted
// run, no date either). People write a time on the 12-hour clock or the 24-hour one: the mark
// moves 12-hour hours onto the 24-hour clock (PM adds 12 to hours 0-11, so "00:00 PM" is noon;
// AM makes 12 midnight), and an hour of 13-23 is already on the 24-hour clock, so the mark
// changes nothing ("13:00 AM" is 1 PM). One time at most, before or after the date.
//
// The date. The numbers left over (at most three) and at most one month name. The runtime tries
// the numbers in a list of orders, the regional one first, and keeps the first that names a real
// calendar day:
//   three numbers        the short date's order, then m/d/y, d/m/y, y/m/d; never y/d/m
//   two numbers          month/day and day/month (regional first) in the current year, then
//                        month/year and year/month on the first of the month ("30 2" is
//                        February 1930)
//   a name and two       day then year, then year then day ("29-Feb-01" is 1 February 2029)
//   a name and one       the day in the current year, else the year on the first of the month
// A lone number, a name alone, more numbers or two names are no date. A dotted run whose first
// number has three digits or more is a date written year first and read y.m.d only, so
// "2003.1.13" is 13 January and "2003.13.1" no date. A year written with one or two digits
// falls in 1930-2029; the calendar runs from year 100 to 9999.
//
// Query text (monthFirst) reads m/d/y first with "/" and ":" whatever the region.
namespace vb {

namespace {

enum class Gap { None, Date, Dot, Time };

struct Piece {
    enum Kind { Number, Month, Meridian } kind = Number;
    int value = 0;  // Number: its value; Month: 1..12; Meridian: 0 for AM, 12 for PM
    int digits = 0; // Number: how many digits were written
    Gap before = Gap::None;
};

// The forms one reading goes by: the user's, or the fixed ones of query text.
struct Reading {
    const Regional& names;
    QString dateSeparator;
    QString timeSeparator;
    std::string order; // "mdy", "dmy" or "ymd"
    bool dotsWriteDates = false;
};

std::string regionalOrder(const QString& shortDate) {
    const auto at = [&](char16_t c) { return shortDate.indexOf(QChar(c), 0, Qt::CaseInsensitive); };
    const qsizetype y = at(u'y'), m = at(u'm'), d = at(u'd');
    if (y < 0 || m < 0 || d < 0) return "mdy";
    if (y < m && m < d) return "ymd";
    return d < m ? "dmy" : "mdy";
}

Reading readingFor(bool monthFirst) {
    const Regional& r = Regional::current();
    if (monthFirst) return Reading{r, u"/"_s, u":"_s, "mdy", false};
    return Reading{r, r.dateSeparator, r.timeSeparator, regionalOrder(r.shortDate),
                   r.dateSeparator == u"."};
}

bool sameWord(QStringView a, const QString& b) {
    return !b.isEmpty() && a.compare(b, Qt::CaseInsensitive) == 0;
}

// A month (1..12) from its regional or English name or abbreviation, or from the first three
// letters or more of the English name; 0 for none.
int monthOfWord(QStringView word, const Regional& r) {
    static const Regional english = Regional::enUS();
    for (int i = 0; i < 12; ++i)
        if (sameWord(word, r.monthNames[i]) || sameWord(word, r.monthAbbrevs[i]) ||
            (word.size() >= 3 && english.monthNames[i].startsWith(word, Qt::CaseInsensitive)))
            return i + 1;
    return 0;
}

std::optional<Piece> wordPiece(QStringView word, const Regional& r) {
    if (const int month = monthOfWord(word, r)) return Piece{Piece::Month, month};
    const std::pair<QString, int> marks[] = {{r.am, 0},  {u"AM"_s, 0},  {u"A"_s, 0},
                                             {r.pm, 12}, {u"PM"_s, 12}, {u"P"_s, 12}};
    for (const auto& [mark, pmOffset] : marks)
        if (sameWord(word, mark)) return Piece{Piece::Meridian, pmOffset};
    return std::nullopt;
}

bool isOneOf(QChar c, const QString& separator) {
    return separator.size() == 1 && separator[0] == c;
}

bool isDateGap(QChar c, const Reading& rd) {
    return c.isSpace() || c == u',' || c == u'/' || c == u'-' || isOneOf(c, rd.dateSeparator);
}

bool isTimeGap(QChar c, const Reading& rd) {
    return c == u':' || isOneOf(c, rd.timeSeparator);
}

// What the characters between two pieces make of them; nullopt when they mix a time separator
// with a date one.
std::optional<Gap> gapOf(QStringView gap, const Reading& rd) {
    if (gap.isEmpty()) return Gap::None;
    if (gap == u"." && !rd.dotsWriteDates) return Gap::Dot;
    bool time = false, date = false;
    for (QChar c : gap) {
        if (c == u'.' && rd.dotsWriteDates)
            date = true;
        else if (isTimeGap(c, rd))
            time = true;
        else if (!c.isSpace())
            date = true;
    }
    if (time && date) return std::nullopt;
    return time ? Gap::Time : Gap::Date;
}

Piece numberPiece(QStringView s, qsizetype& i) {
    Piece p;
    for (; i < s.size() && s[i].isDigit(); ++i, ++p.digits)
        if (p.digits < 9) p.value = p.value * 10 + s[i].digitValue();
    return p;
}

std::optional<std::vector<Piece>> cutPieces(QStringView s, const Reading& rd) {
    std::vector<Piece> pieces;
    qsizetype gapStart = 0;
    for (qsizetype i = 0; i < s.size();) {
        const QChar c = s[i];
        const qsizetype start = i;
        Piece piece;
        if (c.isDigit()) {
            piece = numberPiece(s, i);
        } else if (c.isLetter()) {
            while (i < s.size() && s[i].isLetter())
                ++i;
            const QStringView word = s.sliced(start, i - start);
            // "T" between an ISO date and its time is a gap.
            if (word.compare(u"T", Qt::CaseInsensitive) == 0 && !pieces.empty() &&
                pieces.back().kind == Piece::Number)
                continue;
            const auto named = wordPiece(word, rd.names);
            if (!named) return std::nullopt;
            piece = *named;
        } else if (c == u'.' || isDateGap(c, rd) || isTimeGap(c, rd)) {
            ++i;
            continue;
        } else {
            return std::nullopt;
        }
        const auto before = gapOf(s.sliced(gapStart, start - gapStart), rd);
        if (!before) return std::nullopt;
        piece.before = pieces.empty() ? Gap::None : *before;
        pieces.push_back(piece);
        gapStart = i;
    }
    return pieces;
}

// The hour on the 24-hour clock of an hour written with an AM/PM mark.
int markedHour(int hour, int pmOffset) {
    if (hour > 12) return hour; // already on the 24-hour clock
    return hour % 12 + pmOffset;
}

// The second of the day of hour[:minute[:second]] with an optional mark; nullopt when out of
// range.
std::optional<int> secondOfDay(const Piece* parts, std::size_t count, const Piece* mark) {
    if (count > 3) return std::nullopt;
    int hms[3] = {0, 0, 0};
    for (std::size_t i = 0; i < count; ++i)
        hms[i] = parts[i].value;
    if (mark) hms[0] = markedHour(hms[0], mark->value);
    if (hms[0] > 23 || hms[1] > 59 || hms[2] > 59) return std::nullopt;
    return hms[0] * 3600 + hms[1] * 60 + hms[2];
}

// The pieces sorted into the date's numbers and month name and the time of day.
struct Written {
    std::vector<Piece> numbers;
    int month = 0;
    bool yearFirst = false; // a dotted date: read y.m.d only
    std::optional<int> second;
};

bool joinsTime(const Piece& p) {
    return p.kind == Piece::Number && (p.before == Gap::Dot || p.before == Gap::Time);
}

// Takes the run of numbers starting at i (and the mark after it) into `w`; false when the run
// makes no sense.
bool takeRun(const std::vector<Piece>& pieces, std::size_t& i, Written& w) {
    std::size_t end = i + 1;
    bool allDots = true;
    for (; end < pieces.size() && joinsTime(pieces[end]); ++end)
        allDots = allDots && pieces[end].before == Gap::Dot;
    const std::size_t count = end - i;
    const Piece* mark =
        end < pieces.size() && pieces[end].kind == Piece::Meridian ? &pieces[end] : nullptr;
    if (count >= 2 && allDots && !mark && pieces[i].digits >= 3) {
        if (w.yearFirst || w.month != 0 || !w.numbers.empty()) return false;
        w.numbers.assign(pieces.begin() + static_cast<std::ptrdiff_t>(i),
                         pieces.begin() + static_cast<std::ptrdiff_t>(end));
        w.yearFirst = true;
    } else if (count >= 2 || mark) {
        if (w.second) return false;
        w.second = secondOfDay(&pieces[i], count, mark);
        if (!w.second) return false;
    } else {
        if (w.yearFirst) return false;
        w.numbers.push_back(pieces[i]);
    }
    i = mark ? end + 1 : end;
    return true;
}

std::optional<Written> sortPieces(const std::vector<Piece>& pieces) {
    Written w;
    for (std::size_t i = 0; i < pieces.size();) {
        const Piece& p = pieces[i];
        if (p.kind == Piece::Number) {
            if (!takeRun(pieces, i, w)) return std::nullopt;
        } else if (p.kind == Piece::Month && w.month == 0 && !w.yearFirst) {
            w.month = p.value;
            ++i;
        } else {
            return std::nullopt; // a second month name, or a mark with no hour before it
        }
    }
    return w;
}

int windowYear(const Piece& n) {
    if (n.digits > 2) return n.value;
    return n.value < 30 ? 2000 + n.value : 1900 + n.value;
}

bool validDay(int y, int m, int d) {
    if (y < 100 || y > 9999 || m < 1 || m > 12 || d < 1) return false;
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (d > kDays[m - 1]) return false;
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return !(m == 2 && d == 29 && !leap);
}

// The numbers read in one order ("dmy": day, month, year); a missing year is this year's, a
// missing day the first.
std::optional<std::int64_t> dayInOrder(std::string_view order, const Written& w) {
    int y = splitDate(today()).year, m = w.month, d = 1;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const Piece& n = w.numbers[i];
        if (order[i] == 'y')
            y = windowYear(n);
        else if (order[i] == 'm')
            m = n.value;
        else
            d = n.value;
    }
    if (!validDay(y, m, d)) return std::nullopt;
    return dayNumberFromCivil(y, m, d);
}

std::string withoutYear(const std::string& order) {
    std::string pair = order;
    std::erase(pair, 'y');
    return pair;
}

// The orders to try, the likeliest first.
std::vector<std::string> ordersFor(const Written& w, const Reading& rd) {
    const std::size_t count = w.numbers.size();
    if (w.yearFirst) {
        if (count > 3) return {};
        return {std::string("ymd", count)};
    }
    if (w.month != 0) {
        if (count == 1) return {"d", "y"};
        if (count == 2) return {"dy", "yd"};
        return {};
    }
    if (count == 3) return {rd.order, "mdy", "dmy", "ymd"};
    if (count == 2) {
        const std::string pair = withoutYear(rd.order);
        return {pair, pair == "md" ? "dm" : "md", "my", "ym"};
    }
    return {};
}

std::optional<std::int64_t> dayOf(const Written& w, const Reading& rd) {
    for (const std::string& order : ordersFor(w, rd))
        if (auto day = dayInOrder(order, w)) return day;
    return std::nullopt;
}

} // namespace

std::optional<double> parseDate(QStringView text, bool monthFirst) {
    const Reading rd = readingFor(monthFirst);
    const auto pieces = cutPieces(text.trimmed(), rd);
    if (!pieces || pieces->empty()) return std::nullopt;
    const auto written = sortPieces(*pieces);
    if (!written) return std::nullopt;
    const int second = written->second.value_or(0);
    if (written->numbers.empty() && written->month == 0) {
        if (!written->second) return std::nullopt;
        return joinSerial(0, second);
    }
    const auto day = dayOf(*written, rd);
    if (!day) return std::nullopt;
    return joinSerial(*day, second);
}

} // namespace vb
