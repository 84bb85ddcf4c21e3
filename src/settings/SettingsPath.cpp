#include "settings/SettingsPath.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

QString& overridePath() {
    static QString path;
    return path;
}

} // namespace

bool folderIsWritable(const QString& folder) {
    const QFileInfo info(folder);
    return info.isDir() && info.isWritable();
}

QString userConfigHome() {
    const QString xdg = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!xdg.isEmpty() && QDir::isAbsolutePath(xdg)) return QDir::cleanPath(xdg);
    return QDir::homePath() + u"/.config"_s;
}

QString settingsFilePath(const QString& executablePath, const FolderProbe& canWrite,
                         const QString& configHome) {
    const QFileInfo exe(executablePath);
    const QString fileName = exe.fileName() + u".ini"_s;
    const QString beside = QDir(exe.absolutePath()).filePath(fileName);
    if (QFileInfo::exists(beside) || canWrite(exe.absolutePath())) return beside;
    return QDir(configHome).filePath(u"tillsight/"_s + fileName);
}

QString settingsFileOf(const QString& executablePath) {
    return settingsFilePath(executablePath, folderIsWritable, userConfigHome());
}

QString currentSettingsFile() {
    if (!overridePath().isEmpty()) return overridePath();
    return settingsFileOf(QCoreApplication::applicationFilePath());
}

SettingsFileOverride::SettingsFileOverride(const QString& path) : previous_(overridePath()) {
    overridePath() = path;
}

SettingsFileOverride::~SettingsFileOverride() {
    overridePath() = previous_;
}

} // namespace settings
