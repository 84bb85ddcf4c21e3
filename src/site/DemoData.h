#pragma once

// Deterministic synthetic store data: the same options give the same rows, byte for byte.

#include <QByteArray>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <span>

struct sqlite3;

namespace jet {
class PgConnection;
}

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

// What a demo refuses to write over without `replace`.
inline constexpr int kSiteHoldsData = 3019;

// The tables a demo fills, and empties before it writes over them.
extern const std::array<const char*, 5> kDemoTables;

// One row after another of one table, each value in the order of the table's columns. Texts
// given as `const char*` live as long as the program; a QByteArray is copied.
class DemoRows {
public:
    virtual DemoRows& integer(long long value) = 0;
    virtual DemoRows& number(double value) = 0;
    virtual DemoRows& text(const char* value) = 0;
    virtual DemoRows& text(const QByteArray& value) = 0;
    // A date-time serial.
    virtual DemoRows& moment(double serial) = 0;
    virtual DemoRows& flag(bool value) = 0;
    virtual DemoRows& null() = 0;
    virtual void endRow() = 0;

protected:
    ~DemoRows() = default;
};

struct DemoTable {
    const char* name;
    std::span<const char* const> columns;
};

// Where the demo's rows go: a site file or a server site. The whole fill is one transaction.
class DemoSink {
public:
    virtual ~DemoSink() = default;
    virtual void begin() = 0;
    // Whether the site holds transactions or clerks already.
    virtual bool holdsData() = 0;
    // Empties the demo's tables and starts their counters again at 1.
    virtual void empty() = 0;
    // `produce` writes some rows and returns whether it has more; it is called until it has none.
    virtual void fill(const DemoTable& table, const std::function<bool(DemoRows&)>& produce) = 0;
    virtual void commit() = 0;
    // Undoes the fill; never raises, since it runs while another failure is on its way.
    virtual void rollback() noexcept = 0;
};

// Fills the lookup tables and tblTrans of an initialised site. Raises vb::VbError on the sink's
// failure and when the site already holds transactions (unless `replace`, which empties the
// tables first).
DemoSummary writeDemo(DemoSink& sink, const DemoOptions& options, bool replace,
                      const DemoProgress& progress = {});
// A site file.
DemoSummary writeDemo(sqlite3* db, const DemoOptions& options, bool replace,
                      const DemoProgress& progress = {});
// A server site, through COPY.
DemoSummary writeDemo(jet::PgConnection& server, const DemoOptions& options, bool replace,
                      const DemoProgress& progress = {});

} // namespace site
