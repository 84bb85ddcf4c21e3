#include "settings/Profile.h"

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

// The name in a "[name]" line, up to the line's last "]", so a name holding "]" reads back whole;
// a header without its closing bracket runs to the end of the line.
std::optional<QString> headerName(const QString& line) {
    const QString t = line.trimmed();
    if (!t.startsWith(u'[')) return std::nullopt;
    const qsizetype close = t.lastIndexOf(u']');
    return t.mid(1, close < 0 ? -1 : close - 1).trimmed();
}

bool sameName(const QString& a, const QString& b) {
    return a.trimmed().compare(b.trimmed(), Qt::CaseInsensitive) == 0;
}

std::optional<QString> keyOf(const QString& line) {
    const qsizetype eq = line.indexOf(u'=');
    if (eq < 0) return std::nullopt;
    return line.left(eq).trimmed();
}

QString header(const QString& section) {
    return u'[' + section + u']';
}

QString keyLine(const QString& key, const QString& value) {
    return key + u'=' + value;
}

} // namespace

Profile Profile::parse(const QString& text) {
    Profile profile;
    profile.lines_ = text.split(u'\n');
    if (profile.lines_.last().isEmpty()) profile.lines_.removeLast();
    if (!profile.lines_.isEmpty() && profile.lines_.first().endsWith(u'\r'))
        profile.lineEnd_ = u"\r\n"_s;
    for (QString& line : profile.lines_)
        if (line.endsWith(u'\r')) line.chop(1);
    return profile;
}

QString Profile::text() const {
    QString text;
    for (const QString& line : lines_)
        text += line + lineEnd_;
    return text;
}

qsizetype Profile::sectionEnd(qsizetype header) const {
    qsizetype end = header + 1;
    while (end < lines_.size() && !headerName(lines_[end]))
        ++end;
    return end;
}

std::optional<Profile::Range> Profile::find(const QString& section) const {
    for (qsizetype i = 0; i < lines_.size(); ++i) {
        const auto name = headerName(lines_[i]);
        if (name && sameName(*name, section)) return Range{i, sectionEnd(i)};
    }
    return std::nullopt;
}

QStringList Profile::sectionLines(const QString& section) const {
    QStringList result;
    if (const auto range = find(section)) {
        for (qsizetype i = range->header + 1; i < range->end; ++i)
            if (const QString t = lines_[i].trimmed(); !t.isEmpty()) result << t;
    }
    return result;
}

std::optional<QString> Profile::value(const QString& section, const QString& key) const {
    const auto range = find(section);
    if (!range) return std::nullopt;
    for (qsizetype i = range->header + 1; i < range->end; ++i) {
        const auto k = keyOf(lines_[i]);
        if (k && sameName(*k, key)) return lines_[i].mid(lines_[i].indexOf(u'=') + 1).trimmed();
    }
    return std::nullopt;
}

void Profile::appendSection(const QString& section, const QStringList& lines) {
    lines_ << header(section) << lines;
}

void Profile::setValue(const QString& section, const QString& key, const QString& value) {
    const auto range = find(section);
    if (!range) return appendSection(section, {keyLine(key, value)});
    qsizetype lastFilled = range->header;
    for (qsizetype i = range->header + 1; i < range->end; ++i) {
        const auto k = keyOf(lines_[i]);
        if (k && sameName(*k, key)) {
            lines_[i] = keyLine(key, value);
            return;
        }
        if (!lines_[i].trimmed().isEmpty()) lastFilled = i;
    }
    lines_.insert(lastFilled + 1, keyLine(key, value));
}

void Profile::replaceSection(const QString& section, const QStringList& lines) {
    const auto range = find(section);
    if (!range) return appendSection(section, lines);
    lines_.remove(range->header + 1, range->end - range->header - 1);
    for (qsizetype i = 0; i < lines.size(); ++i)
        lines_.insert(range->header + 1 + i, lines[i]);
}

void Profile::removeSection(const QString& section) {
    while (const auto range = find(section))
        lines_.remove(range->header, range->end - range->header);
}

} // namespace settings
