#include "vb/Cp1252.h"

#include <array>

namespace vb {

namespace {

// 0x80 to 0x9F; the undefined codes keep their control character.
constexpr std::array<char16_t, 32> kHighControls{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::uint8_t kFirstHigh = 0x80;
constexpr std::uint8_t kLastHigh = 0x9F;
constexpr std::uint8_t kUnmapped = '?';

} // namespace

std::uint8_t toCp1252(QChar c) {
    const char16_t u = c.unicode();
    if (u < kFirstHigh || (u > kLastHigh && u <= 0xFF)) return static_cast<std::uint8_t>(u);
    for (std::size_t i = 0; i < kHighControls.size(); ++i)
        if (kHighControls[i] == u) return static_cast<std::uint8_t>(kFirstHigh + i);
    return kUnmapped;
}

QChar fromCp1252(std::uint8_t code) {
    if (code < kFirstHigh || code > kLastHigh) return QChar(code);
    return QChar(kHighControls[code - kFirstHigh]);
}

QString decodeCp1252(const QByteArray& bytes) {
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes)
        text += fromCp1252(static_cast<std::uint8_t>(byte));
    return text;
}

QByteArray encodeCp1252(QStringView text) {
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) ++i;
        bytes += static_cast<char>(toCp1252(text[i]));
    }
    return bytes;
}

} // namespace vb
