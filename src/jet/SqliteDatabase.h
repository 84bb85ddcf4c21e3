#pragma once

// A site file opened with the dialect engine: dialect query text in, result sets out. Every
// failure is raised as vb::VbError: the dialect's numbers for what the engine refuses before it
// runs, the engine's own text (number 3000 + its result code's class) for what SQLite refuses.

#include "jet/Ast.h"
#include "jet/Catalog.h"
#include "recordset/Recordset.h"
#include "vb/VbError.h"

#include <QHash>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

struct sqlite3;

namespace jet {

constexpr int kEngineErrorBase = 3000;
// What a call stopped by interrupt() raises, with the text the user is shown.
constexpr int kCanceledError = 3059;
inline constexpr auto kCanceledText = u"Operation canceled by user.";

class SqliteDatabase {
public:
    // Opens (or, with create, creates) a site file; raises when it cannot.
    static std::unique_ptr<SqliteDatabase> open(const QString& path, bool create = false);
    // Opens an existing site for one of several clients that use it at once. A site whose folder
    // and file can be written is put in WAL mode (an older one is moved over), so a long read
    // never holds up another client's write. One that cannot be written opens read-only: reads
    // work, and a write is refused with readOnlyReason() rather than SQLite's text.
    static std::unique_ptr<SqliteDatabase> openSite(const QString& path);
    // Moves the file to WAL mode; false when it cannot (another client has the file open in the
    // old mode), which leaves it as it was.
    bool useWriteAheadLog();
    // Why this connection only reads; empty when it writes.
    const QString& readOnlyReason() const { return readOnlyReason_; }
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    // Told the estimated share of the work done, 0 to 100, while a result is read: it never goes
    // back and ends at 100.
    using ReadProgress = std::function<void(int percent)>;

    // A statement that returns rows (SELECT, TRANSFORM), as a complete result set on its first
    // row; a statement with effects runs and gives an empty result set. It runs once: progress
    // counts SQLite's steps against an estimate made before the run.
    std::shared_ptr<rs::Recordset> query(const QString& dialectText,
                                         const ReadProgress& progress = {});
    // A statement with effects; the number of rows it changed.
    long long execute(const QString& dialectText);
    // Runs every statement of a script: entries separated by lines holding only "--"; lines
    // starting with "-- " are comments.
    void executeScript(const QString& script);

    // The SQLite text a dialect statement runs as (one line per command; a crosstab shows its
    // first step).
    QString translate(const QString& dialectText);

    // Stops the query or statement running on this connection as soon as it can, from any
    // thread: it raises kCanceledError and leaves the connection usable. The request holds until
    // clearInterrupt(), so one that comes before the call starts still stops it.
    void interrupt();
    void clearInterrupt();

    sqlite3* handle() const { return db_; }

private:
    class ReadMeter;
    explicit SqliteDatabase(sqlite3* db, QString readOnlyReason = {});
    const Catalog& catalog();
    std::shared_ptr<rs::Recordset> run(const Statement& statement, long long* changed,
                                       ReadMeter* meter = nullptr);
    static int onProgress(void* self);
    void stopIfInterrupted() const;
    // The error as the user should read it: a cancel, a busy or a read-only site explained.
    vb::VbError explained(const vb::VbError& error) const;
    template <typename Work> auto explaining(Work work);

    sqlite3* db_;
    QString readOnlyReason_;
    Catalog catalog_;
    long long schemaStamp_ = -1;
    std::atomic<bool> interrupted_{false};
    std::mutex interrupting_; // keeps sqlite3_interrupt off a connection being closed
    ReadMeter* meter_ = nullptr;
    // SQLite steps per row of the driving table, by the shape of the query text, learned from the
    // reads this connection finished.
    QHash<QString, double> stepsPerRow_;
};

} // namespace jet
