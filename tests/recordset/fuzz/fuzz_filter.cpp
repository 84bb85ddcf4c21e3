// Feeds arbitrary text to Recordset::setFilter as criteria. The filter must answer with rows or
// refuse with 3001, changing nothing; and the rows it lets through must not depend on the order
// the recordset is sorted in.
#include "recordset/RecordsetError.h"
#include "recordset/fuzz/FuzzRecordset.h"
#include "vb/VbError.h"

#include <algorithm>

namespace {

// Whether the text was taken, and then the Ids it lets through, smallest first.
bool filtered(rs::Recordset& records, const QString& criteria, std::vector<int>& ids) {
    try {
        records.setFilter(criteria);
    } catch (const vb::VbError& e) {
        fuzzsupport::require(e.number() == rs::err::BadArguments, "a bad filter raises 3001");
        fuzzsupport::require(records.filter().isEmpty() &&
                                 records.recordCount() == rsfuzz::sampleRows(),
                             "a bad filter changes nothing");
        return false;
    }
    ids = rsfuzz::idsOf(records);
    std::sort(ids.begin(), ids.end());
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString criteria = fuzzsupport::textOf(data, size);
    std::vector<int> plain;
    std::vector<int> sorted;
    const auto records = rsfuzz::freshSample();
    const bool taken = filtered(*records, criteria, plain);
    const auto reordered = rsfuzz::freshSample();
    reordered->setSort(QStringLiteral("Clerk DESC, When"));
    fuzzsupport::require(filtered(*reordered, criteria, sorted) == taken,
                         "the sort order does not decide whether a filter is taken");
    fuzzsupport::require(plain == sorted,
                         "the sort order does not change the rows a filter passes");
    return 0;
}
