#pragma once

// Printing a result set for a person (aligned columns) or for a program (tab-separated values).
// Both write each value in its default text form under the regional forms, so what the tool
// prints is what the client would show before any column format.

#include "recordset/Recordset.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace site {

// The default text of a value; Null is written "Null" so that it differs from an empty text.
QString valueText(const vb::Variant& value);

// A backslash, tab, carriage return or line feed written as \\, \t, \r or \n, so that each row
// stays on one line and each value in one cell.
QString escapeCell(const QString& text);

// First line: the columns as name:code separated by tabs; then a line per row.
void writeTsv(const rs::Recordset& records, QTextStream& out);

// The columns with their type codes, a rule, the rows in aligned columns (numbers to the right,
// long texts cut), and the number of rows.
void writeTable(const rs::Recordset& records, QTextStream& out);

} // namespace site
