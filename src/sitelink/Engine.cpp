#include "sitelink/Engine.h"

#include "jet/JetError.h"
#include "sitelink/PostgresEngine.h"
#include "sitelink/SqliteEngine.h"
#include "vb/VbError.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace sitelink {

namespace {

// "DROP TABLE tblTemp3".
bool dropsSessionTable(const QString& text) {
    static const QRegularExpression drop(
        QStringLiteral(R"(^\s*DROP\s+TABLE\s+\[?(tbltemp\d+)\]?\s*;?\s*$)"),
        QRegularExpression::CaseInsensitiveOption);
    return drop.match(text).hasMatch();
}

} // namespace

long long executeDroppingSessionTables(const QString& text,
                                       const std::function<long long(const QString&)>& run) {
    try {
        return run(text);
    } catch (const vb::VbError& e) {
        const bool missing =
            e.number() == jet::err::NoSuchTable || e.number() == jet::err::NoInputTable;
        if (missing && dropsSessionTable(text)) return 0;
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
    return PostgresEngine::open(params);
}

} // namespace sitelink
