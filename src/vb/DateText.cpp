#include "vb/DateText.h"

#include "vb/DateTime.h"
#include "vb/Regional.h"

#include <vector>

namespace vb {

namespace {

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

struct DateToken {
    enum Kind { Number, Word, Colon, Sep } kind;
    int value = 0;  // Number: its value; Word: month 1..12, 13 AM, 14 PM, 0 weekday
    int digits = 0; // Number: how many digits were written
};

int wordValue(const QString& word, const Regional& r) {
    for (int i = 0; i < 12; ++i)
        if (word.compare(r.monthNames[i], Qt::CaseInsensitive) == 0 ||
            word.compare(r.monthAbbrevs[i], Qt::CaseInsensitive) == 0)
            return i + 1;
    static const Regional us = Regional::enUS(); // English names are always understood
    for (int i = 0; i < 12; ++i)
        if (word.compare(us.monthNames[i], Qt::CaseInsensitive) == 0 ||
            word.compare(us.monthAbbrevs[i], Qt::CaseInsensitive) == 0 ||
            (word.size() >= 3 && us.monthNames[i].startsWith(word, Qt::CaseInsensitive)))
            return i + 1;
    if (word.compare(r.am, Qt::CaseInsensitive) == 0 ||
        word.compare(u"AM", Qt::CaseInsensitive) == 0 ||
        word.compare(u"A", Qt::CaseInsensitive) == 0)
        return 13;
    if (word.compare(r.pm, Qt::CaseInsensitive) == 0 ||
        word.compare(u"PM", Qt::CaseInsensitive) == 0 ||
        word.compare(u"P", Qt::CaseInsensitive) == 0)
        return 14;
    for (int i = 0; i < 7; ++i)
        if (word.compare(r.dayNames[i], Qt::CaseInsensitive) == 0 ||
            word.compare(r.dayAbbrevs[i], Qt::CaseInsensitive) == 0 ||
            word.compare(us.dayNames[i], Qt::CaseInsensitive) == 0 ||
            word.compare(us.dayAbbrevs[i], Qt::CaseInsensitive) == 0)
            return 0;
    return -1;
}

std::optional<std::vector<DateToken>> tokenizeDate(QStringView s, const Regional& r) {
    std::vector<DateToken> tokens;
    for (qsizetype i = 0; i < s.size();) {
        const QChar c = s[i];
        if (c.isDigit()) {
            int value = 0, digits = 0;
            while (i < s.size() && s[i].isDigit()) {
                if (digits < 9) value = value * 10 + s[i].digitValue();
                ++digits;
                ++i;
            }
            tokens.push_back({DateToken::Number, value, digits});
        } else if (c.isLetter()) {
            qsizetype start = i;
            while (i < s.size() && s[i].isLetter())
                ++i;
            // "T" between an ISO date and its time is a separator, not a word.
            QString word = s.mid(start, i - start).toString();
            if (word.compare(u"T", Qt::CaseInsensitive) == 0 && !tokens.empty() &&
                tokens.back().kind == DateToken::Number) {
                tokens.push_back({DateToken::Sep});
                continue;
            }
            int v = wordValue(word, r);
            if (v < 0) return std::nullopt;
            if (v == 0) continue; // a weekday name carries nothing
            tokens.push_back({DateToken::Word, v});
        } else if (c == u':' || QStringView(r.timeSeparator) == QStringView(&c, 1)) {
            tokens.push_back({DateToken::Colon});
            ++i;
        } else if (c == u'/' || c == u'-' || c == u'.' || c == u',' || isBlank(c) ||
                   QStringView(r.dateSeparator) == QStringView(&c, 1)) {
            if (tokens.empty() || tokens.back().kind != DateToken::Sep)
                tokens.push_back({DateToken::Sep});
            ++i;
        } else {
            return std::nullopt;
        }
    }
    return tokens;
}

// Takes the time (h:nn[:ss] [AM|PM], or h AM|PM) out of the tokens; -1 when it is not valid.
int extractTime(std::vector<DateToken>& t, bool& found) {
    found = false;
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (t[i].kind != DateToken::Number) continue;
        std::size_t j = i + 1;
        int parts[3] = {t[i].value, 0, 0};
        int count = 1;
        while (count < 3 && j + 1 < t.size() && t[j].kind == DateToken::Colon &&
               t[j + 1].kind == DateToken::Number) {
            parts[count++] = t[j + 1].value;
            j += 2;
        }
        std::size_t k = j;
        if (k < t.size() && t[k].kind == DateToken::Sep) ++k;
        const bool meridian = k < t.size() && t[k].kind == DateToken::Word && t[k].value >= 13;
        if (count == 1 && !meridian) continue;
        found = true;
        int hour = parts[0];
        if (meridian) {
            if (hour < 1 || hour > 12) return -1;
            hour = hour % 12 + (t[k].value == 14 ? 12 : 0);
            j = k + 1;
        }
        if (hour > 23 || parts[1] > 59 || parts[2] > 59) return -1;
        t.erase(t.begin() + static_cast<std::ptrdiff_t>(i),
                t.begin() + static_cast<std::ptrdiff_t>(j));
        return hour * 3600 + parts[1] * 60 + parts[2];
    }
    return 0;
}

int windowYear(int year, int digits) {
    if (digits <= 2) return year < 30 ? 2000 + year : 1900 + year;
    return year;
}

bool validDay(int y, int m, int d) {
    if (y < 100 || y > 9999 || m < 1 || m > 12 || d < 1) return false;
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (d > kDays[m - 1]) return false;
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return !(m == 2 && d == 29 && !leap);
}

// Whether the regional short date puts the day before the month.
bool regionalDayFirst(const Regional& r) {
    const qsizetype d = r.shortDate.indexOf(u'd', 0, Qt::CaseInsensitive);
    const qsizetype m = r.shortDate.indexOf(u'm', 0, Qt::CaseInsensitive);
    return d >= 0 && m >= 0 && d < m;
}

std::optional<std::int64_t> readDay(const std::vector<DateToken>& t, bool monthFirst,
                                    const Regional& r) {
    std::vector<DateToken> nums;
    int month = 0;
    for (const DateToken& tok : t) {
        if (tok.kind == DateToken::Number)
            nums.push_back(tok);
        else if (tok.kind == DateToken::Word && tok.value <= 12) {
            if (month != 0) return std::nullopt;
            month = tok.value;
        } else if (tok.kind == DateToken::Word || tok.kind == DateToken::Colon) {
            return std::nullopt;
        }
    }
    int y = 0, m = 0, d = 0;
    auto isYear = [](const DateToken& n) { return n.digits >= 3 || n.value > 31; };
    if (month != 0) {
        m = month;
        if (nums.size() == 2) {
            const bool yearFirst = isYear(nums[0]) && !isYear(nums[1]);
            const DateToken& dayTok = yearFirst ? nums[1] : nums[0];
            const DateToken& yearTok = yearFirst ? nums[0] : nums[1];
            d = dayTok.value;
            y = windowYear(yearTok.value, yearTok.digits);
        } else if (nums.size() == 1) {
            if (isYear(nums[0])) { // "March 2003"
                y = windowYear(nums[0].value, nums[0].digits);
                d = 1;
            } else { // "23 March": this year
                y = splitDate(today()).year;
                d = nums[0].value;
            }
        } else {
            return std::nullopt;
        }
    } else if (nums.size() == 3) {
        if (isYear(nums[0])) {
            y = nums[0].value;
            m = nums[1].value;
            d = nums[2].value;
        } else {
            const bool dayFirst = !monthFirst && regionalDayFirst(r);
            m = dayFirst ? nums[1].value : nums[0].value;
            d = dayFirst ? nums[0].value : nums[1].value;
            y = windowYear(nums[2].value, nums[2].digits);
        }
    } else if (nums.size() == 2) {
        if (isYear(nums[1])) { // "3/2003": the first of the month
            m = nums[0].value;
            d = 1;
            y = windowYear(nums[1].value, nums[1].digits);
        } else {
            const bool dayFirst = !monthFirst && regionalDayFirst(r);
            m = dayFirst ? nums[1].value : nums[0].value;
            d = dayFirst ? nums[0].value : nums[1].value;
            y = splitDate(today()).year;
        }
    } else {
        return std::nullopt;
    }
    if (m > 12 && d <= 12) std::swap(m, d); // 13/1/2003 is read as the 13th of January
    if (!validDay(y, m, d)) return std::nullopt;
    return dayNumberFromCivil(y, m, d);
}

bool onlySeparators(const std::vector<DateToken>& t) {
    for (const DateToken& tok : t)
        if (tok.kind != DateToken::Sep) return false;
    return true;
}

} // namespace

std::optional<double> parseDate(QStringView text, bool monthFirst) {
    const Regional& r = Regional::current();
    auto tokens = tokenizeDate(text.trimmed(), r);
    if (!tokens || tokens->empty()) return std::nullopt;
    bool hasTime = false;
    const int second = extractTime(*tokens, hasTime);
    if (second < 0) return std::nullopt;
    if (onlySeparators(*tokens)) {
        if (!hasTime) return std::nullopt;
        return joinSerial(0, second);
    }
    auto day = readDay(*tokens, monthFirst, r);
    if (!day) return std::nullopt;
    return joinSerial(*day, second);
}

} // namespace vb
