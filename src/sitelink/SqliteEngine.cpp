#include "sitelink/SqliteEngine.h"

#include "jet/Catalog.h"
#include "jet/JetError.h"
#include "vb/VbError.h"

#include <QFileInfo>
#include <sqlite3.h>

namespace sitelink {

namespace {

constexpr int kSiteFileError = 3044; // the dialect's "not a valid path" family
static_assert(kCanceled == jet::kCanceledError);

[[noreturn]] void refuse(const QString& message) {
    throw jet::engineError(kSiteFileError, message);
}

// Reading the schema touches the file's first pages: a file that is not a database, or a
// damaged one, fails here rather than in the middle of the first query.
void checkReadable(jet::SqliteDatabase& db, const QString& path) {
    sqlite3_stmt* stmt = nullptr;
    int rc =
        sqlite3_prepare_v2(db.handle(), "SELECT count(*) FROM sqlite_master", -1, &stmt, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_step(stmt);
    const QString text = QString::fromUtf8(sqlite3_errmsg(db.handle()));
    sqlite3_finalize(stmt);
    if (rc != SQLITE_ROW)
        refuse(QStringLiteral("The site file %1 cannot be read: %2").arg(path, text));
}

} // namespace

std::unique_ptr<SqliteEngine> SqliteEngine::open(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists()) refuse(QStringLiteral("The site file %1 does not exist.").arg(path));
    if (!info.isFile()) refuse(QStringLiteral("%1 is not a site file.").arg(path));
    if (!info.isReadable())
        refuse(QStringLiteral("The site file %1 cannot be read: permission denied.").arg(path));
    auto db = jet::SqliteDatabase::openSite(info.absoluteFilePath());
    checkReadable(*db, path);
    QString error;
    auto lease = SessionLease::acquire(info.absoluteFilePath(), &error);
    if (!lease) refuse(error);
    const QString name =
        QStringLiteral("%1 (SQLite %2, session %3)")
            .arg(info.completeBaseName(), QString::fromLatin1(sqlite3_libversion()))
            .arg(lease->index());
    return std::unique_ptr<SqliteEngine>(
        new SqliteEngine(std::move(db), std::move(*lease), path, name));
}

std::shared_ptr<rs::Recordset> SqliteEngine::openRecordset(const QString& text,
                                                           const ReadProgress& progress) {
    return db_->query(text, progress);
}

long long SqliteEngine::execute(const QString& text) {
    return executeDroppingSessionTables(text, [this](const QString& t) { return db_->execute(t); });
}

QString SqliteEngine::goneReason() {
    if (QFileInfo::exists(path_)) return {};
    return QStringLiteral("The site file %1 is gone.").arg(path_);
}

} // namespace sitelink
