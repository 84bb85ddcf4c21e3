#pragma once

#include <QString>

namespace vb {

// Replaces every occurrence of find, ignoring letter case, left to right; inserted text is never
// searched again. Raises 6 (Overflow) when the text grows past 32767 characters, as the 16-bit
// length it keeps does.
QString fncReplace(QString text, const QString& find, const QString& replaceWith);

// A backslash, tab, line feed or carriage return written as \\, \t, \n or \r, so that a value
// stays one field of one line in tab-separated text.
QString escapeLineField(QStringView text);

} // namespace vb
