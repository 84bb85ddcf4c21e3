#pragma once

#include "jet/PgConnection.h"
#include "jet/PostgresDatabase.h"
#include "sitelink/Engine.h"

#include <memory>

namespace sitelink {

// A site on a PostgreSQL server, reached by host, role@host or role@host/database with the
// toolbar's port and password, through the dialect engine's PostgreSQL side. The session number
// is the first free one of a small range of advisory locks on the site's database, which the
// server frees when the connection ends, however it ends.
class PostgresEngine : public Engine {
public:
    static std::unique_ptr<PostgresEngine> open(const ConnectParams& params);

    QString serverName() const override { return serverName_; }
    std::int16_t sessionIndex() const override { return sessionIndex_; }
    std::shared_ptr<rs::Recordset> openRecordset(const QString& text,
                                                 const ReadProgress& progress) override;
    long long execute(const QString& text) override;
    void interrupt() override { db_->interrupt(); }
    void clearInterrupt() override { db_->clearInterrupt(); }
    QString goneReason() override;
    int watchSocket() const override { return db_->connection().socket(); }

private:
    explicit PostgresEngine(std::unique_ptr<jet::PostgresDatabase> db) : db_(std::move(db)) {}

    std::unique_ptr<jet::PostgresDatabase> db_;
    std::int16_t sessionIndex_ = 0;
    QString serverName_;
};

} // namespace sitelink
