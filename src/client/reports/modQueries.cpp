#include "reports/modQueries.h"

#include "reports/ReportGrid.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;

namespace modQueries {

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
