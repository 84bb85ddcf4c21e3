#pragma once

// The Fixed Reports: templates stored on the site, expanded with the shared column expressions
// and run over a time criterion, some in two stages through the session's own table.

#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace core {
class Session;
}

namespace modFixedReports {

// The per-session table a two-stage report fills: "tblTemp3" for session 3.
QString fncTempTableName(std::int16_t session);

// A template with its placeholders replaced, each without regard to letter case and in a fixed
// order ("<SelAction>" before "<AggAction>", ..., "<tblname>" last). "<Interval>" becomes the
// time criterion as given; "<Critical>" the critical-only condition, or "TRUE" so that a template
// can always AND it. Raises 6 (Overflow) when the text outgrows 32767 characters.
QString fncExpandPlaceholders(const QString& sql, bool criticalOnly, const QString& interval,
                              std::int16_t session);

// Runs report `reportId` of the session's list over `interval` (a time criterion) and returns its
// result, or nullptr when the site gave none. The list is read first when no one has read it. A
// command-stage report first refills the session's temporary table (named from `session`), then
// yields the result of its second stage, whose progress caption is that stage's title. Failures
// are logged, never raised: the caller sees whatever result was obtained, normally none.
std::shared_ptr<rs::Recordset> fncRunFixedReport(core::Session& session, std::int32_t reportId,
                                                 const QString& interval, bool criticalOnly,
                                                 std::int16_t sessionIndex);

// A report the list offers: second stages belong to their first stage and are never offered on
// their own.
struct ListedReport {
    QString title;
    std::int32_t id = 0;
};
// The listed reports of the session's list in its order (by title); none without a list.
std::vector<ListedReport> fncListedReports(core::Session& session);

// What a report view of report `reportId` shows before its rows: the title and how many leading
// columns it groups. The title gains "Critical " for an "Action Codes" report when the critical
// box is ticked (`criticalTicked`), and ends with " - " and the range text. Leaves the list
// filtered to the report; raises as the language does for a stored value that does not convert.
struct ReportHeading {
    QString title;
    std::int16_t groupFirstN = 0;
};
ReportHeading fncReportHeading(core::Session& session, std::int32_t reportId,
                               const QString& listTitle, bool criticalTicked,
                               const QString& rangeText);

} // namespace modFixedReports
