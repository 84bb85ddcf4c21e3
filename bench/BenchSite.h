#pragma once

// The benchmarks' site: demo data of about a million transactions over the year 2003, made once
// per process in a temporary folder by the site tool's own code.

#include "jet/SqliteDatabase.h"
#include "site/DemoData.h"
#include "site/SiteSchema.h"
#include "vb/DateTime.h"

#include <QTemporaryDir>

#include <memory>

namespace benchsite {

using namespace Qt::Literals::StringLiterals;

inline QTemporaryDir& siteFolder() {
    static QTemporaryDir dir;
    return dir;
}

inline QString sitePath() {
    return siteFolder().filePath(u"bench.tsite"_s);
}

inline jet::SqliteDatabase& site(int count) {
    static std::unique_ptr<jet::SqliteDatabase> db = [count] {
        auto db = site::initSite(sitePath(), true);
        site::DemoOptions options;
        options.days = 365;
        options.endDay = vb::dateSerial(2003, 12, 31);
        options.registers = 20;
        options.clerks = 60;
        options.perDay = count / options.days;
        site::writeDemo(db->handle(), options, false);
        return db;
    }();
    return *db;
}

// The list search's rows written by hand in SQLite SQL over the site's own storage (dates as day
// serials): what the engine's translation is measured against.
inline QString handListSql(double from, double to) {
    return QStringLiteral(
               "SELECT CAST(t.fldTransTime AS INTEGER), t.fldTransTime - CAST(t.fldTransTime "
               "AS INTEGER), t.fldtransregnum, t.fldTransQty, t.fldTransDesc, t.fldTransPrice, "
               "a.fldActionCode, c.fldActorCode, c.fldActorlName || ', ' || c.fldActorfName "
               "FROM tblActors c JOIN tblTrans t ON c.idfActorID = t.fkyActorID JOIN lkpActions "
               "a ON a.idfActionID = t.fkyActionID WHERE t.fldTransTime BETWEEN %1 AND %2 "
               "ORDER BY t.fldTransTime, t.idftransid")
        .arg(from)
        .arg(to);
}

} // namespace benchsite
