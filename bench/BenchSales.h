#pragma once

// A million sales lines of ten columns, as a large report's result set, made the same way by
// every benchmark that needs one; and the heap counter they measure memory with.

#include "recordset/Recordset.h"
#include "recordset/RecordsetBuilder.h"
#include "vb/DateTime.h"
#include "vb/Variant.h"

#include <array>
#include <cstdint>
#include <malloc.h>
#include <memory>
#include <vector>

namespace benchsales {

inline constexpr std::size_t kRows = 1'000'000;

// Deterministic on every platform, unlike the standard distributions.
class SplitMix {
public:
    explicit SplitMix(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }

private:
    std::uint64_t state_;
};

inline std::vector<QString> texts(std::initializer_list<const char*> words) {
    std::vector<QString> out;
    for (const char* w : words)
        out.push_back(QString::fromUtf8(w));
    return out;
}

inline const std::vector<QString>& clerks() {
    static const auto list = texts({"Maria", "John", "Aisha", "Chen", "Olga", "Pedro", "Fatima",
                                    "Liam", "Sofia", "Kenji", "Amara", "Noah"});
    return list;
}

inline const std::vector<QString>& items() {
    static const auto list = [] {
        std::vector<QString> out;
        for (int i = 0; i < 60; ++i)
            out.push_back(QStringLiteral("Item %1 Deluxe").arg(i));
        return out;
    }();
    return list;
}

inline const std::vector<QString>& actions() {
    static const auto list = texts({"Sale", "Refund", "Void", "No Sale", "Discount", "Price Check",
                                    "Drawer Open", "Manager Override"});
    return list;
}

enum class Columns { All, Numeric, Text };

inline bool wants(Columns which, bool numeric) {
    return which == Columns::All || (which == Columns::Numeric) == numeric;
}

inline std::shared_ptr<rs::Recordset> buildSales(Columns which, std::size_t rows = kRows) {
    rs::RecordsetBuilder builder;
    const std::array<std::pair<const char*, rs::AdoType>, 7> numeric{{
        {"TransTime", rs::AdoType::DBTimeStamp},
        {"Register", rs::AdoType::Integer},
        {"Receipt", rs::AdoType::Integer},
        {"Qty", rs::AdoType::SmallInt},
        {"Price", rs::AdoType::Double},
        {"Discount", rs::AdoType::Double},
        {"Amount", rs::AdoType::Currency},
    }};
    if (wants(which, true)) {
        for (const auto& [name, type] : numeric)
            builder.addField(name, type);
    }
    if (wants(which, false)) {
        builder.addField("Clerk", rs::AdoType::VarWChar, 20);
        builder.addField("Item", rs::AdoType::VarWChar, 40);
        builder.addField("Action", rs::AdoType::VarWChar, 20);
    }
    builder.reserve(rows);
    SplitMix rng(20030323);
    const double start = vb::joinSerial(vb::dayNumberFromCivil(2023, 1, 1), 0);
    std::vector<vb::Variant> row;
    for (std::size_t i = 0; i < rows; ++i) {
        row.clear();
        if (wants(which, true)) {
            const auto qty = static_cast<std::int16_t>(1 + rng.below(5));
            const double price = (50 + rng.below(20000)) / 100.0;
            row.push_back(vb::Variant::date(start + static_cast<double>(i) * 30 / 86400 +
                                            rng.below(20) / 86400.0));
            row.push_back(vb::Variant(std::int32_t(1 + rng.below(40))));
            row.push_back(vb::Variant(std::int32_t(i / 4)));
            row.push_back(vb::Variant(qty));
            row.push_back(vb::Variant(price));
            row.push_back(rng.below(20) == 0 ? vb::Variant::null()
                                             : vb::Variant(rng.below(100) / 100.0));
            row.push_back(vb::Variant(vb::Currency::fromDouble(price * qty)));
        }
        if (wants(which, false)) {
            row.emplace_back(clerks()[static_cast<std::size_t>(rng.below(12))]);
            row.emplace_back(items()[static_cast<std::size_t>(rng.below(60))]);
            row.emplace_back(actions()[static_cast<std::size_t>(rng.below(8))]);
        }
        builder.appendRow(row);
    }
    return builder.finish();
}

inline const std::shared_ptr<rs::Recordset>& sales() {
    static const auto records = buildSales(Columns::All);
    return records;
}

// Blocks in use, counting the large ones malloc maps separately (uordblks leaves them out).
inline std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace benchsales
