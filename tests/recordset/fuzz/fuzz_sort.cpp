// Feeds arbitrary text to Recordset::setSort as a sort text. The sort must order every row or
// refuse with 3001, changing nothing; being stable, it must order as it does with a last key
// "Id" (the order rows are stored in); and under a filter it must show the filter's rows in the
// same order.
#include "recordset/RecordsetError.h"
#include "recordset/fuzz/FuzzRecordset.h"
#include "vb/VbError.h"

#include <algorithm>

namespace {

// The Ids in the order the text sorts them; false when it is refused.
bool sortedBy(rs::Recordset& records, const QString& sortText, std::vector<int>& ids) {
    const std::vector<int> before = rsfuzz::idsOf(records);
    try {
        records.setSort(sortText);
    } catch (const vb::VbError& e) {
        fuzzsupport::require(e.number() == rs::err::BadArguments, "a bad sort raises 3001");
        fuzzsupport::require(records.sort().isEmpty() && rsfuzz::idsOf(records) == before,
                             "a bad sort changes nothing");
        return false;
    }
    ids = rsfuzz::idsOf(records);
    return true;
}

bool sameRows(std::vector<int> a, std::vector<int> b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    return a == b;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString sortText = fuzzsupport::textOf(data, size);
    std::vector<int> order;
    if (!sortedBy(*rsfuzz::freshSample(), sortText, order) || sortText.trimmed().isEmpty())
        return 0;
    fuzzsupport::require(sameRows(order, rsfuzz::idsOf(*rsfuzz::freshSample())),
                         "a sort shows every row once");

    std::vector<int> tieBroken;
    fuzzsupport::require(
        sortedBy(*rsfuzz::freshSample(), sortText + QStringLiteral(", Id"), tieBroken),
        "a sort text taken is taken with one more key");
    fuzzsupport::require(order == tieBroken, "equal keys keep the order rows are stored in");

    const auto filteredRecords = rsfuzz::freshSample();
    filteredRecords->setFilter(QStringLiteral("Active = 'True' OR Qty = NULL"));
    const std::vector<int> passed = rsfuzz::idsOf(*filteredRecords);
    std::vector<int> filteredOrder;
    sortedBy(*filteredRecords, sortText, filteredOrder);
    std::erase_if(
        order, [&](int id) { return std::find(passed.begin(), passed.end(), id) == passed.end(); });
    fuzzsupport::require(filteredOrder == order, "a filter shows its rows in the sort's order");
    return 0;
}
