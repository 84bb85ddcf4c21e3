#include "vb/FormatPattern.h"

#include <QHash>
#include <algorithm>
#include <utility>

namespace vb::fmt {

namespace {

struct NamedEntry {
    QStringView name;
    Named kind;
};

constexpr NamedEntry kNamedFormats[] = {
    {u"General Date", Named::GeneralDate}, {u"Long Date", Named::LongDate},
    {u"Medium Date", Named::MediumDate},   {u"Short Date", Named::ShortDate},
    {u"Long Time", Named::LongTime},       {u"Medium Time", Named::MediumTime},
    {u"Short Time", Named::ShortTime},     {u"General Number", Named::GeneralNumber},
    {u"Currency", Named::Currency},        {u"Fixed", Named::Fixed},
    {u"Standard", Named::Standard},        {u"Percent", Named::Percent},
    {u"Scientific", Named::Scientific},    {u"Yes/No", Named::YesNo},
    {u"True/False", Named::TrueFalse},     {u"On/Off", Named::OnOff},
};

Named namedFormat(QStringView pattern) {
    for (const NamedEntry& e : kNamedFormats)
        if (pattern.compare(e.name, Qt::CaseInsensitive) == 0) return e.kind;
    return Named::None;
}

// Walks a pattern. Quoted text and backslash escapes are literal in every kind of section, so
// every compiler reads them the same way.
class PatternReader {
public:
    explicit PatternReader(QStringView text) : text_(text) {}

