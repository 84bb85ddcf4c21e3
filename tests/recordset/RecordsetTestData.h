#pragma once

#include "recordset/Recordset.h"
#include "recordset/RecordsetBuilder.h"
#include "support/VbTestSupport.h"
#include "vb/Convert.h"

#include <QString>
#include <initializer_list>
#include <memory>
#include <vector>

namespace rstest {

struct FieldDef {
    QString name;
    rs::AdoType type;
    int definedSize = 0;
};

inline vb::Variant null() {
    return vb::Variant::null();
}

inline vb::Variant lng(std::int32_t v) {
    return vb::Variant(v);
}

inline vb::Variant money(double value) {
    return vb::Variant(vb::Currency::fromDouble(value));
}

inline vb::Variant date(const char* text) {
    return vb::Variant::date(*vb::parseDate(QString::fromUtf8(text), true));
}

inline std::shared_ptr<rs::Recordset>
makeRecordset(std::initializer_list<FieldDef> fields,
              std::initializer_list<std::vector<vb::Variant>> rows) {
    rs::RecordsetBuilder builder;
    for (const FieldDef& f : fields)
        builder.addField(f.name, f.type, f.definedSize);
    for (const auto& row : rows)
        builder.appendRow(row);
    return builder.finish();
}

// The "Id" (a Long) of every row the recordset shows, in its order; read without the cursor.
inline std::vector<int> ids(const rs::Recordset& records) {
    const int id = records.fieldIndex(u"Id");
    std::vector<int> out;
    for (std::size_t row = 0; row < records.recordCount(); ++row)
        out.push_back(records.valueAt(row, id).longValue());
    return out;
}

// The same, walking the cursor from the first row to EOF.
inline std::vector<int> idsByCursor(rs::Recordset& records) {
    std::vector<int> out;
    if (records.bof() && records.eof()) return out;
    for (records.moveFirst(); !records.eof(); records.moveNext())
        out.push_back(records.field(u"Id").value().longValue());
    return out;
}

// The message of the VbError a call raises (empty when it raises none).
template <typename F> QString messageOf(F&& f) {
    try {
        f();
    } catch (const vb::VbError& e) {
        return e.description();
    }
    return {};
}

} // namespace rstest
