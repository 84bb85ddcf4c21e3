// Feeds arbitrary text through the whole dialect engine - tokenizer, parser, binder, SQLite
// generator - and runs what it accepts, as the client does, on a small site: the schema, the
// report templates and two days of demo data, so that the function library runs on real values.
// Each input runs in a transaction that is rolled back, so that none changes the site the next
// one sees, and SQLite gives up after a time budget, so that joining the tables to themselves
// ends too. Any failure other than a VbError is a finding.
#include "jet/fuzz/FuzzSupport.h"
#include "site/DemoData.h"
#include "site/SiteSchema.h"
#include "vb/DateTime.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

#include <sqlite3.h>

#include <chrono>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;

// Long enough for any query on a site this small; a statement still running by then has met
// rows that multiply, not a fault.
constexpr auto kBudget = std::chrono::milliseconds(50);
// Virtual machine steps between looks at the clock.
constexpr int kStepsPerCheck = 1000;
// The budget cannot stop a function body, which runs between steps, so the longest text bounds
// what one call may build instead. Far above any text the site holds, far below the engine's own
// limit, at which a short Space() or String() claims gigabytes; Replace still builds up to the
// square of it before SQLite refuses the result.
constexpr int kMaxTextBytes = 4096;

jet::SqliteDatabase& smallSite() {
    static const std::unique_ptr<jet::SqliteDatabase> db = [] {
        vb::Regional::setCurrent(vb::Regional::enUS());
        auto made = site::initSite(QStringLiteral(":memory:"), false);
        site::DemoOptions demo;
        demo.days = 2;
        demo.registers = 2;
        demo.clerks = 3;
        demo.perDay = 12;
        demo.endDay = vb::dateSerial(2003, 3, 24); // the day the seed corpus asks about
        site::writeDemo(made->handle(), demo, false);
        sqlite3_limit(made->handle(), SQLITE_LIMIT_LENGTH, kMaxTextBytes);
        return made;
    }();
    return *db;
}

int overBudget(void* deadline) {
    return Clock::now() > *static_cast<const Clock::time_point*>(deadline) ? 1 : 0;
}

// One input's run: a transaction and a deadline, both undone however the run ends.
class BudgetedTransaction {
public:
    explicit BudgetedTransaction(sqlite3* db) : db_(db), deadline_(Clock::now() + kBudget) {
        fuzzsupport::require(sqlite3_exec(db_, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK,
                             "each input starts with no transaction open");
        sqlite3_progress_handler(db_, kStepsPerCheck, overBudget, &deadline_);
    }
    ~BudgetedTransaction() {
        sqlite3_progress_handler(db_, 0, nullptr, nullptr);
        // An interrupted write may have rolled the transaction back already.
        if (!sqlite3_get_autocommit(db_)) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        fuzzsupport::require(sqlite3_get_autocommit(db_) != 0, "the rollback ends the transaction");
    }
    BudgetedTransaction(const BudgetedTransaction&) = delete;
    BudgetedTransaction& operator=(const BudgetedTransaction&) = delete;

private:
    sqlite3* db_;
    Clock::time_point deadline_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    jet::SqliteDatabase& db = smallSite();
    const QString text = fuzzsupport::textOf(data, size);
    int told = -1;
    const auto progress = [&](int percent) {
        fuzzsupport::require(percent >= told && percent <= 100, "progress rises up to 100");
        told = percent;
    };
    const BudgetedTransaction run(db.handle());
    try {
        db.query(text, progress);
        // A statement with effects reads no rows and tells nothing.
        fuzzsupport::require(told == -1 || told == 100, "a result read in full reports 100");
    } catch (const vb::VbError&) {
        // Refused by the dialect, failed in SQLite or in a function, or over budget: an answer.
    }
    return 0;
}
