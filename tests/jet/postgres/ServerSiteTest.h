#pragma once

// The demo site file and the same site on the test cluster, made once per test program, and the
// comparison of a result set from each.

#include "support/DemoSite.h"
#include "support/ServerSite.h"
#include "support/VbTestSupport.h"
#include "vb/Convert.h"

#include <cmath>
#include <gtest/gtest.h>

namespace testsupport {

struct BothSites {
    std::unique_ptr<jet::SqliteDatabase> file;
    std::unique_ptr<PgScratchDatabase> database;
    std::unique_ptr<jet::PostgresDatabase> server;
};

// The demo site on both engines. Tests may add tables of their own; the demo's rows stay as made.
inline BothSites& bothSites() {
    static BothSites sites = [] {
        BothSites s;
        s.file = jet::SqliteDatabase::open(demoSite().path);
        s.database = std::make_unique<PgScratchDatabase>(QStringLiteral("diff"));
        s.server = openServer(*s.database);
        createSiteSchema(*s.server);
        copyRows(*s.file, *s.server);
        return s;
    }();
    return sites;
}

// Two values alike as the reports show them: floating values to 12 significant digits, texts
// without regard to case where asked (a group's spelling may differ).
inline bool sameValue(const vb::Variant& a, const vb::Variant& b, bool caseBlind) {
    if (a.type() != b.type()) return false;
    if (a.isNull() || a.isEmpty()) return true;
    if (a.type() == vb::VarType::Double || a.type() == vb::VarType::Single) {
        const double x = vb::cdbl(a), y = vb::cdbl(b);
        return x == y || std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y));
    }
    if (a.isString())
        return a.stringValue().compare(b.stringValue(),
                                       caseBlind ? Qt::CaseInsensitive : Qt::CaseSensitive) == 0;
    return vb::compare(a, b) == 0;
}

// What a text did on one engine: its rows, or the rows it changed, or its error.
struct Outcome {
    std::shared_ptr<rs::Recordset> rows;
    long long changed = -1;
    int error = 0;
    QString words;
};

template <typename Database> Outcome runOn(Database& db, const QString& text, bool readsRows) {
    Outcome out;
    try {
        if (readsRows)
            out.rows = db.query(text);
        else
            out.changed = db.execute(text);
    } catch (const vb::VbError& e) {
        out.error = e.number();
        out.words = e.description();
    }
    return out;
}

inline QString shown(const vb::Variant& v) {
    return v.isNull() ? QStringLiteral("Null")
                      : QStringLiteral("%1 [%2]").arg(vb::cstr(v)).arg(int(v.type()));
}

// Both results, column by column and row by row: names, ADO types, values; rows in the same order
// where the text orders them, else compared as sorted lists.
inline void expectSameRows(const rs::Recordset& file, const rs::Recordset& server, bool ordered,
                           bool caseBlind = true) {
    ASSERT_EQ(file.fieldCount(), server.fieldCount());
    for (int f = 0; f < file.fieldCount(); ++f) {
        EXPECT_EQ(file.field(f).name(), server.field(f).name());
        EXPECT_EQ(file.field(f).type(), server.field(f).type())
            << file.field(f).name().toStdString();
        EXPECT_EQ(file.field(f).definedSize(), server.field(f).definedSize())
            << file.field(f).name().toStdString();
    }
    ASSERT_EQ(file.recordCount(), server.recordCount());
    auto rowsOf = [&](const rs::Recordset& set) {
        std::vector<std::vector<vb::Variant>> rows(set.recordCount());
        for (std::size_t r = 0; r < rows.size(); ++r)
            for (int f = 0; f < set.fieldCount(); ++f)
                rows[r].push_back(set.valueAt(r, f));
        if (!ordered)
            std::sort(rows.begin(), rows.end(), [](const auto& x, const auto& y) {
                for (std::size_t i = 0; i < x.size(); ++i) {
                    const QString a = shown(x[i]).toLower(), b = shown(y[i]).toLower();
                    if (a != b) return a < b;
                }
                return false;
            });
        return rows;
    };
    const auto a = rowsOf(file), b = rowsOf(server);
    int reported = 0;
    for (std::size_t r = 0; r < a.size() && reported < 5; ++r)
        for (std::size_t f = 0; f < a[r].size(); ++f)
            if (!sameValue(a[r][f], b[r][f], caseBlind)) {
                ADD_FAILURE() << "row " << r << " column "
                              << file.field(int(f)).name().toStdString() << ": file "
                              << shown(a[r][f]).toStdString() << ", server "
                              << shown(b[r][f]).toStdString();
                ++reported;
            }
}

} // namespace testsupport
