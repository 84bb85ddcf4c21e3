#pragma once

#include "recordset/AdoType.h"
#include "recordset/Recordset.h"
#include "vb/Variant.h"

#include <QString>
#include <cstddef>
#include <memory>
#include <span>

namespace rs {

namespace detail {
struct Table;
} // namespace detail

// Fills a recordset: declare the fields, append the rows, finish. Values are converted to their
// field's type with the language's conversions (a Double into a Currency field rounds to four
// decimals, a text into a Date field is read as CDate reads it) and raise its errors (13 Type
// mismatch, 6 Overflow); Null and Empty store as Null.
class RecordsetBuilder {
public:
    RecordsetBuilder();
    ~RecordsetBuilder();
    RecordsetBuilder(RecordsetBuilder&&) noexcept;
    RecordsetBuilder& operator=(RecordsetBuilder&&) noexcept;

    // Fields come before the first row; returns the new field's ordinal.
    int addField(const QString& name, AdoType type, int definedSize = 0);
    int fieldCount() const;
    // Room for this many rows, to spare the regrowth when the count is known.
    void reserve(std::size_t rows);

    // One value per field, in field order. A value that does not convert raises, and the row is
    // then not added.
    void appendRow(std::span<const vb::Variant> values);
    // Column at a time, for sources that deliver cells one by one; every column must hold the
    // same number of rows by finish().
    void append(int field, const vb::Variant& value);

    std::size_t rowCount() const;
    // The recordset, on its first row; the builder is empty afterwards.
    std::shared_ptr<Recordset> finish();

private:
    std::unique_ptr<detail::Table> table_;
};

} // namespace rs
