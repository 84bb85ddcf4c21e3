#pragma once

// The Power Search's list, every criterion open, over the year the benchmarks' sites cover.

#include "core/SearchCriteria.h"
#include "core/modPowerSearch.h"
#include "vb/DateTime.h"

namespace benchsearch {

inline QString yearListSearch() {
    core::SearchCriteria criteria;
    criteria.searchType = core::List;
    criteria.start = vb::dateSerial(2003, 1, 1);
    criteria.end = vb::dateSerial(2004, 1, 1);
    return modPowerSearch::fncSearchText(criteria).query;
}

} // namespace benchsearch
