#pragma once

// What the report output view does to its grid's columns: the display format of each column
// from its field, and the two-way auto-size.

#include "output/ColumnFormat.h"
#include "recordset/Recordset.h"

#include <QString>
#include <memory>

class ReportGrid;

namespace modQueries {

using output::fncColumnFormat;

// Formats grid column i from field i. A grid with fewer columns than the set has fields raises
// 9 at the first missing column; no set formats nothing.
void subFormatColumns(ReportGrid& grid, const std::shared_ptr<rs::Recordset>& records);

// blnEqual false: every column fits its caption and cells. True: every column gets the grid's
// width divided by the number of columns; a grid without columns raises 11 (Division by zero).
void subAutoSizeColumns(ReportGrid& grid, bool blnEqual);

} // namespace modQueries
