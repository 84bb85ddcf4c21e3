// The demo written into a server site through COPY: each table's rows stream as COPY's text form
// while the generator makes them, so ten million transactions never sit in memory at once. The
// tables are found in the catalog whatever case their names were made in, and each value is
// written in the form its column takes (a date-time column a timestamp, a boolean t or f).

#include "site/DemoData.h"

#include "jet/PgConnection.h"
#include "jet/Storage.h"
#include "site/ServerSite.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <QStringList>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

namespace site {

namespace {

using namespace Qt::Literals::StringLiterals;

// The site lacks a table the demo fills: the dialect's "cannot find the input table".
constexpr int kNoTable = 3078;

enum class Form { Plain, Timestamp, Boolean };

struct ServerColumn {
    QString name; // as the catalog spells it
    Form form;
    QString sequence; // the counter behind an identity or serial column, else empty
};

struct ServerTable {
    QString name; // quoted as the search path reaches it
    std::vector<ServerColumn> columns;

    const ServerColumn* find(const char* column) const {
        for (const ServerColumn& c : columns)
            if (c.name.compare(QLatin1String(column), Qt::CaseInsensitive) == 0) return &c;
        return nullptr;
    }
};

Form formOf(const QString& type) {
    if (type.startsWith(QLatin1String("timestamp")) || type == QLatin1String("date"))
        return Form::Timestamp;
    return type == QLatin1String("bool") ? Form::Boolean : Form::Plain;
}

ServerTable lookUp(jet::PgConnection& server, const char* name) {
    const std::optional<QString> found = serverTable(server, name);
    if (!found)
        throw vb::VbError(kNoTable,
                          QStringLiteral("The site has no table %1.").arg(QLatin1String(name)));
    const QString table = jet::PgConnection::quotedLiteral(*found);
    ServerTable columns{*found, {}};
    for (const auto& row :
         server
             .query(QStringLiteral("SELECT a.attname, t.typname, pg_get_serial_sequence(%1, "
                                   "a.attname) FROM pg_attribute a JOIN pg_type t ON t.oid = "
                                   "a.atttypid WHERE a.attrelid = %1::regclass AND a.attnum > 0 "
                                   "AND NOT a.attisdropped ORDER BY a.attnum")
                        .arg(table))
             .rows)
        columns.columns.push_back({*row[0], formOf(*row[1]), row[2].value_or(QString())});
    return columns;
}

// Rows in COPY's text form: values separated by tabs, a row ended by a line feed.
class CopyRows final : public DemoRows {
public:
    explicit CopyRows(std::vector<Form> forms) : forms_(std::move(forms)) {}
    void writeTo(std::string& buffer) { out_ = &buffer; }

    DemoRows& integer(long long value) override { return digits(value); }
    DemoRows& number(double value) override { return digits(value); }
    DemoRows& text(const char* value) override { return escaped(value, std::strlen(value)); }
    DemoRows& text(const QByteArray& value) override {
        return escaped(value.constData(), static_cast<std::size_t>(value.size()));
    }
    DemoRows& moment(double serial) override {
        if (forms_[column_] != Form::Timestamp)
            return number(jet::storage::linearFromSerial(serial));
        const vb::DateParts p = vb::splitDate(serial);
        char text[24];
        const int n = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", p.year,
                                    p.month, p.day, p.hour, p.minute, p.second);
        out_->append(text, static_cast<std::size_t>(n));
        return next();
    }
    DemoRows& flag(bool value) override {
        if (forms_[column_] == Form::Boolean)
            out_->push_back(value ? 't' : 'f');
        else
            out_->append(value ? "-1" : "0");
        return next();
    }
    DemoRows& null() override {
        out_->append("\\N");
        return next();
    }
    void endRow() override {
        out_->back() = '\n';
        column_ = 0;
    }

private:
    template <typename T> DemoRows& digits(T value) {
        char text[32];
        const auto end = std::to_chars(text, text + sizeof text, value).ptr;
        out_->append(text, end);
        return next();
    }
    DemoRows& escaped(const char* value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const char c = value[i];
            if (c == '\\' || c == '\t' || c == '\n' || c == '\r') {
                out_->push_back('\\');
                out_->push_back(c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : c);
            } else
                out_->push_back(c);
        }
        return next();
    }
    DemoRows& next() {
        out_->push_back('\t');
        ++column_;
        return *this;
    }

