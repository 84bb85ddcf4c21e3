#pragma once

// The query texts the reports are written with, as literals: an expected text or count built
// from these fails when the product's own constants change, where one built from those constants
// would change with them.

#include <QString>

namespace testsupport {

using namespace Qt::Literals::StringLiterals;

inline const QString kClerkLabelText =
    uR"(tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode)"_s;
inline const QString kTransJoinText =
    u"From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = "
    u"tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID "_s;
inline const QString kCriticalOnlyText = u"lkpactions.fldactioncritical = TRUE"_s;

} // namespace testsupport