    bool atEnd() const { return pos_ >= text_.size(); }
    qsizetype pos() const { return pos_; }
    QChar peek() const { return text_[pos_]; }
    char16_t lowerPeek() const { return peek().toLower().unicode(); }
    void skip(qsizetype n) { pos_ += n; }
    QStringView take(qsizetype n) {
        QStringView v = text_.mid(pos_, n);
        pos_ += n;
        return v;
    }
    bool startsWith(QStringView s) const {
        return text_.mid(pos_).startsWith(s, Qt::CaseInsensitive);
    }
    // How often the current letter repeats from here, in any case.
    qsizetype run() const {
        const char16_t c = lowerPeek();
        qsizetype n = 1;
        while (pos_ + n < text_.size() && text_[pos_ + n].toLower().unicode() == c)
            ++n;
        return n;
    }
    // Reads "quoted text" or a \x escape starting here; false when neither starts here.
    bool readLiteral(QStringView& literal) {
        const QChar c = peek();
        if (c == u'\\') {
            literal = text_.mid(pos_ + 1, 1);
            pos_ += 2;
            return true;
        }
        if (c != u'"') return false;
        qsizetype end = text_.indexOf(u'"', pos_ + 1);
        if (end < 0) end = text_.size();
        literal = text_.mid(pos_ + 1, end - pos_ - 1);
        pos_ = end + 1;
        return true;
    }

private:
    QStringView text_;
    qsizetype pos_ = 0;
};

std::vector<QStringView> splitSections(QStringView pattern) {
    std::vector<QStringView> sections;
    PatternReader r(pattern);
    qsizetype start = 0;
    QStringView ignored;
    while (!r.atEnd()) {
        if (r.readLiteral(ignored)) continue;
        if (r.peek() == u';') {
            sections.push_back(pattern.mid(start, r.pos() - start));
            start = r.pos() + 1;
        }
        r.skip(1);
    }
    sections.push_back(pattern.mid(start));
    return sections;
}

// Appends literal text, joining it to a literal item just before it.
template <typename Item, typename IsLiteral, typename MakeLiteral>
void appendLiteral(std::vector<Item>& items, QString& pool, QStringView text, IsLiteral isLiteral,
                   MakeLiteral makeLiteral) {
    if (text.isEmpty()) return;
    if (!items.empty() && isLiteral(items.back()) &&
        items.back().text.offset + items.back().text.length == pool.size()) {
        items.back().text.length += text.size();
    } else {
        items.push_back(makeLiteral(TextRef{pool.size(), text.size()}));
    }
    pool += text;
}

CaseForce caseForceOf(QChar c) {
    if (c == u'<') return CaseForce::Lower;
    if (c == u'>') return CaseForce::Upper;
    return CaseForce::None;
}

// ---- dates ----

// "AM/PM" and "A/P" (in the case written) and "AMPM" here: how many characters they take.
int amPmLength(const PatternReader& r) {
    if (r.startsWith(u"AM/PM")) return 5;
    if (r.startsWith(u"AMPM")) return 4;
    if (r.startsWith(u"A/P")) return 3;
    return 0;
}

struct DateField {
    DateToken token = DateToken::Literal;
    int length = 0; // 0: the letter is no field
};

// Each letter's fields by how many times it is repeated; longer runs take the longest field
// and leave the rest for the next one ("yyy" is "yy" then "y").
DateField dateFieldForRun(char16_t letter, qsizetype run, bool afterHour) {
    using enum DateToken;
    const auto pick = [run](std::initializer_list<DateToken> byLength, int longest) {
        const int n = static_cast<int>(std::min<qsizetype>(run, longest));
        return DateField{byLength.begin()[n - 1], n};
    };
    switch (letter) {
    case u'd':
        return pick({Day, Day2, DayAbbrev, DayName, ShortDate, LongDate}, 6);
    case u'm':
        // Right after an hour, m and mm are minutes.
        if (afterHour && run <= 2) return pick({Minute, Minute2}, 2);
        return pick({Month, Month2, MonthAbbrev, MonthName}, 4);
    case u'y':
        return run >= 4 ? DateField{Year4, 4} : pick({DayOfYear, Year2}, 2);
    case u'h':
        return pick({Hour, Hour2}, 2);
    case u'n':
        return pick({Minute, Minute2}, 2);
    case u's':
        return pick({Second, Second2}, 2);
    case u'w':
        return pick({Weekday, WeekOfYear}, 2);
    case u'q':
        return {Quarter, 1};
    case u'c':
        return {General, 1};
    case u't':
        return run >= 5 ? DateField{LongTime, 5} : DateField{};
    default:
        return {};
    }
}

bool startsDateToken(const PatternReader& r) {
    return amPmLength(r) > 0 || dateFieldForRun(r.lowerPeek(), r.run(), false).length > 0;
}

void addDateLiteral(DateSection& s, QStringView text) {
    appendLiteral(
        s.items, s.pool, text, [](const DateItem& i) { return i.token == DateToken::Literal; },
        [](TextRef ref) {
            return DateItem{DateToken::Literal, ref, {}};
        });
}

void addAmPm(DateSection& s, QStringView written) {
    s.twelveHour = true;
    if (written.size() == 4) {
        s.items.push_back({DateToken::AmPmRegional, {}, {}});
        return;
    }
    const qsizetype half = written.size() == 5 ? 2 : 1;
    DateItem item{DateToken::AmPm, {s.pool.size(), half}, {s.pool.size() + half, half}};
    s.pool += written.left(half);
    s.pool += written.right(half);
    s.items.push_back(item);
}

void addDateSymbol(DateSection& s, QChar c) {
    if (c == u'/') {
        s.items.push_back({DateToken::DateSeparator, {}, {}});
    } else if (c == u':') {
        s.items.push_back({DateToken::TimeSeparator, {}, {}});
    } else if (CaseForce force = caseForceOf(c); force != CaseForce::None) {
        s.caseForce = force;
    } else {
        addDateLiteral(s, QStringView(&c, 1));
    }
}

DateSection compileDate(QStringView text) {
    DateSection s;
    PatternReader r(text);
    bool afterHour = false;
    QStringView literal;
    while (!r.atEnd()) {
        if (r.readLiteral(literal)) {
            addDateLiteral(s, literal);
        } else if (int n = amPmLength(r)) {
            addAmPm(s, r.take(n));
            afterHour = false;
        } else if (DateField f = dateFieldForRun(r.lowerPeek(), r.run(), afterHour); f.length) {
            s.items.push_back({f.token, {}, {}});
            r.skip(f.length);
            afterHour = f.token == DateToken::Hour || f.token == DateToken::Hour2;
        } else {
            addDateSymbol(s, r.peek());
            r.skip(1);
        }
    }
    return s;
}

// ---- numbers ----

// A comma's part is only known once the whole section is read, so commas wait as this token.
constexpr auto kPendingComma = static_cast<NumberToken>(0xff);

bool isNumberLiteral(const NumberItem& i) {
    return i.token == NumberToken::Literal;
}

void addNumberLiteral(NumberSection& s, QStringView text) {
    appendLiteral(s.items, s.pool, text, isNumberLiteral, [](TextRef ref) {
        return NumberItem{NumberToken::Literal, ref, 0, false};
    });
}

// E+ E- e+ e- followed by at least one digit placeholder: how many placeholders follow.
qsizetype exponentPlaceholders(const PatternReader& r, QStringView text) {
    const qsizetype at = r.pos();
    if (at + 2 >= text.size() || (text[at + 1] != u'+' && text[at + 1] != u'-')) return 0;
    qsizetype n = 0;
    while (at + 2 + n < text.size() && (text[at + 2 + n] == u'0' || text[at + 2 + n] == u'#'))
        ++n;
    return n;
}

void addExponent(NumberSection& s, QStringView written) {
    s.scientific = true;
    s.exponentLetter = written[0];
    s.exponentPlus = written[1] == u'+';
    s.exponentDigits =
        std::max<int>(1, static_cast<int>(std::count(written.begin() + 2, written.end(), u'0')));
    s.items.push_back({NumberToken::Exponent, {}, 0, false});
}

// Reads one character of a number section that is not quoted or escaped.
void readNumberSymbol(NumberSection& s, PatternReader& r, QStringView text) {
    const QChar c = r.peek();
    if ((c == u'0' || c == u'#') && !s.scientific) {
        const bool fraction = s.hasPoint;
        const int index = fraction ? ++s.fractionPlaceholders : s.integerPlaceholders++;
        s.items.push_back({fraction ? NumberToken::FractionDigit : NumberToken::IntegerDigit,
                           {},
                           index,
                           c == u'0'});
    } else if (c == u'.' && !s.hasPoint && !s.scientific) {
        s.hasPoint = true;
        s.items.push_back({NumberToken::Point, {}, 0, false});
    } else if (c == u',' && !s.hasPoint && !s.scientific) {
        s.items.push_back({kPendingComma, {}, 0, false});
    } else if ((c == u'E' || c == u'e') && !s.scientific) {
        if (qsizetype n = exponentPlaceholders(r, text)) {
            addExponent(s, r.take(n + 2));
            return;
        }
        addNumberLiteral(s, QStringView(&c, 1));
    } else {
        if (c == u'%') s.shift += 2;
        addNumberLiteral(s, QStringView(&c, 1));
    }
    r.skip(1);
}

// A comma between integer placeholders turns grouping on; commas after the last integer
// placeholder (left of the point, or at the end) divide by 1000 each; a comma before any
// placeholder is just a comma.
void resolveCommas(NumberSection& s) {
    std::vector<NumberItem> kept;
    int placeholdersSeen = 0;
    for (const NumberItem& item : s.items) {
        if (item.token == NumberToken::IntegerDigit) ++placeholdersSeen;
        if (item.token != kPendingComma) {
            kept.push_back(item);
        } else if (placeholdersSeen == 0) {
            kept.push_back({NumberToken::Literal, {s.pool.size(), 1}, 0, false});
            s.pool += u',';
        } else if (placeholdersSeen < s.integerPlaceholders) {
            s.grouping = true;
        } else {
            s.shift -= 3;
        }
    }
    s.items = std::move(kept);
}

// Placeholders were numbered from the left while reading; integer digits are placed from the
// right.
void placeDigits(NumberSection& s) {
    for (NumberItem& item : s.items) {
        if (item.token == NumberToken::IntegerDigit) {
            item.position = s.integerPlaceholders - 1 - item.position;
            if (item.zero) s.minIntegerDigits = std::max(s.minIntegerDigits, item.position + 1);
        } else if (item.token == NumberToken::FractionDigit && item.zero) {
            s.minFractionDigits = std::max(s.minFractionDigits, item.position);
        }
    }
}

NumberSection compileNumber(QStringView text) {
    NumberSection s;
    s.empty = text.isEmpty();
    PatternReader r(text);
    QStringView literal;
    while (!r.atEnd()) {
        if (r.readLiteral(literal))
            addNumberLiteral(s, literal);
        else
            readNumberSymbol(s, r, text);
    }
    resolveCommas(s);
    placeDigits(s);
    return s;
}

// ---- text ----

bool isTextPlaceholder(QChar c) {
    return c == u'@' || c == u'&';
}

TextSection compileText(QStringView text) {
    TextSection s;
    PatternReader r(text);
    QStringView literal;
    const auto addLiteral = [&s](QStringView t) {
        appendLiteral(
            s.items, s.pool, t, [](const TextItem& i) { return !i.placeholder; },
            [](TextRef ref) {
                return TextItem{false, false, ref};
            });
    };
    while (!r.atEnd()) {
        if (r.readLiteral(literal)) {
            addLiteral(literal);
            continue;
        }
        const QChar c = r.peek();
        r.skip(1);
        if (isTextPlaceholder(c)) {
            s.items.push_back({true, c == u'@', {}});
            ++s.placeholders;
        } else if (c == u'!') {
            s.leftToRight = true;
        } else if (CaseForce force = caseForceOf(c); force != CaseForce::None) {
            s.caseForce = force;
        } else {
            addLiteral(QStringView(&c, 1));
        }
    }
    return s;
}

// ---- whole patterns ----

bool hasTextPlaceholder(QStringView section) {
    PatternReader r(section);
    QStringView literal;
    while (!r.atEnd()) {
        if (r.readLiteral(literal)) continue;
        if (isTextPlaceholder(r.peek())) return true;
        r.skip(1);
    }
    return false;
}

// @ and & mean nothing to numbers and dates, so they make a text pattern whatever letters stand
// around them ("Name: @"). Otherwise the first placeholder decides: "1 mmm yyyy" is a date
// pattern whose 1 is literal, "0 \d\a\y\s" a number pattern; case and fill marks alone make a
// text pattern.
Mode classify(QStringView section) {
    if (hasTextPlaceholder(section)) return Mode::Text;
    PatternReader r(section);
    bool textMarks = false;
    QStringView literal;
    while (!r.atEnd()) {
        if (r.readLiteral(literal)) continue;
        if (startsDateToken(r)) return Mode::Date;
        const QChar c = r.peek();
        if (c == u'0' || c == u'#') return Mode::Number;
        textMarks = textMarks || c == u'<' || c == u'>' || c == u'!';
        r.skip(1);
    }
    return textMarks ? Mode::Text : Mode::Number;
}

// A Null has no digits and no date, so its section is written as it reads.
QString literalText(QStringView section) {
    QString out;
    PatternReader r(section);
    QStringView literal;
    while (!r.atEnd()) {
        if (r.readLiteral(literal)) {
            out += literal;
        } else {
            out += r.peek();
            r.skip(1);
        }
    }
    return out;
}

constexpr std::size_t kMaxSections = 4;
constexpr qsizetype kCacheLimit = 64;
constexpr std::size_t kRecentSlots = 4;

} // namespace

CompiledFormat compileFormat(QStringView pattern) {
    CompiledFormat f;
    f.named = namedFormat(pattern);
    if (f.named != Named::None) return f;
    std::vector<QStringView> sections = splitSections(pattern);
    if (sections.size() > kMaxSections) sections.resize(kMaxSections);
    f.mode = classify(sections[0]);
    switch (f.mode) {
    case Mode::Date:
        f.date = compileDate(sections[0]);
        break;
    case Mode::Number:
        for (std::size_t i = 0; i < std::min<std::size_t>(sections.size(), 3); ++i)
            f.numbers.push_back(compileNumber(sections[i]));
        break;
    case Mode::Text:
        for (std::size_t i = 0; i < std::min<std::size_t>(sections.size(), 2); ++i)
            f.texts.push_back(compileText(sections[i]));
        break;
    }
    if (sections.size() == kMaxSections && f.mode != Mode::Text)
        f.nullText = literalText(sections[3]);
    return f;
}

std::shared_ptr<const CompiledFormat> compiledFormat(const QString& pattern) {
    // A grid formats one column after another with the same few patterns (and a date pattern
    // often brings the regional short date and long time along), so a handful of recent entries
    // are checked before the hash.
    struct Cache {
        std::array<std::pair<QString, std::shared_ptr<const CompiledFormat>>, kRecentSlots> recent;
        std::size_t nextSlot = 0;
        QHash<QString, std::shared_ptr<const CompiledFormat>> all;
    };
    thread_local Cache cache;
    for (const auto& [key, compiled] : cache.recent)
        if (compiled && key == pattern) return compiled;
    std::shared_ptr<const CompiledFormat> compiled = cache.all.value(pattern);
    if (!compiled) {
        compiled = std::make_shared<const CompiledFormat>(compileFormat(pattern));
        if (cache.all.size() >= kCacheLimit) cache.all.clear();
        cache.all.insert(pattern, compiled);
    }
    cache.recent[cache.nextSlot] = {pattern, compiled};
    cache.nextSlot = (cache.nextSlot + 1) % kRecentSlots;
    return compiled;
}

} // namespace vb::fmt
