#include "sitelink/SqliteEngine.h"

#include "jet/Catalog.h"
#include "jet/JetError.h"
#include "vb/VbError.h"

#include <QFileInfo>
#include <QRegularExpression>
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

// "DROP TABLE tblTemp3": a two-stage report drops its table before the table first exists.
bool dropsSessionTable(const QString& text) {
    static const QRegularExpression drop(
        QStringLiteral(R"(^\s*DROP\s+TABLE\s+\[?(tbltemp\d+)\]?\s*;?\s*$)"),
        QRegularExpression::CaseInsensitiveOption);
    return drop.match(text).hasMatch();
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
    return std::unique_ptr<SqliteEngine>(new SqliteEngine(std::move(db), std::move(*lease), name));
}

std::shared_ptr<rs::Recordset> SqliteEngine::openRecordset(const QString& text,
                                                           const ReadProgress& progress) {
    return db_->query(text, progress);
}

long long SqliteEngine::execute(const QString& text) {
    try {
        return db_->execute(text);
    } catch (const vb::VbError& e) {
        if (e.number() == jet::err::NoSuchTable && dropsSessionTable(text)) return 0;
        throw;
    }
}

bool isSiteFileAddress(const QString& address) {
    // Servers are host, role@host or role@host/database; anything that looks like a path is a
    // site file, so that a mistyped path is reported as a missing file rather than a bad host.
    static const QRegularExpression siteSuffix(QStringLiteral(R"(\.(tsite|db|sqlite3?)$)"),
                                               QRegularExpression::CaseInsensitiveOption);
    if (QFileInfo(address).isFile()) return true;
    if (address.startsWith(u'/') || address.startsWith(u'.') || address.startsWith(u'~'))
        return true;
    if (address.contains(u'/') && !address.contains(u'@')) return true;
    return siteSuffix.match(address).hasMatch();
}

std::unique_ptr<Engine> openEngine(const ConnectParams& params) {
    if (isSiteFileAddress(params.address)) return SqliteEngine::open(params.address);
    throw jet::engineError(
        kSiteFileError, QStringLiteral("The site %1 is a server address; this build reaches site "
                                       "files only.")
                            .arg(params.address));
}

} // namespace sitelink
