#pragma once

// Deterministic synthetic store data: the same options give the same rows, byte for byte.

#include <QString>
#include <cstdint>
#include <functional>

struct sqlite3;

namespace site {

struct DemoOptions {
    int days = 30;
    std::uint64_t seed = 1;
    int registers = 6;
    int clerks = 24;
    int perDay = 1500;
    double endDay = 0; // a date serial; 0 means the fixed default day
    // A date-time serial on the last day: nothing later is written, so a demo made "now" shows
    // no sales yet to come. 0 writes the whole last day.
    double endMoment = 0;
};

struct DemoSummary {
    long long transactions = 0;
    int items = 0;
};

// The day the data ends on when none is given, fixed so that output never depends on today.
double defaultEndDay();

// Told the share written so far, 0 to 100.
using DemoProgress = std::function<void(int percent)>;

// Fills the lookup tables and tblTrans of an initialised site. Raises vb::VbError on an SQLite
// failure and when the site already holds transactions (unless `replace`, which empties the
// tables first).
DemoSummary writeDemo(sqlite3* db, const DemoOptions& options, bool replace,
                      const DemoProgress& progress = {});

} // namespace site
