#pragma once

// One connection to a PostgreSQL server, on libpq, for the dialect engine and the site tool.
// Every failure is raised as vb::VbError carrying the server's own words: a value the server
// refuses for its type is the dialect's 13, a cancel 3059, an error our own schema functions raise
// with SQLSTATE "J" plus four digits the dialect number they name, a connection that cannot be
// made or is lost 3151, anything else 3146 (the dialect's numbers for a server that cannot be
// reached and a call the server failed). Nothing here knows the dialect: it runs PostgreSQL text.

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

struct pg_conn;
struct pg_cancel;
struct pg_result;

namespace jet {

// Where a server site is: "host", "role@host" or "role@host/database" plus a port and password.
struct PgAddress {
    QString host;
    QString role = QStringLiteral("tillsight");
    QString database = QStringLiteral("tillsight");
    int port = 5432;
    QString password;
};

// Reads "host", "role@host" and "role@host/database"; nullopt for anything else (an empty part,
// a blank, a second "@" or "/").
std::optional<PgAddress> parsePgAddress(const QString& address);

// One field of a row read with PgConnection::copyOut: the bytes of COPY's binary form (network
// order), or null.
struct PgField {
    std::string_view bytes;
    bool null = false;
};

class PgConnection {
public:
    struct Options {
        PgAddress address;
        // Seconds a connection attempt may take before it fails; a server that does not answer is
        // refused within this.
        int connectTimeoutSeconds = 10;
        // TLS when the server offers it ("prefer"); tests may ask "require".
        QString sslMode = QStringLiteral("prefer");
        QString applicationName = QStringLiteral("tillsight");
    };

    // Connects; raises with the server's (or libpq's) words when it cannot. TCP keepalives are
    // set so that a dead network is noticed within about ten seconds.
    static std::unique_ptr<PgConnection> open(const Options& options);
    ~PgConnection();
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    // The rows of a query as text (PostgreSQL's output form), for small reads: catalogs, counts.
    struct TextResult {
        QStringList columns;
        std::vector<std::vector<std::optional<QString>>> rows;
    };
    TextResult query(const QString& sql);
    // Runs one or several commands; the rows the last one changed (0 when it reports none).
    long long exec(const QString& sql);

    // Streams the rows of a SELECT through COPY ... TO STDOUT (FORMAT binary): onRow is called
    // once per row with one field per column, as the server sends them, so the whole result is
    // never held twice. A failure or a cancel raises after the rows before it were handed on.
    // While the server sends nothing (a grouping read works before its first row), whileWaiting
    // is called about every tenth of a second.
    void copyOut(const QString& select, const std::function<void(std::span<const PgField>)>& onRow,
                 const std::function<void()>& whileWaiting = {});
    // Streams rows into a table through COPY ... FROM STDIN (FORMAT text): produce is called with
    // a buffer to append text rows to (tab-separated, "\N" for Null, newline-ended) and returns
    // false when there are no more; the buffer is sent whenever it grows past a few hundred KiB.
    void copyIn(const QString& copyCommand,
                const std::function<bool(std::string& buffer)>& produce);

    // Asks the server to stop what this connection is running; safe from any thread while the
    // connection lives. The running call raises 3059.
    void cancel();

    // The socket, to watch for the server closing the connection; -1 when there is none.
    int socket() const;
    // Whether the server has gone: checks the socket without blocking and without reading data
    // a running call expects.
    bool lost();
    // "15.18", as the server reports it.
    QString serverVersion() const;
    const PgAddress& address() const { return address_; }

    // Quotes a name or a text literal for PostgreSQL.
    static QString quotedName(const QString& name);
    static QString quotedLiteral(const QString& text);

    pg_conn* handle() const { return conn_; }

private:
    PgConnection(pg_conn* conn, PgAddress address);
    [[noreturn]] void raiseFrom(const char* what, pg_result* result = nullptr);
    // Waits up to a tenth of a second for the server to send more, and reads it.
    bool awaitInput();

    pg_conn* conn_;
    PgAddress address_;
    std::mutex cancelling_;
    pg_cancel* cancel_ = nullptr;
};

// SQLSTATE classes and the dialect numbers they become.
int dialectNumberForSqlState(std::string_view sqlState);

} // namespace jet
