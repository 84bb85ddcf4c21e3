#include "output/clsExcel.h"

#include "core/Session.h"
#include "core/modError.h"
#include "output/XlsWriter.h"
#include "vb/VbError.h"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

// A header row and one empty row below the data fill the 65,536 rows of a sheet.
constexpr std::size_t kMaxDataRows = 65534;
// The sheet's block always ended in an empty column after the fields, so a set fills at most
// 255 of the sheet's 256 columns.
constexpr int kMaxFields = output::XlsWriter::kMaxColumns - 1;

output::XlsCell cellOf(const vb::Variant& value) {
    using output::XlsCell;
    switch (value.type()) {
    case vb::VarType::Empty:
    case vb::VarType::Null:
        return XlsCell::text(QString());
    case vb::VarType::Boolean:
        return XlsCell::boolean(value.boolValue());
    case vb::VarType::Integer:
        return XlsCell::number(value.integerValue());
    case vb::VarType::Long:
        return XlsCell::number(value.longValue());
    case vb::VarType::Single:
        return XlsCell::number(value.singleValue());
    case vb::VarType::Double:
        return XlsCell::number(value.doubleValue());
    case vb::VarType::Currency:
        return XlsCell::currency(value.currencyValue().toDouble());
    case vb::VarType::Date:
        return XlsCell::date(value.dateValue());
    case vb::VarType::String:
        return XlsCell::text(value.stringValue());
    }
    return XlsCell::text(QString());
}

void addRow(output::XlsWriter& sheet, const std::vector<output::XlsCell>& cells) {
    if (!sheet.addRow(cells)) throw vb::VbError(vb::err::SubscriptOutOfRange, sheet.error());
}

// True for as long as it lives.
class FlagScope {
public:
    explicit FlagScope(bool& flag) : flag_(flag) { flag_ = true; }
    ~FlagScope() { flag_ = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

private:
    bool& flag_;
};

} // namespace

clsExcel::clsExcel(core::Session& session, QObject* parent) : QObject(parent), session_(session) {}

clsExcel::~clsExcel() = default;

void clsExcel::subShowMessage(const QString& text) const {
    if (core::MessageSink* sink = session_.messages())
        sink->messageBox(text, QString(), core::vbOKOnly);
}

void clsExcel::subCreateExcel(std::shared_ptr<rs::Recordset>& xRS, const QString& xstrFileName) {
    const FlagScope running(busy_);
    completed_ = false;
    // The caller may let go of its set while progress events run.
    const std::shared_ptr<rs::Recordset> records = xRS;
    if (!records) return subShowMessage(u"Invalid recordset. Cannot export to Excel."_s);
    if (records->bof() && records->eof())
        return subShowMessage(u"No Data. Cannot export to Excel."_s);
    try {
        records->moveLast();
        if (records->recordCount() > kMaxDataRows)
            return subShowMessage(u"More than 65534 records. Cannot export to Excel."_s);
        session_.busy().beginBusy();
        if (records->fieldCount() > kMaxFields)
            throw vb::VbError(vb::err::SubscriptOutOfRange,
                              u"A sheet has 256 columns, the last kept empty; this set has %1 "
                              u"fields."_s.arg(records->fieldCount()));
        output::XlsWriter sheet;
        const bool copied = subCopyRecords(*records, sheet);
        if (!sheet.save(xstrFileName))
            throw vb::VbError(vb::err::PathFileAccessError, sheet.error());
        completed_ = copied;
        // Only a finished export ends the hourglass: after a failure it stays until some later
        // action resets it, as the client has always behaved.
        session_.busy().endBusy();
    } catch (const vb::VbError& error) {
        modError::subLogError(session_, error, u"clsExcel"_s, u"subCreateExcel"_s);
    }
}

bool clsExcel::subCopyRecords(rs::Recordset& records, output::XlsWriter& sheet) {
    bool copied = true;
    try {
        records.moveLast();
        const int rows = int(std::min(records.recordCount(), kMaxDataRows));
        std::vector<rs::Field> fields;
        std::vector<output::XlsCell> cells;
        for (int f = 0; f < records.fieldCount(); ++f) {
            fields.push_back(records.field(f));
            cells.push_back(output::XlsCell::text(fields.back().name()));
        }
        addRow(sheet, cells);
        records.moveFirst();
        int lastReported = 0;
        for (int r = 1; r <= rows; ++r) {
            for (std::size_t f = 0; f < fields.size(); ++f)
                cells[f] = cellOf(fields[f].value());
            addRow(sheet, cells);
            subReportPercent(r, rows, lastReported);
            records.moveNext();
        }
    } catch (const vb::VbError& error) {
        modError::subLogError(session_, error, u"clsExcel"_s, u"subCopyRecords"_s);
        copied = false;
    }
    int done = 0;
    emit OnPercentChange(done);
    return copied;
}

// Only a change of the whole percentage is told, so a listener that lets events run does so
// about a hundred times, however many rows there are.
void clsExcel::subReportPercent(int row, int rows, int& lastReported) {
    int percent = int(std::nearbyint(double(row) / rows * 100));
    if (percent == lastReported) return;
    lastReported = percent;
    emit OnPercentChange(percent);
}
