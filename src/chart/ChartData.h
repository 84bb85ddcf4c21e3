#pragma once

// What a chart shows of a result set: one label column, then one series per further column. The
// grid is kept as the set has it, row r for the r-th record and column c for field c (both from
// 0 here); how it is laid out in space is the bar chart's business.

#include "recordset/Recordset.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <vector>

namespace chart {

struct ChartData {
    QString firstAxisTitle; // field 0's name
    QStringList rowLabels;  // field 0 of each record reached, as text
    QStringList seriesLabels;
    int rows = 0;
    int columns = 0;
    std::vector<double> values; // rows x columns, row by row; unfilled cells stay 0

    double value(int row, int column) const { return values[std::size_t(row * columns + column)]; }
};

// The counts the view takes as it loads, in 16 bits as it has always kept them.
struct ChartShape {
    std::int16_t rowCount = 0;
    std::int16_t lastColumn = 0;
};

// Moves the set to its last row to count it. A set of more than 32,767 rows raises 6 (Overflow).
ChartShape fncChartShape(rs::Recordset& records);

// Fills the chart from the first row on. A Null charts as 0. The first failure (a value that is
// not a number, a label that is Null) ends the filling silently: what was filled stays.
ChartData fncChartData(rs::Recordset& records, ChartShape shape);

} // namespace chart
