#include "site/DemoData.h"

#include "jet/SqliteDatabase.h"
#include "jet/Storage.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <QByteArray>
#include <QString>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <vector>

namespace site {

namespace {

// SplitMix64: tiny, fast and the same on every platform and library, which the standard
// distributions are not; the data must not change with the compiler.
class Rng {
public:
    explicit Rng(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    bool chance(double p) { return unit() < p; }
    // An index drawn with the given weights.
    int weighted(std::span<const int> weights) {
        const int total = std::accumulate(weights.begin(), weights.end(), 0);
        int pick = below(total);
        for (std::size_t i = 0; i < weights.size(); ++i) {
            if (pick < weights[i]) return static_cast<int>(i);
            pick -= weights[i];
        }
        return static_cast<int>(weights.size()) - 1;
    }

private:
    std::uint64_t state_;
};

// How a code's price and quantity follow from the item rung up.
enum class PriceRule {
    Sale,
    Reversal,
    Cancel,
    Discount,
    Coupon,
    Override,
    Nothing,
    PaidOut,
    PaidIn
};

struct ActionKind {
    const char* code;
    const char* description;
    bool critical;
    int weight; // per ten thousand lines; sign-on and sign-off happen at shift changes instead
    PriceRule rule;
    const char* fixedText; // the line's text when it is not an item
};

constexpr std::array kActions = {
    ActionKind{"SALE", "Sale", false, 8380, PriceRule::Sale, nullptr},
    ActionKind{"VOID", "Void line", true, 350, PriceRule::Reversal, nullptr},
    ActionKind{"NOSALE", "No sale, drawer opened", true, 180, PriceRule::Nothing, "NO SALE"},
    ActionKind{"REFUND", "Refund", true, 140, PriceRule::Reversal, nullptr},
    ActionKind{"DISC", "Discount", false, 300, PriceRule::Discount, nullptr},
    ActionKind{"COUPON", "Coupon", false, 150, PriceRule::Coupon, "COUPON"},
    ActionKind{"PRICEOVR", "Price override", true, 100, PriceRule::Override, nullptr},
    ActionKind{"LINECORR", "Line correction", false, 280, PriceRule::Reversal, nullptr},
    ActionKind{"CANCEL", "Transaction cancelled", true, 50, PriceRule::Cancel, nullptr},
    ActionKind{"PAIDOUT", "Paid out of drawer", true, 40, PriceRule::PaidOut, "PAID OUT"},
    ActionKind{"PAIDIN", "Paid into drawer", false, 30, PriceRule::PaidIn, "PAID IN"},
    ActionKind{"SIGNON", "Clerk signed on", false, 0, PriceRule::Nothing, "SIGN ON"},
    ActionKind{"SIGNOFF", "Clerk signed off", false, 0, PriceRule::Nothing, "SIGN OFF"},
};
constexpr int kSignOn = 11;
constexpr int kSignOff = 12;

struct Item {
    const char* description;
    int cents;
};

constexpr std::array kItems = {
    Item{"MILK 2% 1 GAL", 349},
    Item{"MILK WHOLE 1/2 GAL", 229},
    Item{"WHITE BREAD", 229},
    Item{"WHEAT BREAD", 279},
    Item{"EGGS LARGE DOZEN", 289},
    Item{"BUTTER 1 LB", 449},
    Item{"COFFEE 12 OZ", 699},
    Item{"COFFEE CUP 16 OZ", 179},
    Item{"COLA 2 LTR", 219},
    Item{"COLA 12 PK", 599},
    Item{"SPRING WATER 24 PK", 499},
    Item{"ORANGE JUICE 64 OZ", 379},
    Item{"BANANAS", 69},
    Item{"APPLES 3 LB BAG", 399},
    Item{"POTATO CHIPS", 329},
    Item{"PRETZELS", 279},
    Item{"CHOCOLATE BAR", 129},
    Item{"CHEWING GUM", 119},
    Item{"CIGARETTES", 789},
    Item{"CIGARS 5 PK", 649},
    Item{"LOTTERY TICKET", 200},
    Item{"NEWSPAPER", 150},
    Item{"MAGAZINE", 499},
    Item{"PHONE CARD", 2000},
    Item{"BATTERIES AA 4 PK", 599},
    Item{"LIGHT BULBS 2 PK", 449},
    Item{"PAPER TOWELS", 199},
    Item{"TOILET TISSUE 4 PK", 349},
    Item{"DISH SOAP", 259},
    Item{"LAUNDRY DETERGENT", 899},
    Item{"DOG FOOD 8 LB", 799},
    Item{"CAT FOOD CAN", 89},
    Item{"ICE 10 LB", 249},
    Item{"CHARCOAL 10 LB", 699},
    Item{"MOTOR OIL 1 QT", 479},
    Item{"WINDSHIELD FLUID", 299},
    Item{"BEER 6 PK", 799},
    Item{"BEER 12 PK", 1399},
    Item{"WINE 750 ML", 1099},
    Item{"ASPIRIN 100 CT", 599},
    Item{"TOOTHPASTE", 329},
    Item{"SHAMPOO", 449},
    Item{"FROZEN PIZZA", 549},
    Item{"ICE CREAM 1/2 GAL", 499},
    Item{"HOT DOG", 199},
    Item{"SANDWICH", 449},
    Item{"DONUT", 99},
    Item{"MUFFIN", 149},
    Item{"GIFT CARD", 2500},
    Item{"PROPANE EXCHANGE", 1999},
};

constexpr std::array kFirstNames = {
    "Maria", "James",  "Linda",    "Robert", "Patricia", "Michael", "Barbara", "David",
    "Susan", "Carlos", "Jennifer", "Kevin",  "Angela",   "Brian",   "Nicole",  "Jose",
    "Karen", "Tyrone", "Mei",      "Ahmed",  "Olga",     "Dmitri",  "Fatima",  "Sean",
    "Priya", "Luis",   "Grace",    "Tomas",  "Aisha",    "Hiro",
};
constexpr std::array kLastNames = {
    "Garcia", "Smith",  "Johnson",  "Nguyen", "Brown",  "Williams", "Lopez",   "Miller",
    "Davis",  "Wilson", "Anderson", "Taylor", "Thomas", "Moore",    "Jackson", "Martin",
    "Lee",    "Harris", "Clark",    "Lewis",  "Walker", "Hall",     "Young",   "King",
    "Wright", "Scott",  "Green",    "Baker",  "Adams",  "Nelson",
};

// Transactions per hour of the day, 07:00 to 21:59: a morning rush, lunch and the drive home.
constexpr std::array kHourWeights = {5, 9, 8, 6, 7, 11, 12, 8, 6, 7, 10, 12, 9, 6, 4};
constexpr int kOpeningHour = 7;
constexpr int kShiftChange = 14 * 3600 + 30 * 60;
constexpr int kClosing = 22 * 3600;
// Monday to Sunday, in percent of an average day.
constexpr std::array kWeekdayShare = {90, 85, 90, 100, 120, 130, 85};

constexpr int kRegistersPerDvr = 4;

struct Line {
    int second;
    int reg;
    int action;
    int item;
    int actor; // a clerk's row number; beyond the clerk table for the few orphan lines
    double qty;
    double price;
};

class Writer {
public:
    Writer(sqlite3* db, const char* sql) : db_(db) {
        if (sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr) != SQLITE_OK) fail();
    }
    ~Writer() { sqlite3_finalize(stmt_); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    Writer& text(int i, const char* value) {
        sqlite3_bind_text(stmt_, i, value, -1, SQLITE_STATIC);
        return *this;
    }
    Writer& text(int i, const QByteArray& value) {
        sqlite3_bind_text(stmt_, i, value.constData(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }
    Writer& number(int i, double value) {
        sqlite3_bind_double(stmt_, i, value);
        return *this;
    }
    Writer& integer(int i, long long value) {
        sqlite3_bind_int64(stmt_, i, value);
        return *this;
    }
    Writer& null(int i) {
        sqlite3_bind_null(stmt_, i);
        return *this;
    }
    void run() {
        if (sqlite3_step(stmt_) != SQLITE_DONE) fail();
        sqlite3_reset(stmt_);
    }

    [[noreturn]] void fail() const {
        throw vb::VbError(jet::kEngineErrorBase + (sqlite3_errcode(db_) & 0xff),
                          QString::fromUtf8(sqlite3_errmsg(db_)));
    }

private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
};

void exec(sqlite3* db, const char* sql) {
    Writer(db, sql).run();
}

long long scalar(sqlite3* db, const char* sql) {
    sqlite3_stmt* stmt = nullptr;
    long long value = 0;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return value;
}

double cents(double amount) {
    return std::round(amount * 100) / 100;
}

void writeClerks(sqlite3* db, Rng& rng, int count) {
    Writer insert(db, "INSERT INTO tblActors (fldActorCode, fldActorlName, fldActorfName) "
                      "VALUES (?, ?, ?)");
    for (int i = 0; i < count; ++i)
        insert.text(1, QByteArray::number(1001 + i))
            .text(2, kLastNames[rng.below(kLastNames.size())])
            .text(3, kFirstNames[rng.below(kFirstNames.size())])
            .run();
}

void writeActions(sqlite3* db) {
    Writer insert(db, "INSERT INTO lkpActions (fldActionCode, fldActionDesc, fldactioncritical) "
                      "VALUES (?, ?, ?)");
    for (const ActionKind& a : kActions)
        insert.text(1, a.code).text(2, a.description).integer(3, a.critical ? -1 : 0).run();
}

void writeItems(sqlite3* db) {
    Writer insert(db, "INSERT INTO tbltransdescs (fldtransdesc) VALUES (?)");
    for (const Item& item : kItems)
        insert.text(1, item.description).run();
}

// Four registers to a recorder; the last register has no camera yet.
void writeRegisters(sqlite3* db, int count) {
    Writer insert(db, "INSERT INTO tblreg (fldregnum, fldregDVRAddress, fldregdvrusername, "
                      "fldregdvrpassword, fldregcam) VALUES (?, ?, ?, ?, ?)");
    for (int reg = 1; reg <= count; ++reg) {
        const int dvr = (reg - 1) / kRegistersPerDvr;
        insert.integer(1, reg)
            .text(2, QByteArray("10.20.1.") + QByteArray::number(50 + dvr))
            .text(3, "dvradmin")
            .text(4, QByteArray("store") + QByteArray::number(7100 + dvr));
        if (reg == count)
            insert.null(5);
        else
            insert.integer(5, (reg - 1) % kRegistersPerDvr + 1);
        insert.run();
    }
}

// Price and quantity of a line, from its code and the item rung up.
void priceLine(Rng& rng, Line& line) {
    const double unit = kItems[line.item].cents / 100.0;
    const int qtyRoll = rng.below(100);
    const double qty = qtyRoll < 82 ? 1 : qtyRoll < 94 ? 2 : 3 + rng.below(4);
    switch (kActions[line.action].rule) {
    case PriceRule::Sale:
        line.qty = qty;
        line.price = cents(unit * qty);
        break;
    case PriceRule::Reversal:
        line.qty = -qty;
        line.price = -cents(unit * qty);
        break;
    case PriceRule::Cancel: // a whole basket taken back
        line.qty = -(2 + rng.below(8));
        line.price = -cents(unit * -line.qty * (1 + rng.unit()));
        break;
    case PriceRule::Discount:
        line.qty = 1;
        line.price = -cents(unit * (0.05 + 0.05 * rng.below(4)));
        break;
    case PriceRule::Coupon:
        line.qty = 1;
        line.price = -0.25 * (1 + rng.below(8));
        break;
    case PriceRule::Override:
        line.qty = 1;
        line.price = cents(unit * (0.5 + 0.45 * rng.unit()));
        break;
    case PriceRule::PaidOut:
        line.qty = 0;
        line.price = -(5.0 * (1 + rng.below(20)));
        break;
    case PriceRule::PaidIn:
        line.qty = 0;
        line.price = 20.0 * (1 + rng.below(10));
        break;
    case PriceRule::Nothing:
        line.qty = 0;
        line.price = 0;
        break;
    }
}

class DayPlanner {
public:
    DayPlanner(const DemoOptions& options) : options_(options) {
        for (int reg = 1; reg <= options.registers; ++reg)
            registerWeights_.push_back(options.registers - reg + 3); // the first lanes are busier
        for (const ActionKind& a : kActions)
            actionWeights_.push_back(a.weight);
    }

    // The lines of one day, in time order. Each register has a morning and an evening clerk,
    // who sign on and off; one line of the day belongs to a clerk the site no longer lists.
    std::vector<Line> plan(Rng& rng, double day) {
        const int weekday = vb::weekday(day, 2) - 1; // 0 is Monday
        const double share = kWeekdayShare[weekday] / 100.0 * (0.9 + 0.2 * rng.unit());
        const int count = std::max(1, static_cast<int>(std::lround(options_.perDay * share)));
        std::vector<int> staff(options_.clerks);
        std::iota(staff.begin(), staff.end(), 1);
        for (int i = options_.clerks - 1; i > 0; --i)
            std::swap(staff[i], staff[rng.below(i + 1)]);
        auto clerkOf = [&](int reg, int second) {
            const int slot = (reg - 1) * 2 + (second >= kShiftChange ? 1 : 0);
            return staff[slot % options_.clerks];
        };

        std::vector<Line> lines;
        lines.reserve(count + 4 * options_.registers);
        for (int reg = 1; reg <= options_.registers; ++reg) {
            for (int shiftStart : {kOpeningHour * 3600, kShiftChange}) {
                const int shiftEnd = shiftStart == kShiftChange ? kClosing - 1 : kShiftChange - 1;
                const int clerk = clerkOf(reg, shiftStart);
                lines.push_back({shiftStart + rng.below(300), reg, kSignOn, 0, clerk, 0, 0});
                lines.push_back({shiftEnd - rng.below(300), reg, kSignOff, 0, clerk, 0, 0});
            }
        }
        for (int i = 0; i < count; ++i) {
            Line line{};
            line.second = (kOpeningHour + rng.weighted(kHourWeights)) * 3600 + rng.below(3600);
            line.reg = 1 + rng.weighted(registerWeights_);
            line.action = rng.weighted(actionWeights_);
            line.item = rng.below(kItems.size());
            line.actor = clerkOf(line.reg, line.second);
            priceLine(rng, line);
            lines.push_back(line);
        }
        const std::size_t firstSale = 4 * options_.registers;
        lines[firstSale + rng.below(count)].actor = options_.clerks + 1 + rng.below(3);
        std::stable_sort(lines.begin(), lines.end(),
                         [](const Line& a, const Line& b) { return a.second < b.second; });
        return lines;
    }

private:
    const DemoOptions& options_;
    std::vector<int> registerWeights_;
    std::vector<int> actionWeights_;
};

// The last second of `day` that is written: the end moment's on its own day, else the whole day.
int lastSecondOf(const DemoOptions& options, double day) {
    if (options.endMoment == 0) return 86399;
    const vb::DayAndSecond end = vb::splitSerial(options.endMoment);
    return end.day == static_cast<std::int64_t>(day) ? end.second : 86399;
}

void writeTransactions(sqlite3* db, Rng& rng, const DemoOptions& options, double firstDay,
                       DemoSummary& summary, const DemoProgress& progress) {
    Writer insert(db, "INSERT INTO tblTrans (fldTransTime, fldtransregnum, fldTransQty, "
                      "fldTransDesc, fldTransPrice, fkyActionID, fkyActorID) "
                      "VALUES (?, ?, ?, ?, ?, ?, ?)");
    DayPlanner planner(options);
    for (int d = 0; d < options.days; ++d) {
        const double day = firstDay + d;
        const int lastSecond = lastSecondOf(options, day);
        // The whole day is planned even when it is cut short, so the days before it stay the
        // same rows whatever the end moment.
        for (const Line& line : planner.plan(rng, day)) {
            if (line.second > lastSecond) break;
            const ActionKind& action = kActions[line.action];
            const double serial = vb::joinSerial(static_cast<std::int64_t>(day), line.second);
            insert.number(1, jet::storage::linearFromSerial(serial))
                .integer(2, line.reg)
                .number(3, line.qty)
                .text(4, action.fixedText ? action.fixedText : kItems[line.item].description)
                .number(5, line.price)
                .integer(6, line.action + 1)
                .integer(7, line.actor)
                .run();
            ++summary.transactions;
        }
        if (progress) progress(static_cast<int>((d + 1) * 100LL / options.days));
    }
}

void checkOptions(const DemoOptions& o) {
    auto require = [](bool ok, const char* what) {
        if (!ok) throw vb::VbError(5, QString::fromUtf8(what));
    };
    require(o.days >= 1 && o.days <= 36500, "--days must be between 1 and 36500");
    require(o.registers >= 1 && o.registers <= 999, "--registers must be between 1 and 999");
    require(o.clerks >= 1 && o.clerks <= 9000, "--clerks must be between 1 and 9000");
    require(o.perDay >= 1 && o.perDay <= 10'000'000, "--per-day must be between 1 and 10000000");
}

void emptyDemoTables(sqlite3* db) {
    for (const char* sql :
         {"DELETE FROM tblTrans", "DELETE FROM tblActors", "DELETE FROM lkpActions",
          "DELETE FROM tbltransdescs", "DELETE FROM tblreg",
          "DELETE FROM sqlite_sequence WHERE name IN ('tblTrans', 'tblActors', 'lkpActions')"})
        exec(db, sql);
}

} // namespace

double defaultEndDay() {
    return vb::dateSerial(2003, 3, 28);
}

DemoSummary writeDemo(sqlite3* db, const DemoOptions& options, bool replace,
                      const DemoProgress& progress) {
    checkOptions(options);
    const double endDay = options.endDay != 0 ? std::floor(options.endDay) : defaultEndDay();
    // A large cache keeps the four transaction indexes in memory while they grow.
    exec(db, "PRAGMA cache_size = -262144");
    exec(db, "BEGIN IMMEDIATE");
    try {
        if (scalar(db, "SELECT count(*) FROM tblTrans") > 0 ||
            scalar(db, "SELECT count(*) FROM tblActors") > 0) {
            if (!replace)
                throw vb::VbError(jet::kEngineErrorBase + SQLITE_CONSTRAINT,
                                  QStringLiteral("The site already holds data; use --replace "
                                                 "to write new demo data over it"));
            emptyDemoTables(db);
        }
        Rng rng(options.seed);
        DemoSummary summary;
        writeClerks(db, rng, options.clerks);
        writeActions(db);
        writeItems(db);
        writeRegisters(db, options.registers);
        summary.items = static_cast<int>(kItems.size());
        writeTransactions(db, rng, options, endDay - options.days + 1, summary, progress);
        exec(db, "COMMIT");
        exec(db, "ANALYZE");
        return summary;
    } catch (...) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

} // namespace site
