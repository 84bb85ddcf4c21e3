// The demo written into a site file: one prepared INSERT a table, bound value by value. Dates go
// in the site's own storage form, flags as the language's -1 and 0.

#include "site/DemoData.h"

#include "jet/SqliteDatabase.h"
#include "jet/Storage.h"
#include "vb/VbError.h"

#include <sqlite3.h>

namespace site {

namespace {

[[noreturn]] void fail(sqlite3* db) {
    throw vb::VbError(jet::kEngineErrorBase + (sqlite3_errcode(db) & 0xff),
                      QString::fromUtf8(sqlite3_errmsg(db)));
}

void exec(sqlite3* db, const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(db);
}

long long scalar(sqlite3* db, const char* sql) {
    sqlite3_stmt* stmt = nullptr;
    long long value = 0;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return value;
}

class Insert final : public DemoRows {
public:
    Insert(sqlite3* db, const DemoTable& table) : db_(db) {
        QByteArray sql = QByteArray("INSERT INTO ") + table.name + " (";
        QByteArray marks;
        for (const char* column : table.columns) {
            sql += QByteArray(marks.isEmpty() ? "" : ", ") + column;
            marks += marks.isEmpty() ? "?" : ", ?";
        }
        sql += ") VALUES (" + marks + ')';
        if (sqlite3_prepare_v2(db, sql.constData(), -1, &stmt_, nullptr) != SQLITE_OK) fail(db);
    }
    ~Insert() { sqlite3_finalize(stmt_); }
    Insert(const Insert&) = delete;
    Insert& operator=(const Insert&) = delete;

    DemoRows& integer(long long value) override {
        sqlite3_bind_int64(stmt_, ++column_, value);
        return *this;
    }
    DemoRows& number(double value) override {
        sqlite3_bind_double(stmt_, ++column_, value);
        return *this;
    }
    DemoRows& text(const char* value) override {
        sqlite3_bind_text(stmt_, ++column_, value, -1, SQLITE_STATIC);
        return *this;
    }
    DemoRows& text(const QByteArray& value) override {
        sqlite3_bind_text(stmt_, ++column_, value.constData(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }
    DemoRows& moment(double serial) override {
        return number(jet::storage::linearFromSerial(serial));
    }
    DemoRows& flag(bool value) override { return integer(value ? -1 : 0); }
    DemoRows& null() override {
        sqlite3_bind_null(stmt_, ++column_);
        return *this;
    }
    void endRow() override {
        if (sqlite3_step(stmt_) != SQLITE_DONE) fail(db_);
        sqlite3_reset(stmt_);
        column_ = 0;
    }

private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
    int column_ = 0;
};

class SqliteSink final : public DemoSink {
public:
    explicit SqliteSink(sqlite3* db) : db_(db) {}

    void begin() override {
        // A large cache keeps the four transaction indexes in memory while they grow.
        exec(db_, "PRAGMA cache_size = -262144");
        exec(db_, "BEGIN IMMEDIATE");
    }
    bool holdsData() override {
        return scalar(db_, "SELECT count(*) FROM tblTrans") > 0 ||
               scalar(db_, "SELECT count(*) FROM tblActors") > 0;
    }
    void empty() override {
        for (const char* table : kDemoTables)
            exec(db_, (QByteArray("DELETE FROM ") + table).constData());
        exec(db_, "DELETE FROM sqlite_sequence WHERE name IN ('tblTrans', 'tblActors', "
                  "'lkpActions')");
    }
    void fill(const DemoTable& table, const std::function<bool(DemoRows&)>& produce) override {
        Insert insert(db_, table);
        while (produce(insert)) {
        }
    }
    void commit() override {
        exec(db_, "COMMIT");
        exec(db_, "ANALYZE");
    }
    void rollback() noexcept override { sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr); }

private:
    sqlite3* db_;
};

} // namespace

DemoSummary writeDemo(sqlite3* db, const DemoOptions& options, bool replace,
                      const DemoProgress& progress) {
    SqliteSink sink(db);
    return writeDemo(sink, options, replace, progress);
}

} // namespace site
