#pragma once

// What the link asks of the database behind a site. Engines run on the link's worker thread, one
// call at a time; every failure is raised as vb::VbError (the dialect's numbers, or the engine's
// own text) for the link to report.

#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

namespace sitelink {

struct ConnectParams {
    QString address; // a site file's path, or host, role@host or role@host/database
    int port = 0;
    QString password;
};

using ReadProgress = std::function<void(int percent)>;

// What a call stopped by a cancel raises, whatever the engine, and the text the user is shown.
inline constexpr int kCanceled = 3059;
inline constexpr auto kCanceledText = u"Operation canceled by user.";

class Engine {
public:
    virtual ~Engine() = default;
    // Names the site and the engine, for the status line.
    virtual QString serverName() const = 0;
    // This connection's number among those open on the site at the same time.
    virtual std::int16_t sessionIndex() const = 0;
    virtual std::shared_ptr<rs::Recordset> openRecordset(const QString& text,
                                                         const ReadProgress& progress) = 0;
    // Runs an action query; the number of rows it changed.
    virtual long long execute(const QString& text) = 0;
    // Stops the call running on the worker thread as soon as the engine can (SQLite's interrupt,
    // a server's cancel request); that call raises 3059 and the connection stays usable. Safe
    // from any thread while the engine lives. The request holds until clearInterrupt(), which the
    // link calls before it hands the engine its next call, so a cancel that comes before the
    // call starts still stops it.
    virtual void interrupt() = 0;
    virtual void clearInterrupt() = 0;

    // Why the site can no longer be used (a site file removed, a server that closed the
    // connection); empty while it can. Asked between calls only, on the link's own thread.
    virtual QString goneReason() = 0;
    // A socket that becomes readable when the site has something to say between calls (a server
    // closing the connection), so the link hears of it at once; -1 for none.
    virtual int watchSocket() const { return -1; }
};

// Runs an action query, forgiving the DROP TABLE of a session table that does not exist yet: a
// two-stage report drops its table before the table first exists.
long long executeDroppingSessionTables(const QString& text,
                                       const std::function<long long(const QString&)>& run);

// Whether an address names a site file (and so the embedded engine) rather than a server.
bool isSiteFileAddress(const QString& address);

// Opens the engine an address calls for. Raises when the site cannot be reached.
std::unique_ptr<Engine> openEngine(const ConnectParams& params);

} // namespace sitelink
