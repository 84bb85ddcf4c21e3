#include "settings/IniEdit.h"

#include "settings/FileReplacement.h"
#include "vb/Cp1252.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QStringList>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

// Files are written as UTF-8; one carried over from the old platform is in its code page.
QString decodeSettings(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    return utf8.hasError() ? vb::decodeCp1252(bytes) : text;
}

} // namespace

IniEdit::IniEdit(const QString& file, std::optional<QByteArray> bytes)
    : file_(file), original_(std::move(bytes)), bytes_(original_.value_or(QByteArray())) {}

std::optional<IniEdit> IniEdit::open(const QString& file) {
    QFile in(file);
    if (!in.exists()) return IniEdit(file, std::nullopt);
    if (!in.open(QIODevice::ReadOnly)) return std::nullopt;
    return IniEdit(file, in.readAll());
}

Profile IniEdit::profile() const {
    return Profile::parse(decodeSettings(bytes_));
}

// Each change reads what the one before it would have left in the file, encoding and line ends
// included, and a change that alters no line leaves the bytes as they were.
template <typename Change> void IniEdit::change(Change change) {
    Profile edited = profile();
    const QStringList before = edited.lines();
    change(edited);
    if (edited.lines() == before) return;
    bytes_ = edited.text().toUtf8();
    changed_ = true;
}

void IniEdit::writeSection(const QString& section, const QString& contents) {
    QStringList lines = contents.split(u'\0');
    lines.erase(std::find(lines.begin(), lines.end(), QString()), lines.end());
    change([&](Profile& p) { p.replaceSection(section, lines); });
}

void IniEdit::writeString(const QString& section, const QString& key, const QString& value) {
    change([&](Profile& p) { p.setValue(section, key, value); });
}

void IniEdit::deleteSection(const QString& section) {
    change([&](Profile& p) { p.removeSection(section); });
}

// A save that leaves the contents as they were keeps the backup it has: saving an unchanged list
// again must not push out the file a lossy save replaced.
bool IniEdit::keepBackup() const {
    return !original_ || *original_ == bytes_ || replaceFile(file_ + u".bak"_s, *original_);
}

// The file is written, even when the changes ended where they began, whenever one of them altered
// it: each would have written it, and a file that cannot be written is then a failed save.
bool IniEdit::save(Backup backup) const {
    if (!changed_) return true;
    if (!QDir().mkpath(QFileInfo(file_).absolutePath())) return false;
    auto replacement = FileReplacement::write(file_, bytes_);
    return replacement && (backup == Backup::None || keepBackup()) && replacement->install();
}

} // namespace settings
