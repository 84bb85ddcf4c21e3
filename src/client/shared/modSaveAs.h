#pragma once

// The Save As step of an export: the user names a file of one format, and the name is settled the
// way the platform's Save As settles it before anything is written.

#include <QString>
#include <functional>
#include <optional>

namespace modSaveAs {

// One format's settings: a filter, a description and a pattern joined by "|" ("Text File|*.txt"),
// the extension a name typed without one gets (".txt"), the dialog's caption, which may tell why
// the dialog is asking, and the name the dialog starts with.
struct SaveAsFormat {
    QString filter;
    QString defaultExtension;
    QString caption = QStringLiteral("Save As");
    QString initialName = {};
};

// Asks for a file name, starting with the format's initial name. A name without an extension gets
// the format's; a name in a folder that does not exist is refused with a message, and an existing
// file is replaced only if the user says so; either way the dialog comes back. Empty when the user
// cancels.
std::optional<QString> fncSaveAs(const SaveAsFormat& format);

// Seam for tests: the name the user types in the dialog, or none for Cancel. Everything after the
// typing (extension, folder check, the question before overwriting) still runs. Returns the
// previous handler; an empty one restores the dialog.
using NameHandler = std::function<std::optional<QString>(const SaveAsFormat& format)>;
NameHandler setNameHandler(NameHandler handler);

} // namespace modSaveAs
