#pragma once

// Where the settings file lives: "<executable name>.ini" beside the executable, so that a copy of
// the program carries its sites with it; when that folder cannot be written (an installed
// program) and holds no such file yet, "tillsight/<executable name>.ini" under the user's
// configuration folder.

#include <QString>
#include <functional>

namespace settings {

// Whether new files can be created in a folder.
using FolderProbe = std::function<bool(const QString& folder)>;
bool folderIsWritable(const QString& folder);

// $XDG_CONFIG_HOME when it is an absolute path, else ~/.config.
QString userConfigHome();

// The executable's name is taken whole: programs here carry no extension, and cutting at a dot
// would split a versioned name. A file that is already beside the executable is used even when
// its folder cannot be written: its sites are there, and its saves then fail and are logged
// rather than going to another file that hides them.
QString settingsFilePath(const QString& executablePath, const FolderProbe& canWrite,
                         const QString& configHome);
// The settings file of the program at executablePath, on this computer as it is now.
QString settingsFileOf(const QString& executablePath);

// The running program's settings file, or the file a SettingsFileOverride names.
QString currentSettingsFile();

// Sends every settings access to another file for its lifetime, so tests never share a file.
class SettingsFileOverride {
public:
    explicit SettingsFileOverride(const QString& path);
    ~SettingsFileOverride();
    SettingsFileOverride(const SettingsFileOverride&) = delete;
    SettingsFileOverride& operator=(const SettingsFileOverride&) = delete;

private:
    QString previous_;
};

} // namespace settings
