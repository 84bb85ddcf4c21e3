#include "recordset/RecordsetBuilder.h"

#include "recordset/Column.h"

#include <limits>
#include <stdexcept>

namespace rs {

RecordsetBuilder::RecordsetBuilder() : table_(std::make_unique<detail::Table>()) {}
RecordsetBuilder::~RecordsetBuilder() = default;
RecordsetBuilder::RecordsetBuilder(RecordsetBuilder&&) noexcept = default;
RecordsetBuilder& RecordsetBuilder::operator=(RecordsetBuilder&&) noexcept = default;

int RecordsetBuilder::addField(const QString& name, AdoType type, int definedSize) {
    if (rowCount() > 0) throw std::logic_error("RecordsetBuilder: fields come before rows");
    table_->columns.push_back(detail::makeColumn(detail::FieldInfo{name, type, definedSize}));
    return fieldCount() - 1;
}

int RecordsetBuilder::fieldCount() const {
    return static_cast<int>(table_->columns.size());
}

void RecordsetBuilder::reserve(std::size_t rows) {
    for (auto& column : table_->columns)
        column->reserve(rows);
}

void RecordsetBuilder::appendRow(std::span<const vb::Variant> values) {
    auto& columns = table_->columns;
    if (values.size() != columns.size())
        throw std::invalid_argument("RecordsetBuilder: a row needs one value per field");
    std::size_t done = 0;
    try {
        for (; done < columns.size(); ++done)
            columns[done]->append(values[done]);
    } catch (...) {
        while (done > 0)
            columns[--done]->popBack();
        throw;
    }
}

void RecordsetBuilder::append(int field, const vb::Variant& value) {
    if (field < 0 || field >= fieldCount()) raiseItemNotFound();
    table_->columns[static_cast<std::size_t>(field)]->append(value);
}

std::size_t RecordsetBuilder::rowCount() const {
    return table_->columns.empty() ? 0 : table_->columns.front()->size();
}

std::shared_ptr<Recordset> RecordsetBuilder::finish() {
    const std::size_t rows = rowCount();
    for (const auto& column : table_->columns) {
        if (column->size() != rows)
            throw std::logic_error("RecordsetBuilder: columns hold different numbers of rows");
    }
    // Rows are addressed by 32-bit ids throughout the cursor, filter and sort.
    if (rows > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("RecordsetBuilder: too many rows");
    for (auto& column : table_->columns)
        column->finish();
    table_->rows = rows;
    std::shared_ptr<const detail::Table> table(std::move(table_));
    table_ = std::make_unique<detail::Table>();
    return std::shared_ptr<Recordset>(new Recordset(std::move(table)));
}

} // namespace rs
