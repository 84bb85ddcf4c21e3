#pragma once

// Changes to a settings file made in memory, then written to it as one checked replacement. Each
// change has exactly the effect its profile call has on the file itself, so a save made of many
// changes leaves the same file those calls would leave one by one, and a crash or a failed write
// part-way leaves the old file whole.

#include "settings/Profile.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace settings {

class IniEdit {
public:
    // Whether a save first keeps the file it replaces as "<file>.bak".
    enum class Backup { None, Keep };

    // The file as it is now, a missing one empty. Nothing when it exists but cannot be read, so
    // that a save never replaces contents it could not see.
    static std::optional<IniEdit> open(const QString& file);

    Profile profile() const;

    // Replaces the section's lines with those of contents, each ended by NUL; the first empty
    // line ends the list, so contents that begin with NUL leave an empty section.
    void writeSection(const QString& section, const QString& contents);
    void writeString(const QString& section, const QString& key, const QString& value);
    void deleteSection(const QString& section);

    // Writes the file when a change altered it (creating its folder if need be). False, the file
    // and its backup left as they were, when any step fails.
    bool save(Backup backup) const;

private:
    IniEdit(const QString& file, std::optional<QByteArray> bytes);
    template <typename Change> void change(Change change);
    bool keepBackup() const;

    QString file_;
    std::optional<QByteArray> original_; // nothing when the file did not exist
    QByteArray bytes_;
    bool changed_ = false;
};

} // namespace settings
