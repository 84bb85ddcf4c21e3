#pragma once

#include "jet/SqliteDatabase.h"
#include "sitelink/Engine.h"
#include "sitelink/SessionRegistry.h"

namespace sitelink {

// A site file, through the dialect engine. It never creates a file: a missing, unreadable or
// corrupt one is refused at open with a message that says which. The site is shared in WAL mode;
// one that cannot be written here is read-only, and its writes say why.
class SqliteEngine : public Engine {
public:
    static std::unique_ptr<SqliteEngine> open(const QString& path);

    QString serverName() const override { return serverName_; }
    std::int16_t sessionIndex() const override { return lease_.index(); }
    std::shared_ptr<rs::Recordset> openRecordset(const QString& text,
                                                 const ReadProgress& progress) override;
    long long execute(const QString& text) override;
    void interrupt() override { db_->interrupt(); }
    void clearInterrupt() override { db_->clearInterrupt(); }
    QString goneReason() override;

private:
    SqliteEngine(std::unique_ptr<jet::SqliteDatabase> db, SessionLease lease, QString path,
                 QString serverName)
        : db_(std::move(db)), lease_(std::move(lease)), path_(std::move(path)),
          serverName_(std::move(serverName)) {}

    std::unique_ptr<jet::SqliteDatabase> db_;
    SessionLease lease_;
    QString path_;
    QString serverName_;
};

} // namespace sitelink
