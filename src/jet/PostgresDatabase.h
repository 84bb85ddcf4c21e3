#pragma once

// A site on a PostgreSQL server opened with the dialect engine: dialect query text in, result sets
// out, as SqliteDatabase does for a site file. Rows stream from the server in COPY's binary form
// straight into the result set, typed by the binder. Every failure is raised as vb::VbError with
// the dialect's number (see PgConnection.h for the server's own errors).

#include "jet/Ast.h"
#include "jet/Catalog.h"
#include "jet/LocalEvaluator.h"
#include "jet/PgConnection.h"
#include "jet/PostgresGenerator.h"
#include "recordset/Recordset.h"

#include <QHash>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace jet {

class PostgresDatabase {
public:
    static std::unique_ptr<PostgresDatabase> open(const PgConnection::Options& options);
    explicit PostgresDatabase(std::unique_ptr<PgConnection> connection);
    ~PostgresDatabase();
    PostgresDatabase(const PostgresDatabase&) = delete;
    PostgresDatabase& operator=(const PostgresDatabase&) = delete;

    // Told the estimated share of a read done, 0 to 100 (rows received against the server's
    // estimate): it never goes back and ends at 100.
    using ReadProgress = std::function<void(int percent)>;

    // A statement that returns rows (SELECT, TRANSFORM), as a complete result set on its first
    // row; a statement with effects runs and gives an empty result set.
    std::shared_ptr<rs::Recordset> query(const QString& dialectText,
                                         const ReadProgress& progress = {});
    // A statement with effects; the number of rows it changed, as the dialect counts them.
    long long execute(const QString& dialectText);
    // Runs every statement of a script, in SqliteDatabase::executeScript's form.
    void executeScript(const QString& script);
    // The PostgreSQL text a dialect statement runs as (one line per command; a crosstab shows its
    // first step).
    QString translate(const QString& dialectText);

    // Stops the call running on this connection, from any thread: it raises 3059 and leaves the
    // connection usable. The request holds until clearInterrupt(), so one that comes before the
    // call starts still stops it.
    void interrupt();
    void clearInterrupt();

    // Puts the types and functions the generated SQL uses into the site's schema; running it
    // again replaces the functions.
    void installFunctions();
    static QString functionsScript();

    PgConnection& connection() { return *conn_; }

private:
    const Catalog& catalog();
    std::shared_ptr<rs::Recordset> run(const Statement& statement, long long* changed,
                                       const ReadProgress* progress);
    std::shared_ptr<rs::Recordset> read(const PostgresGenerator::Read& plan,
                                        const std::vector<ResultColumn>& columns,
                                        const ReadProgress* progress);
    long long runCommands(const PostgresGenerator& generator, const Statement& statement);
    // One call to the server, which a cancel can reach.
    template <typename Call> auto serverCall(Call call);
    void stopIfInterrupted() const;
    struct PlanEstimate {
        double rows = 0;
        double cost = 0;
    };
    PlanEstimate estimate(const QString& select);
    class ReadMeter;

    std::unique_ptr<PgConnection> conn_;
    LocalEvaluator local_;
    Catalog catalog_;
    QString schemaStamp_;
    // Milliseconds per unit of the plan's cost, by the shape of the read (shapeOf), learned from
    // the reads this connection finished; and the last one learned, for a shape not yet run.
    QHash<QString, double> msPerCost_;
    double lastMsPerCost_ = 0;
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> busy_{false};
    std::mutex interrupting_; // keeps two interrupts from replacing the canceller at once
    // Sends the cancel again until the running call has taken it: one sent just before the server
    // starts the call would find nothing to stop.
    std::jthread canceller_;
};

} // namespace jet
