#include "jet/PgConnection.h"

#include "jet/JetError.h"
#include "jet/SqliteDatabase.h"
#include "vb/VbError.h"

#include <QByteArray>
#include <QRegularExpression>
#include <cstdlib>
#include <cstring>
#include <libpq-fe.h>
#include <poll.h>

namespace jet {

namespace {

// The dialect's own numbers for a server that cannot be reached and for a call a server failed.
constexpr int kConnectFailed = 3151;
constexpr int kCallFailed = 3146;

// A server that goes quiet is given up on after about idle + interval * count seconds.
constexpr auto kKeepaliveIdle = "4";
constexpr auto kKeepaliveInterval = "2";
constexpr auto kKeepaliveCount = "3";
// Data sent and not acknowledged for this long ends the connection even mid-read.
constexpr auto kTcpUserTimeoutMs = "10000";

// COPY's binary form opens with this signature, a flags word and a header extension.
constexpr char kCopySignature[] = "PGCOPY\n\377\r\n\0";
constexpr int kCopySignatureLength = 11;

// How long a read waits for the server before it tells its waiting handler.
constexpr int kWaitTickMs = 100;

// Bytes a COPY FROM buffer collects before it is sent.
constexpr std::size_t kCopyInChunk = 256 * 1024;

struct ResultDeleter {
    void operator()(PGresult* r) const { PQclear(r); }
};
using Result = std::unique_ptr<PGresult, ResultDeleter>;

QString trimmedWords(const char* text) {
    return QString::fromUtf8(text ? text : "").trimmed();
}

std::uint32_t readUint32(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return (std::uint32_t(u[0]) << 24) | (std::uint32_t(u[1]) << 16) | (std::uint32_t(u[2]) << 8) |
           std::uint32_t(u[3]);
}

std::int16_t readInt16(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return static_cast<std::int16_t>((u[0] << 8) | u[1]);
}

[[noreturn]] void raiseMalformedCopy() {
    throw engineError(kCallFailed, QStringLiteral("The server sent a row that cannot be read."));
}

} // namespace

std::optional<PgAddress> parsePgAddress(const QString& address) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(?:([^@/\s]+)@)?([^@/\s]+)(?:/([^@/\s]+))?$)"));
    const QRegularExpressionMatch m = form.match(address);
    if (!m.hasMatch()) return std::nullopt;
    PgAddress a;
    a.host = m.captured(2);
    if (m.hasCaptured(1) && !m.captured(1).isEmpty()) a.role = m.captured(1);
    if (m.hasCaptured(3) && !m.captured(3).isEmpty()) a.database = m.captured(3);
    return a;
}

int dialectNumberForSqlState(std::string_view state) {
    if (state.size() == 5 && state[0] == 'J') {
        int number = 0;
        for (char c : state.substr(1)) {
            if (c < '0' || c > '9') return kCallFailed;
            number = number * 10 + (c - '0');
        }
        return number;
    }
    struct Mapped {
        std::string_view state;
        int number;
    };
    static constexpr Mapped kMapped[] = {
        {"22P02", vb::err::TypeMismatch}, // invalid text representation
        {"22007", vb::err::TypeMismatch}, // invalid datetime format
        {"22008", vb::err::Overflow},     // datetime field overflow
        {"22003", vb::err::Overflow},     // numeric value out of range
        {"22012", vb::err::DivisionByZero},
        {"57014", kCanceledError}, // query canceled
        {"42501", 3033},           // insufficient privilege: no permission
        {"23505", 3022},           // unique violation: a duplicate key
        {"42P01", err::NoInputTable},
        {"42P07", err::TableExists},
    };
    for (const Mapped& m : kMapped)
        if (m.state == state) return m.number;
    if (state.substr(0, 2) == "08") return kConnectFailed; // connection exception
    return kCallFailed;
}

std::unique_ptr<PgConnection> PgConnection::open(const Options& options) {
    const PgAddress& a = options.address;
    const QByteArray host = a.host.toUtf8(), port = QByteArray::number(a.port ? a.port : 5432),
                     user = a.role.toUtf8(), db = a.database.toUtf8(),
                     password = a.password.toUtf8(),
                     timeout = QByteArray::number(options.connectTimeoutSeconds),
                     ssl = options.sslMode.toUtf8(), app = options.applicationName.toUtf8();
    std::vector<const char*> keys = {"host",
                                     "port",
                                     "user",
                                     "dbname",
                                     "connect_timeout",
                                     "sslmode",
                                     "application_name",
                                     "client_encoding",
                                     "keepalives",
                                     "keepalives_idle",
                                     "keepalives_interval",
                                     "keepalives_count",
                                     "tcp_user_timeout",
                                     "options"};
    std::vector<const char*> values = {host.constData(),
                                       port.constData(),
                                       user.constData(),
                                       db.constData(),
                                       timeout.constData(),
                                       ssl.constData(),
                                       app.constData(),
                                       "UTF8",
                                       "1",
                                       kKeepaliveIdle,
                                       kKeepaliveInterval,
                                       kKeepaliveCount,
                                       kTcpUserTimeoutMs,
                                       "-c DateStyle=ISO,MDY -c extra_float_digits=3"};
    // Without a password here libpq takes PGPASSWORD or the password file itself.
    if (!password.isEmpty()) {
        keys.push_back("password");
        values.push_back(password.constData());
    }
    keys.push_back(nullptr);
    values.push_back(nullptr);
    PGconn* conn = PQconnectdbParams(keys.data(), values.data(), 0);
    if (!conn) throw engineError(kConnectFailed, QStringLiteral("Out of memory."));
    if (PQstatus(conn) != CONNECTION_OK) {
        const QString words = trimmedWords(PQerrorMessage(conn));
        PQfinish(conn);
        throw engineError(kConnectFailed, QStringLiteral("Cannot connect to the site %1@%2/%3 "
                                                         "(port %4): %5")
                                              .arg(a.role, a.host, a.database)
                                              .arg(a.port ? a.port : 5432)
                                              .arg(words));
    }
    return std::unique_ptr<PgConnection>(new PgConnection(conn, a));
}

