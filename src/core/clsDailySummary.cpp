#include "core/clsDailySummary.h"

#include "core/modFixedReports.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::int32_t kDayCountsReport = 7;
constexpr std::int32_t kAverageClerkReport = 25;
constexpr std::int32_t kAverageByClerkReport = 20;
constexpr int kAveragedDays = 30;
const QString kCrLf = u"\r\n"_s;

const QString kHeaderCell = u"<TD align=\"Middle\" valign=\"CENTER\" bgcolor=\"#C0C0C0\" "
                            "width=\"9%\"><font color=\"#000000\" face=\"MS Sans Serif\" "
                            "size=\"-1\" weight=\"1\">"_s;

double addDays(double date, int days) {
    return vb::dateAdd(vb::Interval::Day, days, date);
}

QString shortDate(double date) {
    return vb::formatDate(date, u"Short Date"_s);
}

QString yearFirst(double date) {
    return vb::formatDate(date, u"yyyy/mm/dd"_s);
}

QString cellHTML(const rs::Field& field) {
    const vb::Variant value = field.value();
    // The number test comes first: a Null average goes through the number format too.
    if (field.type() == rs::AdoType::Single || field.type() == rs::AdoType::Double)
        return u"<TD NOWRAP>"_s + vb::format(value, u"0.00"_s) + u"</TD>"_s;
    if (value.isNull()) return u"<TD NOWRAP>&nbsp;</TD>"_s;
    return u"<TD NOWRAP>"_s + vb::cstr(value) + u"</TD>"_s;
}

} // namespace

clsDailySummary::clsDailySummary(core::Session& session) : session_(session) {}

void clsDailySummary::setReportDate(double date) {
    mdtReportDate = date;
    mstrTitle = u"Daily Summary Report - "_s + vb::formatDate(date, u"Long Date"_s);
    mstrCountsCaption =
        u"On "_s + shortDate(date) + u" each clerk had these counts of each action code"_s;
    mstrOverallCaption = u"During the 30 days "_s + fncThirtyDayPeriod(date) +
                         u" the average clerk had these counts per day"_s;
    mstrAvgByClerkCaption = u"During the 30 days "_s + fncThirtyDayPeriod(date) +
                            u" each clerk had an average of these counts per day"_s;
    mstrAvgByClerkChartCaption =
        u"Average Code Counts per Day by Clerk "_s + fncThirtyDayPeriod(date);
    mstrCountsChartCaption = u"Code Counts by Clerk for "_s + shortDate(date);
    mrsCounts = modFixedReports::fncRunFixedReport(session_, kDayCountsReport, fncDayCriteria(date),
                                                   false, mintSessionIndex);
    mrsOverall = modFixedReports::fncRunFixedReport(
        session_, kAverageClerkReport, fncThirtyDayCriteria(date), false, mintSessionIndex);
    mrsAvgByClerk = modFixedReports::fncRunFixedReport(
        session_, kAverageByClerkReport, fncThirtyDayCriteria(date), false, mintSessionIndex);
    mstrHTML = fncBuildHTML();
}

// Both bounds are inclusive: a transaction at midnight ending the day counts in it.
QString clsDailySummary::fncDayCriteria(double date) {
    return u" tblTrans.fldTransTime  between #"_s + yearFirst(date) + u" 00:00:00"_s +
           u"# and #"_s + yearFirst(addDays(date, 1)) + u" 00:00:00"_s + u"#"_s;
}

// The start in the default date text, the end year first: the two forms are the ones sites'
// stored reports have always been given.
QString clsDailySummary::fncThirtyDayCriteria(double date) {
    const double day = vb::cdate(vb::Variant(yearFirst(date)));
    const QString start = vb::cstr(vb::Variant::date(addDays(day, -kAveragedDays)));
    const QString end =
        yearFirst(addDays(vb::cdate(vb::Variant(start)), kAveragedDays)) + u" 00:00:00"_s;
    return u" tblTrans.fldTransTime between #"_s + start + u"# and #"_s + end + u"#"_s;
}

QString clsDailySummary::fncThirtyDayPeriod(double date) {
    const QString start = shortDate(addDays(date, -kAveragedDays)) + u" 00:00"_s;
    const QString end = shortDate(addDays(vb::cdate(vb::Variant(start)), kAveragedDays));
    return start + u" - "_s + end + u" 00:00"_s + u" "_s;
}

QString clsDailySummary::fncBuildHTML() const {
    QString html = u"<html>"_s + kCrLf + u"<head>"_s + kCrLf;
    html += u"<title>"_s + mstrTitle + u"</title>"_s + kCrLf;
    html += u"</head>"_s + kCrLf + u"<body>"_s + kCrLf;
    html += u"<H1>"_s + mstrTitle + u"</H1>"_s + kCrLf;
    const auto section = [&html](const QString& caption,
                                 const std::shared_ptr<rs::Recordset>& table) {
        if (!rs::fncHasRecords(table)) return;
        html += u"<p>"_s + caption + u"<p>"_s + kCrLf + fncTableHTML(table);
    };
    section(mstrCountsCaption, mrsCounts);
    section(mstrOverallCaption, mrsOverall);
    section(mstrAvgByClerkCaption, mrsAvgByClerk);
    html += u"</body>"_s + kCrLf + u"</html>"_s;
    return html;
}

QString clsDailySummary::fncTableHTML(const std::shared_ptr<rs::Recordset>& records) {
    if (!rs::fncHasRecords(records)) return {};
    const int columns = records->fieldCount();
    QString html = u"<TABLE BORDER>"_s + kCrLf + u"<TR>"_s + kCrLf;
    for (int i = 0; i < columns; ++i)
        html += kHeaderCell + records->field(i).name() + u"</font></TD>"_s + kCrLf;
    html += u"</TR>"_s + kCrLf;
    for (records->moveFirst(); !records->eof(); records->moveNext()) {
        html += u"<TR>"_s + kCrLf;
        for (int i = 0; i < columns; ++i)
            html += cellHTML(records->field(i)) + kCrLf;
        html += u"</TR>"_s + kCrLf;
    }
    html += u"</TABLE>"_s + kCrLf;
    return html;
}
