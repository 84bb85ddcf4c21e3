#include "output/ColumnFormat.h"

#include "vb/Convert.h"
#include "vb/Format.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;

namespace output {

QString fncColumnFormat(rs::AdoType type, const QString& name) {
    switch (type) {
    case rs::AdoType::Single:
    case rs::AdoType::Double:
        return u"Fixed"_s;
    case rs::AdoType::Currency:
        return u"Currency"_s;
    case rs::AdoType::Date:
        if (name == u"Date") return u"ddd, d mmm yyyy"_s;
        if (name == u"Time") return u"HH:nn:ss"_s;
        return u"general date"_s;
    default:
        return QString();
    }
}

// Painting a grid must not fail on one cell.
QString shownText(const vb::Variant& value, const QString& format) {
    if (value.isNull()) return {};
    try {
        return format.isEmpty() ? vb::cstr(value) : vb::format(value, format);
    } catch (const vb::VbError&) {
        return {};
    }
}

} // namespace output
