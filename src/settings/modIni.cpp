#include "settings/modIni.h"

#include "settings/Cp1252.h"
#include "settings/Profile.h"
#include "settings/SettingsPath.h"
#include "vb/VbError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

constexpr QChar kNul = u'\0';

// Files are written as UTF-8; one carried over from the old platform is in its code page.
QString decodeSettings(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    return utf8.hasError() ? decodeCp1252(bytes) : text;
}

// A missing file reads as empty; one that exists but cannot be read gives nothing, so that a
// write never replaces contents it could not see.
std::optional<Profile> load(const QString& file) {
    QFile in(file);
    if (!in.exists()) return Profile{};
    if (!in.open(QIODevice::ReadOnly)) return std::nullopt;
    return Profile::parse(decodeSettings(in.readAll()));
}

Profile loadForReading(const QString& file) {
    return load(file).value_or(Profile{});
}

bool store(const QString& file, const Profile& profile) {
    if (!QDir().mkpath(QFileInfo(file).absolutePath())) return false;
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) return false;
    out.write(profile.text().toUtf8());
    return out.commit();
}

template <typename Change> bool update(const QString& file, Change change) {
    auto profile = load(file);
    if (!profile) return false;
    const QStringList before = profile->lines();
    change(*profile);
    return profile->lines() == before || store(file, *profile);
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
    QStringList lines = contents.split(kNul);
    lines.erase(std::find(lines.begin(), lines.end(), QString()), lines.end());
    return update(file, [&](Profile& p) { p.replaceSection(section, lines); });
}

bool writeProfileString(const QString& section, const QString& key, const QString& value,
                        const QString& file) {
    return update(file, [&](Profile& p) { p.setValue(section, key, value); });
}

bool deleteProfileSection(const QString& section, const QString& file) {
    return update(file, [&](Profile& p) { p.removeSection(section); });
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

void subWriteSiteSection(const QString& name, const QString& address, bool dun, std::int32_t port,
                         const QString& scrambledPassword) {
    const QString dunText = dun ? u"-1"_s : u"0"_s;
    writeIniSection(name, address + kNul + dunText + kNul + QString::number(port) + kNul +
                              scrambledPassword + kNul);
}

} // namespace settings
