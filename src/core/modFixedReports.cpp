#include "core/modFixedReports.h"

#include "core/Session.h"
#include "core/TransactionQuery.h"
#include "core/modError.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/Strings.h"
#include "vb/VbError.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace modFixedReports {

namespace {

// Reports whose title gains "Critical " when the box limits them to critical codes.
const QString kActionCodesCategory = u"Action Codes"_s;

QString text(const char16_t* constant) {
    return QString::fromUtf16(constant);
}

QString selected(const char16_t* expression, const char16_t* heading) {
    return text(expression) + u" as ["_s + text(heading) + u"]"_s;
}

vb::Variant column(rs::Recordset& reports, const char16_t* name) {
    return reports.field(QStringView(name)).value();
}

void filterTo(rs::Recordset& reports, const QString& id) {
    reports.setFilter(u"idffixedreportID = "_s + id);
}

// The first stage refills the session's table; its row then hands over to the second stage.
void runCommandStage(core::Session& session, rs::Recordset& reports, bool criticalOnly,
                     const QString& interval, std::int16_t sessionIndex) {
    sitelink::SiteLink& link = session.TillsightLink();
    const QString command = fncExpandPlaceholders(vb::cstr(column(reports, u"fldSQL")),
                                                  criticalOnly, interval, sessionIndex);
    link.Execute(u"DROP TABLE "_s + fncTempTableName(link.SessionIndex()));
    session.stopIfCanceled();
    link.Execute(command);
    session.stopIfCanceled();
    filterTo(reports, vb::cstr(column(reports, u"fldsubquery")));
}

} // namespace

QString fncTempTableName(std::int16_t session) {
    return u"tblTemp"_s + QString::number(session);
}

QString fncExpandPlaceholders(const QString& sql, bool criticalOnly, const QString& interval,
                              std::int16_t session) {
    using namespace core;
    // Each pass sees the text the passes before it left, so the order is part of the contract:
    // an interval criterion is expanded further by "<Critical>" and "<tblname>", never by the
    // column placeholders, on every site alike.
    const std::array<std::pair<const char16_t*, QString>, 13> replacements{{
        {u"<SelAction>", selected(kActionLabel, u"Code")},
        {u"<AggAction>", text(kActionLabel)},
        {u"<SelClk>", selected(kClerkLabel, u"Clerk")},
        {u"<AggClk>", text(kClerkLabel)},
        {u"<Selreg>", selected(kRegister, u"Register")},
        {u"<Aggreg>", text(kRegister)},
        {u"<SelDate>", selected(kTransDate, u"Date")},
        {u"<AggDate>", text(kTransDate)},
        {u"<SelTime>", selected(kTransTime, u"Time")},
        {u"<AggTime>", text(kTransTime)},
        {u"<Interval>", interval},
        {u"<Critical>", criticalOnly ? text(kCriticalOnly) : u"TRUE"_s},
        {u"<tblname>", fncTempTableName(session)},
    }};
    QString expanded = sql;
    for (const auto& [placeholder, replacement] : replacements)
        expanded = vb::fncReplace(std::move(expanded), text(placeholder), replacement);
    return expanded;
}

std::shared_ptr<rs::Recordset> fncRunFixedReport(core::Session& session, std::int32_t reportId,
                                                 const QString& interval, bool criticalOnly,
                                                 std::int16_t sessionIndex) {
    const core::BusyScope busy(session.busy());
    std::shared_ptr<rs::Recordset> result;
    try {
        rs::Recordset& reports = session.fixedReports();
        filterTo(reports, QString::number(reportId));
        if (vb::cbool(column(reports, u"fldCommand")))
            runCommandStage(session, reports, criticalOnly, interval, sessionIndex);
        const QString caption = vb::cstr(column(reports, u"fldReportTitle"));
        // The session is asked again: the second stage reads the table the link's session owns.
        const QString query = fncExpandPlaceholders(vb::cstr(column(reports, u"fldSQL")),
                                                    criticalOnly, interval, session.SessionIndex());
        result = session.TillsightLink().OpenRecordset(query, caption);
        reports.setFilter(QString());
    } catch (const vb::VbError& error) {
        // The filter may stay set; the next run sets its own.
        modError::subLogError(session, error, u"modFixedReports"_s, u"fncRunFixedReport"_s);
    }
    return result;
}

std::vector<ListedReport> fncListedReports(core::Session& session) {
    std::vector<ListedReport> listed;
    if (!rs::fncHasRecords(session.grsFixedReports)) return listed;
    rs::Recordset& reports = *session.grsFixedReports;
    for (reports.moveFirst(); !reports.eof(); reports.moveNext()) {
        // An empty flag counts as a listed report.
        if (vb::compare(column(reports, u"fldIssubquery"), vb::Variant(false)) != 0) continue;
        listed.push_back({vb::cstr(column(reports, u"fldReporttitle")),
                          vb::clng(column(reports, u"idfFixedReportID"))});
    }
    return listed;
}

ReportHeading fncReportHeading(core::Session& session, std::int32_t reportId,
                               const QString& listTitle, bool criticalTicked,
                               const QString& rangeText) {
    rs::Recordset& reports = session.fixedReports();
    filterTo(reports, QString::number(reportId));
    const bool critical =
        vb::compare(column(reports, u"fldCategory"), vb::Variant(kActionCodesCategory)) == 0 &&
        criticalTicked;
    ReportHeading heading;
    heading.title = (critical ? u"Critical "_s : QString()) + listTitle + u" - "_s + rangeText;
    heading.groupFirstN = vb::cint(column(reports, u"fldGroupFirstN"));
    return heading;
}

} // namespace modFixedReports
