#pragma once

// A result set that behaves as an ADO Recordset with a client cursor: fields by ordinal or name,
// BOF/EOF and the Move methods, Filter, Sort and Clone. Rows are stored by column and shared by
// every clone; RecordsetBuilder makes one.

#include "recordset/AdoType.h"
#include "recordset/RecordsetError.h"
#include "vb/Variant.h"

#include <QString>
#include <QStringView>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace rs {

namespace detail {
class Column;
struct Table;
} // namespace detail

class Recordset;

// AbsolutePosition when there is no current record (ADO's PositionEnum).
enum Position : long { PosUnknown = -1, PosBof = -2, PosEof = -3 };

// One field of a recordset, as ADO's Field object: its value follows the recordset's cursor.
// Valid while its recordset lives.
class Field {
public:
    int index() const { return index_; }
    const QString& name() const;
    AdoType type() const;
    // The width the source declared (a text's length); 0 when unknown.
    int definedSize() const;

    // At the current record; raises 3021 when BOF or EOF is True.
    vb::Variant value() const;
    bool isNull() const;

private:
    friend class Recordset;
    Field(const Recordset& records, int index) : records_(&records), index_(index) {}
    const detail::Column& column() const;

    const Recordset* records_;
    int index_;
};

class Recordset {
public:
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    // Fields. Unknown names and ordinals raise 3265; names ignore case.
    int fieldCount() const;
    Field field(int index) const;
    Field field(QStringView name) const;
    // -1 when there is no such field.
    int fieldIndex(QStringView name) const;

    // The cursor. An empty recordset (or a filter that matches nothing) is BOF and EOF at once.
    // Moving past either end sets BOF or EOF; moving on from there, and MoveFirst or MoveLast
    // on an empty recordset, raise 3021.
    bool bof() const;
    bool eof() const;
    void moveFirst();
    void moveLast();
    void moveNext();
    void movePrevious();
    // The rows the filter lets through.
    std::size_t recordCount() const;
    // 1-based; PosBof or PosEof without a current record. Setting it outside 1..recordCount()
    // raises 3001.
    long absolutePosition() const;
    void setAbsolutePosition(long position);

    // Random access for grids and exports, by position in the current order and filter
    // (0-based, below recordCount()); the cursor does not move. Raises 3021 for a row outside
    // the recordset and 3265 for an unknown field.
    vb::Variant valueAt(std::size_t row, int field) const;
    bool isNullAt(std::size_t row, int field) const;

    // A row's identity, which sorts and filters leave alone: a view that re-sorts finds its row
    // again by it. Raises 3021 for a row outside the recordset.
    using Bookmark = std::uint32_t;
    Bookmark bookmarkAt(std::size_t row) const;
    // The row (0-based, in the current order and filter) of a bookmark; -1 when the filter hides
    // it or no row has it.
    std::ptrdiff_t rowOfBookmark(Bookmark bookmark) const;

    // What a column holds among the rows the filter lets through, Null left out, in no set order
    // (3265 for an unknown field): each distinct value once; and for numbers and dates only the
    // least, the greatest, the negative and the positive nearest zero and zero, where they occur.
    std::vector<vb::Variant> distinctValues(int field) const;
    std::vector<vb::Variant> extremeValues(int field) const;

    // ADO criteria: "Field op value" clauses joined by AND and OR (equal precedence, left to
    // right; an OR group may not be joined with AND), grouped by parentheses. Moves to the first
    // match. The empty text removes the filter. A bad text raises 3001 and changes nothing.
    void setFilter(const QString& criteria);
    const QString& filter() const { return filter_; }

    // "[Field] ASC, Field2 DESC": stable, Null first ascending, texts ignoring case. Moves to the
    // first row. The empty text restores the original order. A bad text raises 3001 and changes
    // nothing.
    void setSort(const QString& sortText);
    const QString& sort() const { return sort_; }

    // Shares the rows; has its own cursor on the first row, and no filter and no sort.
    std::shared_ptr<Recordset> clone() const;

    // Bytes allocated for the shared columns and this recordset's own order and filter.
    std::size_t memoryBytes() const;

private:
    friend class Field;
    friend class RecordsetBuilder;
    explicit Recordset(std::shared_ptr<const detail::Table> table);

    std::uint32_t rowAt(std::size_t row) const {
        return allRows_ ? std::uint32_t(row) : view_[row];
    }
    std::uint32_t currentRow() const;
    std::size_t checkedField(int field) const;
    std::optional<std::span<const std::uint32_t>> shownRows() const;
    std::uint32_t checkedRow(std::size_t row) const;
    void showRows(const std::vector<std::uint8_t>* mask);

    std::shared_ptr<const detail::Table> table_;
    QString filter_;
    QString sort_;
    std::vector<std::uint32_t> sortOrder_; // every stored row, when sorted
    std::vector<std::uint32_t> filtered_;  // the rows shown, when filtered
    bool allRows_ = true;                  // shown: every row in storage order
    std::span<const std::uint32_t> view_;  // shown: sortOrder_ or filtered_
    std::ptrdiff_t position_ = 0;          // -1 is BOF, recordCount() EOF
};

// True when the recordset exists and has a current record or could move to one: false for
// nullptr and when the cursor is BOF and EOF at once (no rows, or none through the filter).
bool fncHasRecords(const std::shared_ptr<Recordset>& records);

} // namespace rs
