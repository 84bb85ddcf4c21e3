#pragma once

#include "jet/SqliteFunctions.h"
#include "support/VbTestSupport.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <charconv>
#include <string>
#include <vector>

namespace dialecttest {

// A value as the tests spell it: Null, 5, 2.0, 'text', and a tag before tagged values (D:37703.5
// is a Date on the linear day line, C: Currency, B: Boolean). Seen from inside SQLite, because
// tags do not survive into a result row.
inline void describeValue(sqlite3_context* context, int, sqlite3_value** argv) {
    sqlite3_value* v = argv[0];
    std::string text;
    switch (sqlite3_value_type(v)) {
    case SQLITE_NULL:
        text = "Null";
        break;
    case SQLITE_INTEGER:
        text = std::to_string(sqlite3_value_int64(v));
        break;
    case SQLITE_FLOAT: {
        char buf[64];
        const auto end = std::to_chars(buf, buf + sizeof buf, sqlite3_value_double(v)).ptr;
        text.assign(buf, end);
        if (text.find_first_of(".en") == std::string::npos) text += ".0";
        break;
    }
    default:
        text = "'" + std::string(reinterpret_cast<const char*>(sqlite3_value_text(v))) + "'";
    }
    if (const unsigned tag = sqlite3_value_subtype(v))
        text = std::string(1, char(tag)) + ":" + text;
    sqlite3_result_text(context, text.c_str(), -1, SQLITE_TRANSIENT);
}

// An in-memory connection with the dialect's functions, under en-US regional forms.
class DialectSqlTest : public testsupport::EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
        jet::registerDialectFunctions(db);
        sqlite3_create_function(db, "test_describe", 1, SQLITE_UTF8 | SQLITE_SUBTYPE, nullptr,
                                describeValue, nullptr, nullptr);
    }
    void TearDown() override { sqlite3_close(db); }

    void exec(const std::string& sql) {
        char* message = nullptr;
        const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
        ASSERT_EQ(rc, SQLITE_OK) << (message ? message : "") << "\n" << sql;
    }

    // The first column of every row, each as text (NULL as "Null"); a failure as "error: " and
    // SQLite's message.
    std::vector<std::string> column(const std::string& sql) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
            return {"error: " + std::string(sqlite3_errmsg(db))};
        std::vector<std::string> rows;
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
            rows.push_back(text ? text : "Null");
        }
        if (rc != SQLITE_DONE) rows = {"error: " + std::string(sqlite3_errmsg(db))};
        sqlite3_finalize(stmt);
        return rows;
    }

    std::string scalar(const std::string& sql) {
        const std::vector<std::string> rows = column(sql);
        return rows.empty() ? "no row" : rows.front();
    }

    // The value of a dialect expression, described as describeValue() spells it.
    std::string describe(const std::string& expression) {
        return scalar("SELECT test_describe(" + expression + ")");
    }

    struct Case {
        const char* expression;
        const char* expected;
    };
    void expectAll(const std::vector<Case>& cases) {
        for (const Case& c : cases)
            EXPECT_EQ(describe(c.expression), c.expected) << c.expression;
    }

    sqlite3* db = nullptr;
};

} // namespace dialecttest