PgConnection::PgConnection(pg_conn* conn, PgAddress address)
    : conn_(conn), address_(std::move(address)), cancel_(PQgetCancel(conn)) {
    if (address_.port == 0) address_.port = 5432;
    // A server's notices ("... does not exist, skipping") are no failure, and libpq would write
    // them to standard error, where a report run from cron must stay silent.
    PQsetNoticeProcessor(
        conn_, [](void*, const char*) {}, nullptr);
}

PgConnection::~PgConnection() {
    {
        std::lock_guard lock(cancelling_);
        if (cancel_) PQfreeCancel(cancel_);
        cancel_ = nullptr;
    }
    PQfinish(conn_);
}

void PgConnection::raiseFrom(const char* what, PGresult* result) {
    if (result) {
        const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
        const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
        if (state) {
            const int number = dialectNumberForSqlState(state);
            if (number == kCanceledError)
                throw engineError(kCanceledError, QString::fromUtf16(kCanceledText));
            throw engineError(number, trimmedWords(primary));
        }
    }
    // No SQLSTATE: libpq's own failure, most often the connection lost.
    QString words = trimmedWords(PQerrorMessage(conn_));
    if (words.isEmpty()) words = QString::fromLatin1(what);
    const int number = PQstatus(conn_) == CONNECTION_BAD ? kConnectFailed : kCallFailed;
    throw engineError(number, words);
}

PgConnection::TextResult PgConnection::query(const QString& sql) {
    Result r(PQexec(conn_, sql.toUtf8().constData()));
    const ExecStatusType status = r ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) raiseFrom("query", r.get());
    TextResult out;
    const int columns = PQnfields(r.get()), rows = PQntuples(r.get());
    for (int c = 0; c < columns; ++c)
        out.columns << QString::fromUtf8(PQfname(r.get(), c));
    out.rows.reserve(rows);
    for (int i = 0; i < rows; ++i) {
        auto& row = out.rows.emplace_back();
        row.reserve(columns);
        for (int c = 0; c < columns; ++c) {
            if (PQgetisnull(r.get(), i, c))
                row.emplace_back(std::nullopt);
            else
                row.emplace_back(
                    QString::fromUtf8(PQgetvalue(r.get(), i, c), PQgetlength(r.get(), i, c)));
        }
    }
    return out;
}

long long PgConnection::exec(const QString& sql) {
    Result r(PQexec(conn_, sql.toUtf8().constData()));
    const ExecStatusType status = r ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) raiseFrom("exec", r.get());
    return std::atoll(PQcmdTuples(r.get()));
}

bool PgConnection::awaitInput() {
    pollfd fd{PQsocket(conn_), POLLIN, 0};
    const int ready = ::poll(&fd, 1, kWaitTickMs);
    if (ready > 0 && !PQconsumeInput(conn_)) raiseFrom("copy");
    return ready > 0;
}

