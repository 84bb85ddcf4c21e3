#include "chart/ChartData.h"

#include "vb/Convert.h"
#include "vb/VbError.h"

#include <limits>

namespace chart {

namespace {

std::int16_t fncInteger(std::size_t count) {
    if (count > std::size_t(std::numeric_limits<std::int16_t>::max())) vb::raise(vb::err::Overflow);
    return std::int16_t(count);
}

void subFillRow(const rs::Recordset& records, ChartData& data, int row) {
    data.rowLabels << vb::cstr(records.field(0).value());
    for (int c = 1; c <= data.columns; ++c) {
        const vb::Variant cell = records.field(c).value();
        data.values[std::size_t(row * data.columns + c - 1)] = cell.isNull() ? 0.0 : vb::cdbl(cell);
    }
}

} // namespace

ChartShape fncChartShape(rs::Recordset& records) {
    ChartShape shape;
    if (records.bof() && records.eof()) return shape;
    records.moveLast();
    shape.rowCount = fncInteger(records.recordCount());
    shape.lastColumn = fncInteger(std::size_t(records.fieldCount() - 1));
    return shape;
}

ChartData fncChartData(rs::Recordset& records, ChartShape shape) {
    ChartData data;
    data.rows = shape.rowCount;
    data.columns = shape.lastColumn;
    data.values.assign(std::size_t(data.rows) * std::size_t(data.columns), 0.0);
    try {
        records.moveFirst();
        data.firstAxisTitle = records.field(0).name();
        for (int c = 1; c <= data.columns; ++c)
            data.seriesLabels << records.field(c).name();
        for (int r = 0; r < data.rows && !records.eof(); ++r) {
            subFillRow(records, data, r);
            records.moveNext();
        }
    } catch (const vb::VbError&) {
        // Whatever stops the filling stops it quietly; the chart shows what it has.
    }
    return data;
}

} // namespace chart
