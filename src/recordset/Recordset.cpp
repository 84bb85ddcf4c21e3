#include "recordset/Recordset.h"

#include "recordset/Column.h"
#include "recordset/Filter.h"
#include "recordset/Sort.h"

#include <algorithm>

namespace rs {

const detail::Column& Field::column() const {
    return *records_->table_->columns[static_cast<std::size_t>(index_)];
}

const QString& Field::name() const {
    return column().info().name;
}

AdoType Field::type() const {
    return column().info().type;
}

int Field::definedSize() const {
    return column().info().definedSize;
}

vb::Variant Field::value() const {
    return column().value(records_->currentRow());
}

bool Field::isNull() const {
    return column().isNull(records_->currentRow());
}

Recordset::Recordset(std::shared_ptr<const detail::Table> table) : table_(std::move(table)) {}

Recordset::~Recordset() = default;

int Recordset::fieldCount() const {
    return static_cast<int>(table_->columns.size());
}

Field Recordset::field(int index) const {
    return Field(*this, static_cast<int>(checkedField(index)));
}

Field Recordset::field(QStringView name) const {
    const int index = fieldIndex(name);
    if (index < 0) raiseItemNotFound();
    return Field(*this, index);
}

int Recordset::fieldIndex(QStringView name) const {
    return table_->fieldIndex(name);
}

std::size_t Recordset::checkedField(int field) const {
    if (field < 0 || field >= fieldCount()) raiseItemNotFound();
    return static_cast<std::size_t>(field);
}

bool Recordset::bof() const {
    return recordCount() == 0 || position_ < 0;
}

bool Recordset::eof() const {
    const auto count = static_cast<std::ptrdiff_t>(recordCount());
    return count == 0 || position_ >= count;
}

void Recordset::moveFirst() {
    if (recordCount() == 0) raiseNoCurrentRecord();
    position_ = 0;
}

void Recordset::moveLast() {
    if (recordCount() == 0) raiseNoCurrentRecord();
    position_ = static_cast<std::ptrdiff_t>(recordCount()) - 1;
}

void Recordset::moveNext() {
    if (eof()) raiseNoCurrentRecord();
    ++position_;
}

void Recordset::movePrevious() {
    if (bof()) raiseNoCurrentRecord();
    --position_;
}

std::size_t Recordset::recordCount() const {
    return allRows_ ? table_->rows : view_.size();
}

long Recordset::absolutePosition() const {
    if (bof()) return PosBof;
    if (eof()) return PosEof;
    return static_cast<long>(position_) + 1;
}

void Recordset::setAbsolutePosition(long position) {
    if (position < 1 || static_cast<std::size_t>(position) > recordCount())
        raiseBadArguments(QStringLiteral("AbsolutePosition %1 is outside 1 to %2")
                              .arg(position)
                              .arg(recordCount()));
    position_ = position - 1;
}

std::uint32_t Recordset::currentRow() const {
    if (bof() || eof()) raiseNoCurrentRecord();
    return rowAt(static_cast<std::size_t>(position_));
}

std::uint32_t Recordset::checkedRow(std::size_t row) const {
    if (row >= recordCount()) raiseNoCurrentRecord();
    return rowAt(row);
}

vb::Variant Recordset::valueAt(std::size_t row, int field) const {
    const std::size_t column = checkedField(field);
    return table_->columns[column]->value(checkedRow(row));
}

bool Recordset::isNullAt(std::size_t row, int field) const {
    const std::size_t column = checkedField(field);
    return table_->columns[column]->isNull(checkedRow(row));
}

Recordset::Bookmark Recordset::bookmarkAt(std::size_t row) const {
    return checkedRow(row);
}

std::ptrdiff_t Recordset::rowOfBookmark(Bookmark bookmark) const {
    if (allRows_) return bookmark < table_->rows ? std::ptrdiff_t(bookmark) : -1;
    const auto found = std::find(view_.begin(), view_.end(), bookmark);
    return found == view_.end() ? -1 : found - view_.begin();
}

std::optional<std::span<const std::uint32_t>> Recordset::shownRows() const {
    if (allRows_) return std::nullopt;
    return view_;
}

std::vector<vb::Variant> Recordset::distinctValues(int field) const {
    return table_->columns[checkedField(field)]->distinctValues(shownRows());
}

std::vector<vb::Variant> Recordset::extremeValues(int field) const {
    return table_->columns[checkedField(field)]->extremeValues(shownRows());
}

void Recordset::setFilter(const QString& criteria) {
    if (criteria.trimmed().isEmpty()) {
        filter_.clear();
        showRows(nullptr);
        return;
    }
    const detail::RowMask mask = detail::evaluateFilter(*table_, criteria);
    filter_ = criteria;
    showRows(&mask);
}

void Recordset::setSort(const QString& sortText) {
    if (sortText.trimmed().isEmpty()) {
        sort_.clear();
        sortOrder_ = {};
    } else {
        sortOrder_ = detail::sortedRows(*table_, sortText);
        sort_ = sortText;
    }
    if (filter_.isEmpty()) {
        showRows(nullptr);
        return;
    }
    // The filtered rows are the filter's answer whatever their order.
    detail::RowMask mask(table_->rows, 0);
    for (std::uint32_t row : filtered_)
        mask[row] = 1;
    showRows(&mask);
}

// Shows the rows the mask passes (all rows without one) in the sort order, and moves to the first.
void Recordset::showRows(const detail::RowMask* mask) {
    std::vector<std::uint32_t> shown;
    if (mask) {
        shown.reserve(static_cast<std::size_t>(std::count(mask->begin(), mask->end(), 1)));
        const auto pass = [&](std::uint32_t row) {
            if ((*mask)[row]) shown.push_back(row);
        };
        if (sort_.isEmpty()) {
            for (std::uint32_t row = 0; row < table_->rows; ++row)
                pass(row);
        } else {
            std::for_each(sortOrder_.begin(), sortOrder_.end(), pass);
        }
    }
    filtered_ = std::move(shown);
    allRows_ = !mask && sort_.isEmpty();
    view_ = mask ? std::span<const std::uint32_t>(filtered_) : sortOrder_;
    position_ = 0;
}

std::shared_ptr<Recordset> Recordset::clone() const {
    return std::shared_ptr<Recordset>(new Recordset(table_));
}

std::size_t Recordset::memoryBytes() const {
    return table_->memoryBytes() +
           sizeof(std::uint32_t) * (sortOrder_.capacity() + filtered_.capacity());
}

bool fncHasRecords(const std::shared_ptr<Recordset>& records) {
    return records && !(records->bof() && records->eof());
}

} // namespace rs
