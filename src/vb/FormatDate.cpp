#include "vb/DateTime.h"
#include "vb/FormatPattern.h"
#include "vb/Regional.h"

namespace vb::fmt {

namespace {

// Regional forms may name other forms ("ddddd" inside a long date); this stops a form that
// names itself.
constexpr int kMaxNesting = 3;

struct Moment {
    double serial;
    DayAndSecond split;
    int year, month, day;
    int hour, minute, second;
};

Moment momentOf(double serial) {
    Moment m{serial, splitSerial(serial), 0, 0, 0, 0, 0, 0};
    civilFromDayNumber(m.split.day, m.year, m.month, m.day);
    m.hour = m.split.second / 3600;
    m.minute = m.split.second / 60 % 60;
    m.second = m.split.second % 60;
    return m;
}

// 0 = Sunday; day 0 (1899-12-30) was a Saturday.
int sundayBasedWeekday(std::int64_t day) {
    const auto r = static_cast<int>((day + 6) % 7);
    return r < 0 ? r + 7 : r;
}

void appendNumber(QString& out, int value, int minWidth) {
    char16_t buf[12];
    int start = 12;
    auto v = static_cast<unsigned>(value);
    do {
        buf[--start] = static_cast<char16_t>(u'0' + v % 10);
        v /= 10;
    } while (v != 0);
    while (12 - start < minWidth)
        buf[--start] = u'0';
    out.append(QStringView(buf + start, 12 - start));
}

class DateWriter {
public:
    DateWriter(const DateSection& s, const Moment& m, const DateOptions& o, QString& out, int depth)
        : s_(s), m_(m), o_(o), out_(out), depth_(depth), r_(Regional::current()) {}

    void write() {
        const qsizetype start = out_.size();
        for (const DateItem& item : s_.items)
            writeItem(item);
        if (s_.caseForce != CaseForce::None) {
            const QString written = out_.sliced(start);
            out_.truncate(start);
            out_ += s_.caseForce == CaseForce::Upper ? written.toUpper() : written.toLower();
        }
    }

private:
    QStringView text(TextRef ref) const { return QStringView(s_.pool).mid(ref.offset, ref.length); }

    int twelveHourClock() const { return m_.hour % 12 == 0 ? 12 : m_.hour % 12; }
    int shownHour() const { return s_.twelveHour ? twelveHourClock() : m_.hour; }

    void writeItem(const DateItem& item);
    void writeCalendarItem(DateToken token);
    void writeRegional(const QString& pattern);
    void writeGeneral();

