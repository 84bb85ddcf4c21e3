#pragma once

// The display format of a report column, decided by its field alone, so a grid, a page and a file
// show a column alike.

#include "recordset/AdoType.h"
#include "vb/Variant.h"

#include <QString>

namespace output {

// The format a field of this type and exact name shows in: "Fixed", "Currency",
// "ddd, d mmm yyyy", "HH:nn:ss", "general date", or "" for the plain display.
QString fncColumnFormat(rs::AdoType type, const QString& name);

// The text a cell of this value shows under a column's format ("" for the plain text): Null, and
// a value the format cannot show (a serial past the last date), show empty.
QString shownText(const vb::Variant& value, const QString& format);

} // namespace output