void PgConnection::copyOut(const QString& select,
                           const std::function<void(std::span<const PgField>)>& onRow,
                           const std::function<void()>& whileWaiting) {
    const QString command = QStringLiteral("COPY (%1) TO STDOUT (FORMAT binary)").arg(select);
    if (!PQsendQuery(conn_, command.toUtf8().constData())) raiseFrom("copy");
    // A failure in onRow or whileWaiting must still leave the connection ready for its next call:
    // the rest of the copy is read off and dropped before the failure goes on.
    std::exception_ptr failure;
    const auto wait = [&] {
        if (awaitInput() || !whileWaiting || failure) return;
        try {
            whileWaiting();
        } catch (...) {
            failure = std::current_exception();
            cancel();
        }
    };
    // The server's first word comes with its first rows (it sends in whole buffers), so a read
    // that groups says nothing until it is done: this is where it works.
    if (whileWaiting)
        while (PQisBusy(conn_))
            wait();
    Result start(PQgetResult(conn_));
    if (!start || PQresultStatus(start.get()) != PGRES_COPY_OUT) {
        while (Result more{PQgetResult(conn_)}) {
        }
        if (failure) std::rethrow_exception(failure);
        raiseFrom("copy", start.get());
    }
    start.reset();
    std::vector<PgField> fields;
    bool headerRead = false;
    for (;;) {
        char* buffer = nullptr;
        // Without a waiting handler libpq blocks; with one, nothing complete yet gives 0.
        const int length = PQgetCopyData(conn_, &buffer, whileWaiting ? 1 : 0);
        if (length == 0) {
            wait();
            continue;
        }
        if (length == -1) break; // done: the final status follows
        if (length == -2) raiseFrom("copy");
        std::unique_ptr<char, decltype(&PQfreemem)> owned(buffer, &PQfreemem);
        if (failure) continue;
        try {
            const char* p = buffer;
            const char* end = buffer + length;
            if (!headerRead) {
                if (length < kCopySignatureLength + 8 ||
                    std::memcmp(p, kCopySignature, kCopySignatureLength) != 0)
                    raiseMalformedCopy();
                p += kCopySignatureLength + 4;
                p += 4 + readUint32(p);
                headerRead = true;
                if (p >= end) continue;
            }
            if (end - p < 2) raiseMalformedCopy();
            const int count = readInt16(p);
            p += 2;
            if (count < 0) continue; // the trailer
            fields.resize(count);
            for (int i = 0; i < count; ++i) {
                if (end - p < 4) raiseMalformedCopy();
                const auto size = static_cast<std::int32_t>(readUint32(p));
                p += 4;
                if (size < 0) {
                    fields[i] = {{}, true};
                    continue;
                }
                if (end - p < size) raiseMalformedCopy();
                fields[i] = {std::string_view(p, static_cast<std::size_t>(size)), false};
                p += size;
            }
            onRow(fields);
        } catch (...) {
            failure = std::current_exception();
            cancel();
        }
    }
    Result done(PQgetResult(conn_));
    const bool ok = done && PQresultStatus(done.get()) == PGRES_COMMAND_OK;
    // Drain: libpq wants every result read before the next command.
    while (Result more{PQgetResult(conn_)}) {
    }
    if (failure) std::rethrow_exception(failure);
    if (!ok) raiseFrom("copy", done.get());
}

void PgConnection::copyIn(const QString& copyCommand,
                          const std::function<bool(std::string& buffer)>& produce) {
    Result start(PQexec(conn_, copyCommand.toUtf8().constData()));
    if (!start || PQresultStatus(start.get()) != PGRES_COPY_IN) raiseFrom("copy", start.get());
    start.reset();
    std::string buffer;
    buffer.reserve(kCopyInChunk * 2);
    auto send = [&] {
        if (!buffer.empty() &&
            PQputCopyData(conn_, buffer.data(), static_cast<int>(buffer.size())) != 1)
            raiseFrom("copy");
        buffer.clear();
    };
    try {
        bool more = true;
        while (more) {
            more = produce(buffer);
            if (buffer.size() >= kCopyInChunk || !more) send();
        }
    } catch (...) {
        PQputCopyEnd(conn_, "the rows could not be made");
        while (Result r{PQgetResult(conn_)}) {
        }
        throw;
    }
    if (PQputCopyEnd(conn_, nullptr) != 1) raiseFrom("copy");
    Result done(PQgetResult(conn_));
    const bool ok = done && PQresultStatus(done.get()) == PGRES_COMMAND_OK;
    while (Result more{PQgetResult(conn_)}) {
    }
    if (!ok) raiseFrom("copy", done.get());
}

void PgConnection::cancel() {
    std::lock_guard lock(cancelling_);
    if (!cancel_) return;
    char error[256];
    PQcancel(cancel_, error, sizeof error);
}

int PgConnection::socket() const {
    return PQsocket(conn_);
}

bool PgConnection::lost() {
    if (PQstatus(conn_) == CONNECTION_BAD) return true;
    pollfd fd{PQsocket(conn_), POLLIN, 0};
    if (fd.fd < 0) return true;
    if (::poll(&fd, 1, 0) <= 0) return false;
    // Between calls the server only speaks to say it is closing (or the peer has gone): read
    // what came, and the connection's state says which.
    if (!PQconsumeInput(conn_)) return true;
    while (PGnotify* n = PQnotifies(conn_))
        PQfreemem(n);
    return PQstatus(conn_) == CONNECTION_BAD;
}

QString PgConnection::serverVersion() const {
    const char* v = PQparameterStatus(conn_, "server_version");
    return v ? QString::fromUtf8(v).section(u' ', 0, 0) : QString();
}

QString PgConnection::quotedName(const QString& name) {
    QString q = name;
    q.replace(u'"', QStringLiteral("\"\""));
    return u'"' + q + u'"';
}

QString PgConnection::quotedLiteral(const QString& text) {
    QString q = text;
    q.replace(u'\'', QStringLiteral("''"));
    // With standard_conforming_strings (the default since 9.1) a backslash is an ordinary
    // character in '...'.
    return u'\'' + q + u'\'';
}

} // namespace jet
