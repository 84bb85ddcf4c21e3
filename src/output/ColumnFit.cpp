#include "output/ColumnFit.h"

#include "output/ColumnFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

namespace output {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

std::vector<QString> shownTexts(const std::vector<vb::Variant>& values, const QString& format) {
    std::vector<QString> texts;
    texts.reserve(values.size());
    for (const vb::Variant& value : values)
        texts.push_back(shownText(value, format));
    return texts;
}

// A text is no wider than its length times the widest character, so once the texts left, longest
// first, are too short to beat the widest found, none of them is measured.
int widestOf(std::vector<QString> texts, const TextMeasure& measure) {
    std::sort(texts.begin(), texts.end(),
              [](const QString& a, const QString& b) { return a.size() > b.size(); });
    int widest = 0;
    for (const QString& text : texts) {
        if (measure.widestChar > 0 && text.size() * measure.widestChar <= widest) break;
        widest = std::max(widest, measure.width(text));
    }
    return widest;
}

// Whole numbers, and any number under a format with a fixed number of decimals, show more
// characters the further they are from zero, on each side of it; a plain or general fraction
// does not (1.1 is shorter than 0.123).
bool lengthFollowsMagnitude(vb::VarType type, const QString& format) {
    switch (type) {
    case vb::VarType::Boolean:
    case vb::VarType::Integer:
    case vb::VarType::Long:
        return true;
    case vb::VarType::Single:
    case vb::VarType::Double:
    case vb::VarType::Currency:
        return !format.isEmpty() && format.compare(u"General Number", Qt::CaseInsensitive) != 0;
    default:
        return false;
    }
}

// Digits need not be equally wide, so each extreme's text is measured with all its digits made
// each digit in turn: no value of that length can be wider.
int widestNumberWidth(const std::vector<vb::Variant>& extremes, const QString& format,
                      const TextMeasure& measure) {
    int widest = 0;
    for (const QString& text : shownTexts(extremes, format)) {
        for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
            QString same = text;
            for (QChar& c : same)
                if (c >= u'0' && c <= u'9') c = QChar(digit);
            widest = std::max(widest, measure.width(same));
        }
    }
    return widest;
}

// A serial's day and its time to the second (what any format shows of it); a negative serial's
// fraction counts forward from its day, as the language reads it.
struct Moment {
    double day = 0;
    std::int64_t second = 0;

    explicit Moment(double serial) : day(std::trunc(serial)) {
        second = std::llround(std::fabs(serial - day) * kSecondsPerDay);
        if (second == kSecondsPerDay) {
            day += serial < 0 ? -1 : 1;
            second = 0;
        }
    }
    Moment(double d, std::int64_t s) : day(d), second(s) {}
    vb::Variant value() const {
        const double time = double(second) / kSecondsPerDay;
        return vb::Variant::date(day < 0 ? day - time : day + time);
    }
};

template <typename T> void sortUnique(std::vector<T>& values) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

// A value with only a day or only a time may show differently ("general date" drops the zero
// part), so those are measured as they are. For the rest, a day's text and a time's text sit
// side by side whichever day goes with whichever time: the widest day with some time, plus the
// widest time with some day, less that pair, is the widest any of them shows.
int widestDateWidth(const std::vector<vb::Variant>& values, const QString& format,
                    const TextMeasure& measure) {
    std::vector<vb::Variant> lone;
    std::vector<double> days;
    std::vector<std::int64_t> seconds;
    for (const vb::Variant& value : values) {
        const Moment moment(value.dateValue());
        if (moment.day == 0 || moment.second == 0) {
            lone.push_back(moment.value());
            continue;
        }
        days.push_back(moment.day);
        seconds.push_back(moment.second);
    }
    int widest = widestOf(shownTexts(lone, format), measure);
    if (days.empty()) return widest;
    sortUnique(days);
    sortUnique(seconds);
    const auto width = [&](double day, std::int64_t second) {
        return measure.width(shownText(Moment(day, second).value(), format));
    };
    const auto widestBy = [](const auto& parts, auto width) {
        int widest = 0;
        auto best = parts.front();
        for (const auto& part : parts) {
            const int w = width(part);
            if (w > widest) std::tie(widest, best) = std::pair(w, part);
        }
        return std::pair(widest, best);
    };
    const auto [dayWidth, day] =
        widestBy(days, [&](double d) { return width(d, seconds.front()); });
    const auto [timeWidth, second] =
        widestBy(seconds, [&](std::int64_t s) { return width(days.front(), s); });
    // Each measure is rounded to the pixel apart: the pair itself, measured whole, may be wider.
    const int sum = dayWidth + timeWidth - width(days.front(), seconds.front());
    return std::max({widest, sum, width(day, second)});
}

} // namespace

int widestShownWidth(const rs::Recordset& records, int field, const QString& format,
                     const TextMeasure& measure) {
    const vb::VarType type = rs::varTypeOf(records.field(field).type());
    if (type == vb::VarType::Date)
        return widestDateWidth(records.distinctValues(field), format, measure);
    if (lengthFollowsMagnitude(type, format))
        return widestNumberWidth(records.extremeValues(field), format, measure);
    return widestOf(shownTexts(records.distinctValues(field), format), measure);
}

} // namespace output
