#include "recordset/Sort.h"

#include "recordset/CriteriaScanner.h"

#include <array>
#include <numeric>

namespace rs::detail {

namespace {

struct SortKey {
    std::size_t column = 0;
    bool descending = false;
};

std::vector<SortKey> parseSort(const Table& table, QStringView text) {
    CriteriaScanner scan(text, u"Sort");
    std::vector<SortKey> keys;
    do {
        const QString name = scan.readFieldName(u",");
        const int index = table.fieldIndex(name);
        if (index < 0) scan.fail(QStringLiteral("unknown field '%1'").arg(name));
        scan.skipBlanks();
        const bool descending = scan.takeKeyword(u"DESC");
        if (!descending) scan.takeKeyword(u"ASC");
        scan.skipBlanks();
        keys.push_back({static_cast<std::size_t>(index), descending});
    } while (scan.take(u','));
    if (!scan.atEnd())
        scan.fail(QStringLiteral("expected ASC, DESC or ',' at %1").arg(scan.here()));
    return keys;
}

struct KeyedRow {
    std::uint64_t key;
    RowId row;
};

// Stable least-significant-byte-first radix sort. Bytes that every key shares are skipped, so a
// text rank or a small number costs one or two passes and a date or double at most eight.
void radixSort(std::vector<KeyedRow>& items) {
    if (items.size() < 2) return;
    std::array<std::array<std::size_t, 256>, 8> counts{};
    for (const KeyedRow& item : items) {
        for (std::size_t b = 0; b < 8; ++b)
            ++counts[b][(item.key >> (8 * b)) & 0xFF];
    }
    std::vector<KeyedRow> scratch(items.size());
    for (std::size_t b = 0; b < 8; ++b) {
        auto& buckets = counts[b];
        if (buckets[(items.front().key >> (8 * b)) & 0xFF] == items.size()) continue;
        std::exclusive_scan(buckets.begin(), buckets.end(), buckets.begin(), std::size_t{0});
        for (const KeyedRow& item : items)
            scratch[buckets[(item.key >> (8 * b)) & 0xFF]++] = item;
        items.swap(scratch);
    }
}

// Reorders rows by one key, keeping the order of rows whose keys are equal.
void stableSortBy(std::vector<RowId>& rows, const Column& column, bool descending) {
    const std::vector<std::uint64_t> keys = column.sortKeys();
    // Inverting every key (Null's 0 included) reverses the order and puts Null last.
    const std::uint64_t flip = descending ? ~std::uint64_t{0} : 0;
    std::vector<KeyedRow> items(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        items[i] = {keys[rows[i]] ^ flip, rows[i]};
    radixSort(items);
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i] = items[i].row;
}

} // namespace

std::vector<RowId> sortedRows(const Table& table, QStringView sortText) {
    const std::vector<SortKey> keys = parseSort(table, sortText);
    std::vector<RowId> rows(table.rows);
    std::iota(rows.begin(), rows.end(), RowId{0});
    // Sorting by the last key first, stably, leaves the rows ordered by all keys.
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        stableSortBy(rows, *table.columns[key->column], key->descending);
    return rows;
}

} // namespace rs::detail
