#pragma once

#include "recordset/Column.h"

#include <QStringView>

namespace rs::detail {

// Reads ADO filter criteria ("Clerk = 'Ann' AND Total > 20") and decides them for every stored
// row. Raises 3001 with a message naming the problem.
RowMask evaluateFilter(const Table& table, QStringView criteria);

} // namespace rs::detail