    const DateSection& s_;
    const Moment& m_;
    const DateOptions& o_;
    QString& out_;
    int depth_;
    const Regional& r_;
};

void renderNested(const QString& pattern, const Moment& m, const DateOptions& o, QString& out,
                  int depth) {
    if (depth >= kMaxNesting) return;
    const std::shared_ptr<const CompiledFormat> f = compiledFormat(pattern);
    if (f->named == Named::None && f->mode == Mode::Date)
        DateWriter(f->date, m, o, out, depth + 1).write();
}

void DateWriter::writeRegional(const QString& pattern) {
    renderNested(pattern, m_, o_, out_, depth_);
}

// Date and time, leaving out the date on day 0 and the time at midnight.
void DateWriter::writeGeneral() {
    const bool hasDate = m_.split.day != 0;
    if (hasDate) writeRegional(r_.shortDate);
    if (!hasDate || m_.split.second != 0) {
        if (hasDate) out_ += u' ';
        writeRegional(r_.longTime);
    }
}

void DateWriter::writeItem(const DateItem& item) {
    switch (item.token) {
    case DateToken::Literal:
        out_ += text(item.text);
        break;
    case DateToken::DateSeparator:
        out_ += r_.dateSeparator;
        break;
    case DateToken::TimeSeparator:
        out_ += r_.timeSeparator;
        break;
    case DateToken::ShortDate:
        writeRegional(r_.shortDate);
        break;
    case DateToken::LongDate:
        writeRegional(r_.longDate);
        break;
    case DateToken::LongTime:
        writeRegional(r_.longTime);
        break;
    case DateToken::General:
        writeGeneral();
        break;
    case DateToken::AmPm:
        out_ += text(m_.hour < 12 ? item.text : item.alt);
        break;
    case DateToken::AmPmRegional:
        out_ += m_.hour < 12 ? r_.am : r_.pm;
        break;
    default:
        writeCalendarItem(item.token);
        break;
    }
}

void DateWriter::writeCalendarItem(DateToken token) {
    const auto weekdayIndex = static_cast<std::size_t>(sundayBasedWeekday(m_.split.day));
    const auto monthIndex = static_cast<std::size_t>(m_.month - 1);
    switch (token) {
    case DateToken::Day:
        return appendNumber(out_, m_.day, 1);
    case DateToken::Day2:
        return appendNumber(out_, m_.day, 2);
    case DateToken::DayAbbrev:
        out_ += r_.dayAbbrevs[weekdayIndex];
        return;
    case DateToken::DayName:
        out_ += r_.dayNames[weekdayIndex];
        return;
    case DateToken::Weekday: {
        const int first = o_.firstDayOfWeek == 0 ? 1 : o_.firstDayOfWeek;
        return appendNumber(out_, (static_cast<int>(weekdayIndex) - (first - 1) + 7) % 7 + 1, 1);
    }
    case DateToken::WeekOfYear:
        return appendNumber(
            out_, datePart(Interval::Week, m_.serial, o_.firstDayOfWeek, o_.firstWeekOfYear), 1);
    case DateToken::Month:
        return appendNumber(out_, m_.month, 1);
    case DateToken::Month2:
        return appendNumber(out_, m_.month, 2);
    case DateToken::MonthAbbrev:
        out_ += r_.monthAbbrevs[monthIndex];
        return;
    case DateToken::MonthName:
        out_ += r_.monthNames[monthIndex];
        return;
    case DateToken::Quarter:
        return appendNumber(out_, (m_.month - 1) / 3 + 1, 1);
    case DateToken::DayOfYear:
        return appendNumber(
            out_, static_cast<int>(m_.split.day - dayNumberFromCivil(m_.year, 1, 1)) + 1, 1);
    case DateToken::Year2:
        return appendNumber(out_, m_.year % 100, 2);
    case DateToken::Year4:
        return appendNumber(out_, m_.year, 1);
    case DateToken::Hour:
        return appendNumber(out_, shownHour(), 1);
    case DateToken::Hour2:
        return appendNumber(out_, shownHour(), 2);
    case DateToken::Minute:
        return appendNumber(out_, m_.minute, 1);
    case DateToken::Minute2:
        return appendNumber(out_, m_.minute, 2);
    case DateToken::Second:
        return appendNumber(out_, m_.second, 1);
    case DateToken::Second2:
        return appendNumber(out_, m_.second, 2);
    default:
        return;
    }
}

const QString& namedPattern(Named named, const Regional& r) {
    static const QString kMediumDate = QStringLiteral("dd-mmm-yy");
    static const QString kMediumTime = QStringLiteral("hh:nn AMPM");
    static const QString kShortTime = QStringLiteral("hh:nn");
    switch (named) {
    case Named::LongDate:
        return r.longDate;
    case Named::MediumDate:
        return kMediumDate;
    case Named::LongTime:
        return r.longTime;
    case Named::MediumTime:
        return kMediumTime;
    case Named::ShortTime:
        return kShortTime;
    default:
        return r.shortDate;
    }
}

} // namespace

void renderDate(const DateSection& section, double serial, const DateOptions& options,
                QString& out) {
    const Moment m = momentOf(serial);
    DateWriter(section, m, options, out, 0).write();
}

void renderNamedDate(Named named, double serial, const DateOptions& options, QString& out) {
    const Moment m = momentOf(serial);
    if (named == Named::GeneralDate) {
        static const DateSection kGeneral{
            {DateItem{DateToken::General, {}, {}}}, {}, false, CaseForce::None};
        DateWriter(kGeneral, m, options, out, 0).write();
        return;
    }
    renderNested(namedPattern(named, Regional::current()), m, options, out, 0);
}

} // namespace vb::fmt
