#include "settings/modIni.h"

#include "settings/Profile.h"
#include "settings/SettingsPath.h"
#include "vb/VbError.h"

#include <QCoreApplication>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

constexpr QChar kNul = u'\0';

Profile loadForReading(const QString& file) {
    const auto edit = IniEdit::open(file);
    return edit ? edit->profile() : Profile{};
}

// A single write keeps no backup: the one generation kept belongs to the last save of the site
// list, which a later change of one option must not push out.
template <typename Change> bool update(const QString& file, Change change) {
    auto edit = IniEdit::open(file);
    if (!edit) return false;
    change(*edit);
    return edit->save(IniEdit::Backup::None);
}

void raiseUnlessWritten(bool written) {
    if (!written) vb::raise(vb::err::PathFileAccessError);
}

std::int32_t leadingInteger(const QString& text) {
    const bool negative = text.startsWith(u'-');
    qsizetype i = negative || text.startsWith(u'+') ? 1 : 0;
    std::uint32_t magnitude = 0; // too many digits wrap around rather than fail
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i)
        magnitude = magnitude * 10 + (text[i].unicode() - u'0');
    return static_cast<std::int32_t>(negative ? 0u - magnitude : magnitude);
}

// The language's Trim: blanks only, not tabs or NULs.
QString trimBlanks(const QString& text) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text[first] == u' ')
        ++first;
    while (last > first && text[last - 1] == u' ')
        --last;
    return text.mid(first, last - first);
}

} // namespace

QString readProfileSection(const QString& section, int bufferSize, const QString& file) {
    QString block;
    for (const QString& line : loadForReading(file).sectionLines(section))
        block += line + kNul;
    if (block.size() + 1 <= bufferSize) return block;
    return block.left(std::max(bufferSize - 2, 0));
}

QString readProfileString(const QString& section, const QString& key, const QString& fallback,
                          const QString& file) {
    return loadForReading(file).value(section, key).value_or(fallback);
}

std::int32_t readProfileInt(const QString& section, const QString& key, std::int32_t fallback,
                            const QString& file) {
    const auto value = loadForReading(file).value(section, key);
    if (!value || value->isEmpty()) return fallback;
    return leadingInteger(*value);
}

bool writeProfileSection(const QString& section, const QString& contents, const QString& file) {
    return update(file, [&](IniEdit& e) { e.writeSection(section, contents); });
}

bool writeProfileString(const QString& section, const QString& key, const QString& value,
                        const QString& file) {
    return update(file, [&](IniEdit& e) { e.writeString(section, key, value); });
}

bool deleteProfileSection(const QString& section, const QString& file) {
    return update(file, [&](IniEdit& e) { e.deleteSection(section); });
}

QString fncAppPath() {
    QString folder = QFileInfo(QCoreApplication::applicationFilePath()).absolutePath();
    if (!folder.endsWith(u'/')) folder += u'/';
    return folder;
}

QString fncIniFile() {
    return currentSettingsFile();
}

std::int32_t fncGetIniInt(const QString& section, const QString& key, std::int32_t fallback,
                          const QString& file) {
    return readProfileInt(section, key, fallback, file);
}

void subWriteIniString(const QString& section, const QString& key, const QString& value,
                       const QString& file) {
    raiseUnlessWritten(writeProfileString(section, key, value, file));
}

QStringList fncReadIniSection(const QString& section) {
    const QString block = trimBlanks(readProfileSection(section, kSectionBufferSize, fncIniFile()));
    if (block.isEmpty()) return {};
    return block.split(kNul);
}

void subDeleteIniSection(const QString& section) {
    raiseUnlessWritten(deleteProfileSection(section, fncIniFile()));
}

void writeIniSection(const QString& section, const QString& contents) {
    raiseUnlessWritten(writeProfileSection(section, contents, fncIniFile()));
}

IniEdit openIniFile() {
    auto edit = IniEdit::open(fncIniFile());
    raiseUnlessWritten(edit.has_value());
    return *std::move(edit);
}

void saveIniFile(const IniEdit& edit) {
    raiseUnlessWritten(edit.save(IniEdit::Backup::Keep));
}

void subWriteSiteSection(IniEdit& edit, const QString& name, const QString& address, bool dun,
                         std::int32_t port, const QString& scrambledPassword) {
    const QString dunText = dun ? u"-1"_s : u"0"_s;
    edit.writeSection(name, address + kNul + dunText + kNul + QString::number(port) + kNul +
                                scrambledPassword + kNul);
}

} // namespace settings
