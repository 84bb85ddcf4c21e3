#pragma once

// The process's resident memory as Linux tells it: what a benchmark reports as the peak an
// operation costs over the data it works on.

#include <QByteArray>
#include <QFile>

namespace benchmemory {

// The resident set now ("VmRSS:") or at its peak ("VmHWM:"), in KiB, from /proc/self/status.
inline long statusKb(const char* key) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(qsizetype(qstrlen(key))).trimmed().split(' ')[0].toLong();
    return -1;
}

// Makes the peak the current resident set again (Linux 4.0 on), so the next peak is the next
// operation's.
inline bool resetPeak() {
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1;
}

} // namespace benchmemory
