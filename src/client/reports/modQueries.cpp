#include "reports/modQueries.h"

#include "reports/ReportGrid.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;

namespace modQueries {

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

void subFormatColumns(ReportGrid& grid, const std::shared_ptr<rs::Recordset>& records) {
    if (!records) return;
    for (int i = 0; i < records->fieldCount(); ++i) {
        const rs::Field field = records->field(i);
        grid.setColumnFormat(i, fncColumnFormat(field.type(), field.name()));
    }
}

void subAutoSizeColumns(ReportGrid& grid, bool blnEqual) {
    const int columns = grid.columnCount();
    if (!blnEqual) {
        for (int i = 0; i < columns; ++i)
            grid.setColumnWidth(i, grid.contentWidth(i));
        return;
    }
    if (columns == 0) vb::raise(vb::err::DivisionByZero);
    const double width = double(grid.width()) / columns;
    for (int i = 0; i < columns; ++i)
        grid.setColumnWidth(i, int(width));
}

} // namespace modQueries
