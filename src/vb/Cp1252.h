#pragma once

// The single-byte code page (Windows-1252) of the language's character codes (Chr, Asc), in which
// site passwords are scrambled and settings files from the old platform were written. It differs
// from Latin-1 only in 0x80-0x9F.

#include <QByteArray>
#include <QChar>
#include <QString>
#include <QStringView>
#include <cstdint>

namespace vb {

// The character's code, or 63 ("?") when the code page has no such character. The five codes the
// code page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for the control characters of
// the same number, so every code reads back as itself.
std::uint8_t toCp1252(QChar c);
QChar fromCp1252(std::uint8_t code);

QString decodeCp1252(const QByteArray& bytes);
// One byte per character; a character outside the code page, even one written as a surrogate
// pair, is one "?".
QByteArray encodeCp1252(QStringView text);

} // namespace vb
