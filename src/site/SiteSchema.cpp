#include "site/SiteSchema.h"

#include "vb/VbError.h"

#include <QFile>
#include <QFileInfo>

namespace site {

namespace {
// File-level failures use the engine's "cannot open" number so callers report them alike.
constexpr int kFileError = jet::kEngineErrorBase + 14;
} // namespace

bool siteFileInUse(const QString& path) {
    const QFileInfo info(path);
    return info.exists() && (info.isDir() || info.size() > 0);
}

std::unique_ptr<jet::SqliteDatabase> initSite(const QString& path, bool force) {
    if (QFileInfo(path).isDir())
        throw vb::VbError(kFileError, QStringLiteral("'%1' is a folder").arg(path));
    if (siteFileInUse(path)) {
        if (!force)
            throw vb::VbError(
                kFileError,
                QStringLiteral("'%1' already exists; use --force to replace it").arg(path));
        if (!QFile::remove(path))
            throw vb::VbError(kFileError, QStringLiteral("Cannot remove '%1'").arg(path));
    }
    auto db = jet::SqliteDatabase::open(path, true);
    try {
        // Clients read for long; in WAL mode their reads never hold up another client's write. A
        // site in memory (the fuzzer's) has one client and no log to share.
        const bool inMemory = path == QStringLiteral(":memory:");
        if (!inMemory && !db->useWriteAheadLog())
            throw vb::VbError(kFileError,
                              QStringLiteral("'%1' cannot be put in WAL mode").arg(path));
        db->executeScript(schemaText());
        db->executeScript(fixedReportsText());
    } catch (const vb::VbError&) {
        // Half a site would be taken for a whole one by the next run.
        db.reset();
        QFile::remove(path);
        throw;
    }
    return db;
}

std::unique_ptr<jet::SqliteDatabase> openExistingSite(const QString& path) {
    // SQLite would happily open a missing path as a new empty database with some flags; make
    // the refusal explicit and independent of them.
    if (!QFileInfo(path).isFile())
        throw vb::VbError(kFileError,
                          QStringLiteral("The site file '%1' does not exist").arg(path));
    return jet::SqliteDatabase::openSite(path);
}

} // namespace site
