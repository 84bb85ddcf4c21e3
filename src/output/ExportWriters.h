#pragma once

// The report files written from what the grid shows: comma-delimited text and an HTML table. Both
// walk the data rows as the grid orders them (after the grouping sort, folded groups included,
// group lines left out) with the columns in display order, and both write atomically: the file
// is built beside the target and renamed over it, so a failure or an exception leaves the old
// file (or none), never half a file. Rows stream to the file one line at a time.

#include "output/GroupingModel.h"

#include <QList>
#include <QString>
#include <functional>

namespace output {

// A report as the grid shows it: its rows, the source columns in display order, and the title an
// HTML page carries.
struct ShownReport {
    const GroupingModel& rows;
    QList<int> columns;
    QString title;
};

// Visits the source row of every data row in grid order, descending into every group whether the
// grid shows it folded or not.
void forEachDataRow(const GroupingModel& model, const std::function<void(int sourceRow)>& visit);

// Comma-delimited text, UTF-8 without a byte-order mark (so the first caption reads clean in a
// script), CRLF line ends (the files go to spreadsheet and desktop users): a line of column
// captions, then one line per row. Values are written in their default text form (Null as
// nothing), not the grid's display formats, so that a thousands separator or a weekday's comma
// never adds a column; nothing is quoted or escaped, so a comma inside a text value does add one.
// Returns false when the file cannot be written.
bool writeDelimitedText(const ShownReport& report, const QString& path);

// A complete UTF-8 HTML document holding one table: a header row of captions, then one table row
// per grid row with the values as the grid shows them (its column formats), every text escaped.
// Replaces an existing file. Returns false when the file cannot be written.
bool writeHtmlTable(const ShownReport& report, const QString& path);

} // namespace output
