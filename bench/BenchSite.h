#pragma once

// A site of synthetic transactions for benchmarks: clerks, action codes and `count`
// transactions spread evenly over the year 2003, with the site's indexes.

#include "jet/SqliteDatabase.h"
#include "vb/DateTime.h"

#include <QFile>
#include <QTemporaryDir>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

namespace benchsite {

using namespace Qt::Literals::StringLiterals;

inline const double kFirstDay = vb::dateSerial(2003, 1, 1);

inline void exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        fprintf(stderr, "%s\n", error);
        std::abort();
    }
}

inline void fill(sqlite3* db, int count) {
    exec(db, "BEGIN");
    for (int i = 1; i <= 60; ++i)
        exec(db,
             QStringLiteral("INSERT INTO tblActors (fldActorCode, fldActorlName, fldActorfName) "
                            "VALUES ('C%1', 'Last%1', 'First%1')")
                 .arg(i)
                 .toUtf8()
                 .constData());
    for (int i = 1; i <= 20; ++i)
        exec(db, QStringLiteral("INSERT INTO lkpActions (fldActionCode, fldActionDesc, "
                                "fldactioncritical) VALUES ('A%1', 'Action %1', %2)")
                     .arg(i)
                     .arg(i % 4 == 0 ? -1 : 0)
                     .toUtf8()
                     .constData());
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(
        db,
        "INSERT INTO tblTrans (fldTransTime, fldtransregnum, fldTransQty, "
        "fldTransDesc, fldTransPrice, fkyActionID, fkyActorID) VALUES (?,?,?,?,?,?,?)",
        -1, &insert, nullptr);
    std::mt19937 rng(7);
    const char* items[] = {"MILK", "BREAD", "CIGARETTES", "COFFEE", "NEWSPAPER", "GUM", "WATER"};
    double t = kFirstDay;
    for (int i = 0; i < count; ++i) {
        t += 365.0 / count;
        sqlite3_bind_double(insert, 1, t);
        sqlite3_bind_int(insert, 2, 1 + static_cast<int>(rng() % 20));
        sqlite3_bind_double(insert, 3, 1 + rng() % 3);
        sqlite3_bind_text(insert, 4, items[rng() % 7], -1, SQLITE_STATIC);
        sqlite3_bind_double(insert, 5, static_cast<double>(rng() % 5000) / 100);
        sqlite3_bind_int(insert, 6, 1 + static_cast<int>(rng() % 20));
        sqlite3_bind_int(insert, 7, 1 + static_cast<int>(rng() % 60));
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    exec(db, "COMMIT");
    exec(db, "CREATE INDEX ixTransTime ON tblTrans (fldTransTime)");
    exec(db, "CREATE INDEX ixTransAction ON tblTrans (fkyActionID)");
    exec(db, "CREATE INDEX ixTransActor ON tblTrans (fkyActorID)");
    exec(db, "CREATE INDEX ixTransReg ON tblTrans (fldtransregnum)");
    exec(db, "ANALYZE");
}

inline QTemporaryDir& siteFolder() {
    static QTemporaryDir dir;
    return dir;
}

inline QString sitePath() {
    return siteFolder().filePath(u"bench.tsite"_s);
}

// Made once per process in a temporary folder.
inline jet::SqliteDatabase& site(int count) {
    static std::unique_ptr<jet::SqliteDatabase> db = [count] {
        auto db = jet::SqliteDatabase::open(sitePath(), true);
        QFile schema(QStringLiteral(TILLSIGHT_SCHEMA));
        schema.open(QIODevice::ReadOnly);
        db->executeScript(QString::fromUtf8(schema.readAll()));
        fill(db->handle(), count);
        return db;
    }();
    return *db;
}

} // namespace benchsite
