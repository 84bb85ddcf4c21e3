#pragma once

// An HTML document (the Daily Summary) on paper. Its cells ask not to wrap, as a browser honours;
// the rich text engine needs that said in a style sheet, or names and numbers break across lines
// of a narrow column. A smaller type lets a table of a dozen codes fit the page's width.

#include <QString>

class QPagedPaintDevice;
class QTextDocument;

namespace output {

// Keeps every table cell on one line, as the document's cells ask; for screen and paper alike.
void subKeepCellsOnOneLine(QTextDocument& document);

// Fills `document` with `html` laid out for printing.
void fncPrepareForPaper(QTextDocument& document, const QString& html);

// Prints `html` on every page of `device` it needs.
void subPrintDocument(const QString& html, QPagedPaintDevice& device);

} // namespace output
