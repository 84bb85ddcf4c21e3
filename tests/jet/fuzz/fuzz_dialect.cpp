// Feeds arbitrary text through the dialect engine's front half: tokenizer, parser, binder and
// SQLite generator, against the site schema. Nothing is executed, so a generated statement cannot
// hang the run; any failure other than the dialect's own errors is a finding.
#include "jet/SqliteDatabase.h"
#include "vb/VbError.h"

#include <QFile>
#include <cstddef>
#include <cstdint>

namespace {

jet::SqliteDatabase& site() {
    static std::unique_ptr<jet::SqliteDatabase> db = [] {
        auto db = jet::SqliteDatabase::open(QStringLiteral(":memory:"), true);
        QFile schema(QStringLiteral(TILLSIGHT_SCHEMA));
        if (schema.open(QIODevice::ReadOnly))
            db->executeScript(QString::fromUtf8(schema.readAll()));
        return db;
    }();
    return *db;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        site().translate(text);
    } catch (const vb::VbError&) {
        // The dialect refused the text: that is an answer, not a fault.
    }
    return 0;
}
