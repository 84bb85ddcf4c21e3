#pragma once

// What every fuzz target needs beside its own code: the input as text, and a stop for a broken
// promise that the fuzzer keeps as a crash and the replay test reports.

#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzzsupport {

inline QString textOf(const std::uint8_t* data, std::size_t size) {
    return QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

inline void require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

} // namespace fuzzsupport
