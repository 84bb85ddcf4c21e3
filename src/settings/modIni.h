#pragma once

// Access to the settings file. The profile calls work on any file and behave as the platform's
// private-profile calls: reads of a missing or unreadable file find nothing, writes report
// success. Each call reads the file afresh, and each write replaces it whole through a temporary
// file renamed over it, every step checked, so a crash or a full disk leaves the old file or the
// new one, never half of one, and a write that did not reach the disk reports failure.
//
// The procedures below them work on the program's settings file and raise 75 (Path/File access
// error) when it cannot be written; their callers decide what a failed write means. A save of
// several changes gathers them in an IniEdit and writes the file once.

#include "settings/IniEdit.h"

#include <QString>
#include <QStringList>
#include <cstdint>

namespace settings {

// The size of the buffer a section is read into; longer sections are cut.
inline constexpr int kSectionBufferSize = 1024;

// The section's lines, each followed by NUL, as a buffer of bufferSize characters receives them:
// when the lines and a closing NUL do not fit, the text is cut to bufferSize - 2 characters (the
// last line cut short, without its NUL). Empty for a missing or empty section.
QString readProfileSection(const QString& section, int bufferSize, const QString& file);
// The value of section/key, or fallback when the key is missing.
QString readProfileString(const QString& section, const QString& key, const QString& fallback,
                          const QString& file);
// The leading decimal integer of the value, sign included ("-1" reads as -1; "12ab" as 12, "ab"
// as 0); fallback when the key is missing or its value empty.
std::int32_t readProfileInt(const QString& section, const QString& key, std::int32_t fallback,
                            const QString& file);
// Replaces the section's lines as IniEdit::writeSection does.
bool writeProfileSection(const QString& section, const QString& contents, const QString& file);
bool writeProfileString(const QString& section, const QString& key, const QString& value,
                        const QString& file);
bool deleteProfileSection(const QString& section, const QString& file);

// The executable's folder with a trailing "/".
QString fncAppPath();
// The settings file, worked out again at every call.
QString fncIniFile();

std::int32_t fncGetIniInt(const QString& section, const QString& key, std::int32_t fallback,
                          const QString& file);
void subWriteIniString(const QString& section, const QString& key, const QString& value,
                       const QString& file);
// The section's lines read through the 1024-character buffer, blanks trimmed off the whole block
// and split at NUL: one empty element follows the last line, and a missing or empty section
// gives no elements at all.
QStringList fncReadIniSection(const QString& section);
void subDeleteIniSection(const QString& section);
// Writes the section from NUL-ended lines (see writeProfileSection).
void writeIniSection(const QString& section, const QString& contents);
// The settings file opened for changes saved together; raises 75 when it cannot be read.
IniEdit openIniFile();
// Writes the changes as one replacement of the file, the file it replaces kept as its backup;
// raises 75, leaving the file and the backup as they were, when that fails.
void saveIniFile(const IniEdit& edit);
// Address, DUN as "-1"/"0", Port and the scrambled password as the section's four lines.
void subWriteSiteSection(IniEdit& edit, const QString& name, const QString& address, bool dun,
                         std::int32_t port, const QString& scrambledPassword);

} // namespace settings