    std::vector<Form> forms_;
    std::string* out_ = nullptr;
    std::size_t column_ = 0;
};

class CopySink final : public DemoSink {
public:
    explicit CopySink(jet::PgConnection& server) : server_(server) {}

    void begin() override {
        server_.exec(QStringLiteral("BEGIN"));
        // The indexes are built again after the copy, in memory where it fits.
        server_.exec(QStringLiteral("SET LOCAL maintenance_work_mem = '512MB'"));
    }
    bool holdsData() override {
        return server_
                   .query(QStringLiteral("SELECT EXISTS (SELECT 1 FROM %1) OR EXISTS (SELECT 1 "
                                         "FROM %2)")
                              .arg(table("tblTrans").name, table("tblActors").name))
                   .rows.front()[0] == QStringLiteral("t");
    }
    void empty() override { server_.exec(u"TRUNCATE "_s + demoTables() + u" RESTART IDENTITY"_s); }
    void fill(const DemoTable& demo, const std::function<bool(DemoRows&)>& produce) override {
        const ServerTable& target = table(demo.name);
        QStringList names;
        std::vector<Form> forms;
        for (const char* column : demo.columns) {
            const ServerColumn* c = target.find(column);
            if (!c)
                throw vb::VbError(kNoTable,
                                  QStringLiteral("The site's table %1 has no column %2.")
                                      .arg(QLatin1String(demo.name), QLatin1String(column)));
            names << jet::PgConnection::quotedName(c->name);
            forms.push_back(c->form);
        }
        const auto indexes = setIndexesAside(target);
        CopyRows rows(std::move(forms));
        server_.copyIn(
            QStringLiteral("COPY %1 (%2) FROM STDIN").arg(target.name, names.join(u", "_s)),
            [&](std::string& buffer) {
                rows.writeTo(buffer);
                return produce(rows);
            });
        for (const QString& definition : indexes)
            server_.exec(definition);
        // The counters go on after the ids the copy gave, as the file's do.
        for (const ServerColumn& c : target.columns)
            if (!c.sequence.isEmpty())
                server_.query(QStringLiteral("SELECT setval(%1, coalesce(max(%2), 0) + 1, false) "
                                             "FROM %3")
                                  .arg(jet::PgConnection::quotedLiteral(c.sequence),
                                       jet::PgConnection::quotedName(c.name), target.name));
    }
    void commit() override {
        server_.exec(QStringLiteral("COMMIT"));
        // The demo's tables alone: the rest of the server's catalog is a superuser's to analyze.
        server_.exec(u"ANALYZE "_s + demoTables());
    }
    void rollback() noexcept override {
        try {
            server_.exec(QStringLiteral("ROLLBACK"));
        } catch (...) {
            // A connection that is gone has rolled back by itself.
        }
    }

private:
    QString demoTables() {
        QStringList names;
        for (const char* name : kDemoTables)
            names << table(name).name;
        return names.join(u", "_s);
    }

    const ServerTable& table(const char* name) {
        auto found = tables_.find(name);
        if (found == tables_.end()) found = tables_.emplace(name, lookUp(server_, name)).first;
        return found->second;
    }

    // A large table fills several times faster without its secondary indexes, which are then
    // built once from the sorted rows. Only a role that owns the table may drop them; others
    // copy with the indexes in place. Returns the statements that make them again.
    QStringList setIndexesAside(const ServerTable& target) {
        const auto found = server_.query(
            QStringLiteral("SELECT i.indexrelid::regclass::text, pg_get_indexdef(i.indexrelid) "
                           "FROM pg_index i JOIN pg_class c ON c.oid = i.indrelid "
                           "WHERE i.indrelid = %1::regclass AND NOT i.indisprimary "
                           "AND NOT i.indisunique AND pg_has_role(c.relowner, 'USAGE')")
                .arg(jet::PgConnection::quotedLiteral(target.name)));
        QStringList definitions;
        for (const auto& row : found.rows) {
            server_.exec(u"DROP INDEX "_s + *row[0]);
            definitions << *row[1];
        }
        return definitions;
    }

    jet::PgConnection& server_;
    std::map<std::string, ServerTable> tables_; // by the demo's name; a map keeps them in place
};

} // namespace

DemoSummary writeDemo(jet::PgConnection& server, const DemoOptions& options, bool replace,
                      const DemoProgress& progress) {
    CopySink sink(server);
    return writeDemo(sink, options, replace, progress);
}

} // namespace site
