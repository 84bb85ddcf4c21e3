#pragma once

// Saved Power Searches: criteria stored under a title in the site's tblPowerSearches, so every
// client of the site shares them. What is stored is the criteria, never query text: a restored
// search builds its query anew.

#include "core/SearchCriteria.h"
#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace core {
class Session;
}

namespace modSavedSearches {

// Every saved search of the site, by title; nullptr when the site gave none.
std::shared_ptr<rs::Recordset> fncLoadSavedSearches(core::Session& session);

// The insert for `criteria` under `title`: a column is written only when the criterion holds a
// value.
QString fncSaveStatement(const core::SearchCriteria& criteria, const QString& title);

// Saves `criteria` under `title`. Titles are unique without regard to case: an existing one is
// replaced when the session's messages answer Yes to the overwrite question, the latest save's
// spelling is kept. False when the user kept the existing search.
bool fncSaveSearch(core::Session& session, const core::SearchCriteria& criteria,
                   const QString& title);

// Deletes the saved search `id`; an entry without a stored id (-1) sends an empty statement,
// which the site refuses.
void subDeleteSearch(core::Session& session, std::int32_t id);

// The criteria saved as `id`: the set is filtered to it and stays so, its current row being the
// restored search until the next reload. A preset range is worked out at `now`; the custom range
// is the stored one. Raises as the language does for a stored value that does not fit: 9 for a
// search type or range option outside its group, 380 for a modifier outside its list of
// `modifierCount` entries.
core::SearchCriteria fncRestoreSearch(rs::Recordset& searches, std::int32_t id, double now,
                                      int modifierCount);

} // namespace modSavedSearches
