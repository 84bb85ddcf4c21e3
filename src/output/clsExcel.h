#pragma once

// The spreadsheet export: a result set written as a one-sheet .xls workbook by our own writer.
// Made for one export and released after it. The sheet holds a header row of field names, the
// rows in the set's cursor order (nulls as empty text) and nothing else; the classic block's
// empty last row and column are simply not written.

#include "recordset/Recordset.h"

#include <QObject>
#include <QString>
#include <memory>

namespace core {
class Session;
}
namespace output {
class XlsWriter;
}

class clsExcel : public QObject {
    Q_OBJECT
public:
    // Messages go to the session's message sink (none: not shown), failures to its log, the
    // hourglass to its busy indicator.
    explicit clsExcel(core::Session& session, QObject* parent = nullptr);
    ~clsExcel() override;

    // Writes `xRS` to `xstrFileName`, replacing the file. An unset or empty set, or one of 65,535
    // rows or more, is told in a message and nothing is written; a set of more fields than a sheet
    // has columns for is logged and nothing is written. The export holds its own reference to the
    // set while it runs, so a view that lets events run may drop its own.
    void subCreateExcel(std::shared_ptr<rs::Recordset>& xRS, const QString& xstrFileName);

    // Whether the last subCreateExcel saved the whole set. A copy that failed part way still saves
    // the rows copied before the failure, as the export always has; a caller that must never leave
    // a partial file behind (the headless runner) removes it when this is false.
    bool completed() const { return completed_; }

    // True from the start of subCreateExcel to its end, events run in between included.
    bool busy() const { return busy_; }

signals:
    // 1 to 100 as rows are copied, only when the whole percentage changes; 0 when copying is over
    // (or failed).
    void OnPercentChange(int& PercentDone);

private:
    void subShowMessage(const QString& text) const;
    // Streams the set's rows into the sheet from the first row on; true when every row went in.
    // A failure is logged and ends the copy, and the rows copied so far stay in the sheet.
    bool subCopyRecords(rs::Recordset& records, output::XlsWriter& sheet);
    void subReportPercent(int row, int rows, int& lastReported);

    core::Session& session_;
    bool completed_ = false;
    bool busy_ = false;
};
