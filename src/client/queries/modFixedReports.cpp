#include "client/queries/modFixedReports.h"

#include "app/frmMain.h"
#include "link/modError.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/Strings.h"
#include "vb/VbError.h"

#include <QApplication>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace queries {

namespace {

QString text(const char16_t* constant) {
    return QString::fromUtf16(constant);
}

QString selected(const char16_t* expression, const char16_t* heading) {
    return text(expression) + u" as ["_s + text(heading) + u"]"_s;
}

// The language's "object not set": what using a link without a main window, or a list that
// could not be loaded, comes to.
[[noreturn]] void raiseObjectNotSet() {
    throw vb::VbError(91, u"Object variable or With block variable not set"_s);
}

sitelink::SiteLink& link() {
    frmMain* main = frmMain::instance();
    if (!main) raiseObjectNotSet();
    return main->TillsightLink();
}

rs::Recordset& fixedReports() {
    if (!grsFixedReports) raiseObjectNotSet();
    return *grsFixedReports;
}

vb::Variant column(const char16_t* name) {
    return fixedReports().field(QStringView(name)).value();
}

void filterTo(const QString& id) {
    fixedReports().setFilter(u"idffixedreportID = "_s + id);
}

// The first stage refills the session's table; its row then hands over to the second stage.
void runCommandStage(bool criticalOnly, const QString& interval, std::int16_t session) {
    const QString command =
        fncExpandPlaceholders(vb::cstr(column(u"fldSQL")), criticalOnly, interval, session);
    link().Execute(u"DROP TABLE "_s + fncTempTableName(link().SessionIndex()));
    link().Execute(command);
    filterTo(vb::cstr(column(u"fldsubquery")));
}

} // namespace

std::shared_ptr<rs::Recordset> grsFixedReports;

QString fncTempTableName(std::int16_t session) {
    return u"tblTemp"_s + QString::number(session);
}

QString fncExpandPlaceholders(const QString& sql, bool criticalOnly, const QString& interval,
                              std::int16_t session) {
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

std::shared_ptr<rs::Recordset> fncRunFixedReport(std::int32_t reportId, const QString& interval,
                                                 bool criticalOnly, std::int16_t session) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::shared_ptr<rs::Recordset> result;
    try {
        filterTo(QString::number(reportId));
        if (vb::cbool(column(u"fldCommand"))) runCommandStage(criticalOnly, interval, session);
        const QString caption = vb::cstr(column(u"fldReportTitle"));
        // The session is asked again: the second stage reads the table the link's session owns.
        const QString query = fncExpandPlaceholders(vb::cstr(column(u"fldSQL")), criticalOnly,
                                                    interval, link().SessionIndex());
        result = link().OpenRecordset(query, caption);
        fixedReports().setFilter(QString());
    } catch (const vb::VbError& error) {
        // The filter may stay set; the next run sets its own.
        modError::subLogError(error, u"modFixedReports"_s, u"fncRunFixedReport"_s);
    }
    QApplication::restoreOverrideCursor();
    return result;
}

} // namespace queries
