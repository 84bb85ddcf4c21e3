#pragma once

// The column storage behind a Recordset. Not part of the public interface: only the recordset,
// its builder, the filter and the sort see it.

#include "recordset/AdoType.h"
#include "vb/Variant.h"

#include <QString>
#include <QStringView>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace rs::detail {

using RowId = std::uint32_t;

// Some stored rows, or none given for every row.
using RowSpan = std::optional<std::span<const RowId>>;

// One byte per stored row, 1 where the row passes a criterion.
using RowMask = std::vector<std::uint8_t>;

struct FieldInfo {
    QString name;
    AdoType type = AdoType::Variant;
    int definedSize = 0;
};

enum class CompareOp { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual };

// A criterion's value as the filter text wrote it, before it meets a field's type.
struct FilterValue {
    enum class Kind { Number, Text, Date };
    Kind kind = Kind::Number;
    double number = 0; // Number, or the serial of a Date
    QString text;      // Text, or the number as written
};

// A LIKE pattern reduced to the three shapes it may take.
struct LikePattern {
    enum class Kind { Exact, Prefix, Contains };
    Kind kind = Kind::Exact;
    QString needle;

    bool matches(QStringView text) const; // ignores case
};

// A number in query text: C-locale digits, an optional sign and dollar sign, an exponent.
std::optional<double> parseQueryNumber(QStringView text);

class Column {
public:
    explicit Column(FieldInfo info) : info_(std::move(info)) {}
    virtual ~Column() = default;
    Column(const Column&) = delete;
    Column& operator=(const Column&) = delete;

    const FieldInfo& info() const { return info_; }

    virtual std::size_t size() const = 0;
    virtual bool isNull(RowId row) const = 0;
    virtual vb::Variant value(RowId row) const = 0;
    // Bytes allocated for the cells and their pools, by capacity.
    virtual std::size_t memoryBytes() const = 0;

    virtual void reserve(std::size_t rows) = 0;
    // Converts to the field's type with the language's rules; Null and Empty store as Null.
    virtual void append(const vb::Variant& value) = 0;
    virtual void popBack() = 0;
    // Trims spare capacity and drops what only building needed.
    virtual void finish() = 0;

    // Each writes one byte per stored row into mask, which has size() bytes. A Null cell never
    // passes a comparison; the value is converted to the field's type or raises 3001.
    virtual void matchCompare(CompareOp op, const FilterValue& value, RowMask& mask) const = 0;
    virtual void matchLike(const LikePattern& pattern, RowMask& mask) const;
    void matchNull(bool wantNull, RowMask& mask) const;

    // An order-preserving key per stored row: 0 for Null, at least 1 for any value.
    virtual std::vector<std::uint64_t> sortKeys() const = 0;

    // The distinct values of these stored rows (every row without rows), Null left out, in
    // no set order.
    virtual std::vector<vb::Variant> distinctValues(RowSpan rows) const = 0;
    // For a column of numbers or dates: the least and the greatest stored value, the negative and
    // the positive nearest zero, and zero, those that occur among the rows as above. Other
    // columns give their distinct values.
    virtual std::vector<vb::Variant> extremeValues(RowSpan rows) const {
        return distinctValues(rows);
    }

protected:
    [[noreturn]] void raiseCannotCompare(const FilterValue& value, const char* needs) const;

private:
    FieldInfo info_;
};

std::unique_ptr<Column> makeColumn(FieldInfo info);

// The columns of a finished result set; shared, never changed, by every clone.
struct Table {
    std::vector<std::unique_ptr<Column>> columns;
    std::size_t rows = 0;

    // Ignores case; the first of equal names wins, as ADO's Fields collection does. -1 if absent.
    int fieldIndex(QStringView name) const;
    std::size_t memoryBytes() const;
};

} // namespace rs::detail
