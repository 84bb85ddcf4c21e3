#pragma once

#include "recordset/Column.h"

#include <QStringView>
#include <vector>

namespace rs::detail {

// Every stored row, ordered as an ADO sort text asks ("[Clerk] ASC, TransTime DESC"): stable,
// Null first ascending and last descending, texts ignoring case. Raises 3001 naming the problem.
std::vector<RowId> sortedRows(const Table& table, QStringView sortText);

} // namespace rs::detail
