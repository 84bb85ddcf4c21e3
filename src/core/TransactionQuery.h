#pragma once

// The column expressions every report shares. The texts are what the site's templates and the
// Power Search were written against, so they stay byte for byte as they are: a report's headings
// and groupings depend on them.

namespace core {

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

} // namespace core
