#pragma once

// Compares two result sets as a site file's and a server site's answers to the same text are
// compared: the same field names and ADO types, the same rows with values of the same kinds;
// floating values to 12 significant digits (sums of doubles may add up in another order); texts
// without regard to case (a group's spelling is whichever row the engine met first). Rows in order
// where the text orders them, else as a multiset.

#include "recordset/Recordset.h"
#include "vb/Convert.h"

#include <QString>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <vector>

namespace testsupport {

inline bool floating(vb::VarType t) {
    return t == vb::VarType::Double || t == vb::VarType::Single;
}

inline bool sameValue(const vb::Variant& a, const vb::Variant& b) {
    if (a.type() != b.type()) return false;
    if (a.isNull() || a.isEmpty()) return true;
    if (a.isString()) return a.toString().compare(b.toString(), Qt::CaseInsensitive) == 0;
    if (floating(a.type())) {
        const double x = a.toDouble(), y = b.toDouble();
        if (x == y) return true;
        return std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y));
    }
    return vb::cstr(a) == vb::cstr(b);
}

// A row as text that sorts alike on both sides: kinds, texts folded, floats to 12 digits.
inline QString rowKey(const std::vector<vb::Variant>& row) {
    QStringList cells;
    for (const vb::Variant& v : row) {
        QString cell = QString::number(int(v.type())) + u':';
        if (v.isNull() || v.isEmpty())
            ;
        else if (v.isString())
            cell += v.toString().toCaseFolded();
        else if (floating(v.type()))
            cell += QString::number(v.toDouble(), 'g', 12);
        else
            cell += vb::cstr(v);
        cells << cell;
    }
    return cells.join(u'\x1f');
}

inline std::vector<std::vector<vb::Variant>> allRows(const rs::Recordset& set) {
    std::vector<std::vector<vb::Variant>> rows(set.recordCount());
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (int f = 0; f < set.fieldCount(); ++f)
            rows[r].push_back(set.valueAt(r, f));
    return rows;
}

// Empty when the two agree, else the first difference in words.
inline QString differences(const rs::Recordset& file, const rs::Recordset& server, bool ordered) {
    if (file.fieldCount() != server.fieldCount())
        return QStringLiteral("%1 fields on the file, %2 on the server")
            .arg(file.fieldCount())
            .arg(server.fieldCount());
    for (int f = 0; f < file.fieldCount(); ++f) {
        const rs::Field a = file.field(f), b = server.field(f);
        if (a.name() != b.name() || a.type() != b.type())
            return QStringLiteral("field %1: %2 (type %3) on the file, %4 (type %5) on the server")
                .arg(f)
                .arg(a.name())
                .arg(int(a.type()))
                .arg(b.name())
                .arg(int(b.type()));
    }
    auto a = allRows(file), b = allRows(server);
    if (a.size() != b.size())
        return QStringLiteral("%1 rows on the file, %2 on the server").arg(a.size()).arg(b.size());
    if (!ordered) {
        const auto byKey = [](const auto& x, const auto& y) { return rowKey(x) < rowKey(y); };
        std::sort(a.begin(), a.end(), byKey);
        std::sort(b.begin(), b.end(), byKey);
    }
    for (std::size_t r = 0; r < a.size(); ++r)
        for (std::size_t f = 0; f < a[r].size(); ++f)
            if (!sameValue(a[r][f], b[r][f]))
                return QStringLiteral("row %1, field %2: %3 (kind %4) on the file, %5 (kind %6) "
                                      "on the server")
                    .arg(r)
                    .arg(file.field(int(f)).name())
                    .arg(a[r][f].isNull() ? QStringLiteral("Null") : vb::cstr(a[r][f]))
                    .arg(int(a[r][f].type()))
                    .arg(b[r][f].isNull() ? QStringLiteral("Null") : vb::cstr(b[r][f]))
                    .arg(int(b[r][f].type()));
    return {};
}

} // namespace testsupport
