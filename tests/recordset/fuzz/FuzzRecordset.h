#pragma once

// The recordset the filter and sort targets read.

#include "jet/fuzz/FuzzSupport.h"
#include "recordset/Recordset.h"
#include "recordset/RecordsetBuilder.h"
#include "vb/Regional.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace rsfuzz {

// A field of every kind of column the store keeps, each with a Null, ties, letters of both cases,
// signs, a date before 1899-12-30 and a Variant of every kind, so that every column's matching
// and keys are reached. The names are short for the fuzzer to find. Rows are stored in ascending
// Id order, so a stable sort breaks ties as a last key "Id" would.
inline std::shared_ptr<rs::Recordset> makeSample() {
    using rs::AdoType;
    using vb::Variant;
    const auto cy = [](double v) { return Variant(vb::Currency::fromDouble(v)); };
    const auto small = [](int v) { return Variant(static_cast<std::int16_t>(v)); };
    const Variant null = Variant::null();
    rs::RecordsetBuilder builder;
    builder.addField(QStringLiteral("Id"), AdoType::Integer);
    builder.addField(QStringLiteral("Qty"), AdoType::SmallInt);
    builder.addField(QStringLiteral("Price"), AdoType::Single);
    builder.addField(QStringLiteral("Total"), AdoType::Double);
    builder.addField(QStringLiteral("Amount"), AdoType::Currency);
    builder.addField(QStringLiteral("When"), AdoType::DBTimeStamp);
    builder.addField(QStringLiteral("Clerk"), AdoType::VarWChar, 20);
    builder.addField(QStringLiteral("Line Note"), AdoType::VarChar, 50);
    builder.addField(QStringLiteral("Active"), AdoType::Boolean);
    builder.addField(QStringLiteral("V"), AdoType::Variant);
    const std::vector<std::vector<Variant>> rows = {
        {Variant(-2147483647 - 1), small(1), Variant(1.1f), Variant(-1.5), cy(0),
         Variant::date(2958465.99), "MIT", "x y", Variant(true), Variant(-2.5)},
        {Variant(1), small(2), Variant(1.1f), Variant(2.5), cy(12.5), Variant::date(37703.5),
         "Smith", "first", Variant(true), Variant(5)},
        {Variant(2), small(-1), Variant(2.5f), Variant(-0.5), cy(7.25), Variant::date(37703.0),
         "smith", null, Variant(false), "Five"},
        {Variant(3), null, Variant(3.0f), null, null, Variant::date(-700.25), "Jones", "it's",
         Variant(true), Variant::date(37704.0)},
        {Variant(4), small(32767), null, Variant(1e300), cy(-922337203685477.0), null, "", "", null,
         Variant(true)},
        {Variant(5), small(1), Variant(-0.0f), Variant(2.5), cy(12.5), Variant::date(0.0), null,
         "Ünïcode", Variant(false), null},
    };
    for (const std::vector<Variant>& row : rows)
        builder.appendRow(row);
    return builder.finish();
}

// A fresh clone for each input, with no filter, no sort and its cursor on the first row, so that
// no input depends on the ones before it.
inline std::shared_ptr<rs::Recordset> freshSample() {
    static const std::shared_ptr<rs::Recordset> sample = [] {
        vb::Regional::setCurrent(vb::Regional::enUS());
        return makeSample();
    }();
    return sample->clone();
}

inline std::size_t sampleRows() {
    return freshSample()->recordCount();
}

// The Id of every row shown, in the recordset's order.
inline std::vector<int> idsOf(const rs::Recordset& records) {
    std::vector<int> ids;
    for (std::size_t row = 0; row < records.recordCount(); ++row)
        ids.push_back(records.valueAt(row, 0).longValue());
    return ids;
}

} // namespace rsfuzz
