#include "site/DemoData.h"

#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <QByteArray>
#include <QString>

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

double cents(double amount) {
    return std::round(amount * 100) / 100;
}

// The keys are written, not left to the tables' counters, so that every sink holds the same ids
// whatever its counters do; a sink sets its counters past them.
constexpr const char* kClerkColumns[] = {"idfActorID", "fldActorCode", "fldActorlName",
                                         "fldActorfName"};
constexpr const char* kActionColumns[] = {"idfActionID", "fldActionCode", "fldActionDesc",
                                          "fldactioncritical"};
constexpr const char* kItemColumns[] = {"fldtransdesc"};
constexpr const char* kRegisterColumns[] = {"fldregnum", "fldregDVRAddress", "fldregdvrusername",
                                            "fldregdvrpassword", "fldregcam"};
constexpr const char* kTransColumns[] = {"idftransid",  "fldTransTime", "fldtransregnum",
                                         "fldTransQty", "fldTransDesc", "fldTransPrice",
                                         "fkyActionID", "fkyActorID"};

// Small tables go in one call.
void fillAll(DemoSink& sink, const DemoTable& table, const std::function<void(DemoRows&)>& rows) {
    sink.fill(table, [&](DemoRows& out) {
        rows(out);
        return false;
    });
}

void writeClerks(DemoSink& sink, Rng& rng, int count) {
    fillAll(sink, {"tblActors", kClerkColumns}, [&](DemoRows& out) {
        for (int i = 0; i < count; ++i) {
            out.integer(i + 1).text(QByteArray::number(1001 + i));
            out.text(kLastNames[rng.below(kLastNames.size())]);
            out.text(kFirstNames[rng.below(kFirstNames.size())]).endRow();
        }
    });
}

void writeActions(DemoSink& sink) {
    fillAll(sink, {"lkpActions", kActionColumns}, [](DemoRows& out) {
        long long id = 0;
        for (const ActionKind& a : kActions)
            out.integer(++id).text(a.code).text(a.description).flag(a.critical).endRow();
    });
}

void writeItems(DemoSink& sink) {
    fillAll(sink, {"tbltransdescs", kItemColumns}, [](DemoRows& out) {
        for (const Item& item : kItems)
            out.text(item.description).endRow();
    });
}

// Four registers to a recorder; the last register has no camera yet.
void writeRegisters(DemoSink& sink, int count) {
    fillAll(sink, {"tblreg", kRegisterColumns}, [count](DemoRows& out) {
        for (int reg = 1; reg <= count; ++reg) {
            const int dvr = (reg - 1) / kRegistersPerDvr;
            out.integer(reg)
                .text(QByteArray("10.20.1.") + QByteArray::number(50 + dvr))
                .text("dvradmin")
                .text(QByteArray("store") + QByteArray::number(7100 + dvr));
            if (reg == count)
                out.null();
            else
                out.integer((reg - 1) % kRegistersPerDvr + 1);
            out.endRow();
        }
    });
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

// A day's lines a call, so that a sink can send them on while the next day is planned.
void writeTransactions(DemoSink& sink, Rng& rng, const DemoOptions& options, double firstDay,
                       DemoSummary& summary, const DemoProgress& progress) {
    DayPlanner planner(options);
    int d = 0;
    sink.fill({"tblTrans", kTransColumns}, [&](DemoRows& out) {
        const double day = firstDay + d;
        const int lastSecond = lastSecondOf(options, day);
        // The whole day is planned even when it is cut short, so the days before it stay the
        // same rows whatever the end moment.
        for (const Line& line : planner.plan(rng, day)) {
            if (line.second > lastSecond) break;
            const ActionKind& action = kActions[line.action];
            out.integer(++summary.transactions)
                .moment(vb::joinSerial(static_cast<std::int64_t>(day), line.second))
                .integer(line.reg)
                .number(line.qty)
                .text(action.fixedText ? action.fixedText : kItems[line.item].description)
                .number(line.price)
                .integer(line.action + 1)
                .integer(line.actor)
                .endRow();
        }
        ++d;
        if (progress) progress(static_cast<int>(d * 100LL / options.days));
        return d < options.days;
    });
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

} // namespace

const std::array<const char*, 5> kDemoTables = {"tblTrans", "tblActors", "lkpActions",
                                                "tbltransdescs", "tblreg"};

double defaultEndDay() {
    return vb::dateSerial(2003, 3, 28);
}

DemoSummary writeDemo(DemoSink& sink, const DemoOptions& options, bool replace,
                      const DemoProgress& progress) {
    checkOptions(options);
    const double endDay = options.endDay != 0 ? std::floor(options.endDay) : defaultEndDay();
    sink.begin();
    try {
        if (sink.holdsData()) {
            if (!replace)
                throw vb::VbError(kSiteHoldsData,
                                  QStringLiteral("The site already holds data; use --replace "
                                                 "to write new demo data over it"));
            sink.empty();
        }
        Rng rng(options.seed);
        DemoSummary summary;
        writeClerks(sink, rng, options.clerks);
        writeActions(sink);
        writeItems(sink);
        writeRegisters(sink, options.registers);
        summary.items = static_cast<int>(kItems.size());
        writeTransactions(sink, rng, options, endDay - options.days + 1, summary, progress);
        sink.commit();
        return summary;
    } catch (...) {
        sink.rollback();
        throw;
    }
}

} // namespace site
