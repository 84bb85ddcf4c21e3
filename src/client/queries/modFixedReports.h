#pragma once

// The column expressions every report shares and the expansion of a Fixed Report template. The
// texts are what the site's templates and the Power Search were written against, so they stay
// byte for byte as they are: a report's headings and groupings depend on them.

#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace queries {

// "Code (Description)" of a transaction's action.
inline constexpr auto kActionLabel =
    u"lkpactions.fldActionCode & \" (\" & lkpactions.fldactiondesc & \")\"";
// "Last, First - Code" of a transaction's clerk.
inline constexpr auto kClerkLabel = u"tblactors.fldactorlname & \", \" & "
                                    u"tblactors.fldactorfname & \" - \" & tblactors.fldActorCode";
inline constexpr auto kRegister = u"tbltrans.fldtransregnum";
// The timestamp split in two: a date with no time, and a time of day on day zero.
inline constexpr auto kTransDate = u"cdate(format$(tbltrans.fldtranstime, \"yyyy/mm/dd\"))";
inline constexpr auto kTransTime = u"cdate(format$(tbltrans.fldtranstime, \"HH:nn:ss\"))";
inline constexpr auto kCriticalOnly = u"lkpactions.fldactioncritical = TRUE";
// Inner joins both ways, so a transaction without its clerk or action row never shows. The
// trailing blank lets a WHERE follow directly.
inline constexpr auto kTransJoin =
    u"From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = "
    u"tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID ";

// The per-session table a two-stage report fills: "tblTemp3" for session 3.
QString fncTempTableName(std::int16_t session);

// A template with its placeholders replaced, each without regard to letter case and in a fixed
// order ("<SelAction>" before "<AggAction>", ..., "<tblname>" last). "<Interval>" becomes the
// time criterion as given; "<Critical>" the critical-only condition, or "TRUE" so that a template
// can always AND it. Raises 6 (Overflow) when the text outgrows 32767 characters.
QString fncExpandPlaceholders(const QString& sql, bool criticalOnly, const QString& interval,
                              std::int16_t session);

// Every row of tblfixedreports, loaded with the Fixed Reports list and kept for the connection.
// Between runs it is unfiltered; a run filters it to its own row.
extern std::shared_ptr<rs::Recordset> grsFixedReports;

// Runs report `reportId` of grsFixedReports over `interval` (a time criterion) and returns its
// result, or nullptr when the site gave none. A command-stage report first refills the session's
// temporary table (named from `session`), then yields the result of its second stage, whose
// progress caption is that stage's title. Failures are logged, never raised: the caller sees
// whatever result was obtained, normally none.
std::shared_ptr<rs::Recordset> fncRunFixedReport(std::int32_t reportId, const QString& interval,
                                                 bool criticalOnly, std::int16_t session);

} // namespace queries
