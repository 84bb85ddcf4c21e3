#include "recordset/Column.h"

#include "recordset/RecordsetError.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

#include <QByteArray>
#include <QHash>
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

namespace rs::detail {

namespace {

// Nulls of a numeric column, one bit a row. It stays empty until the first Null arrives, so a
// column without Nulls costs nothing and its scans skip the bitmap.
class NullBits {
public:
    bool test(std::size_t row) const {
        return !words_.empty() && ((words_[row >> 6] >> (row & 63)) & 1u) != 0;
    }
    void pushValue(std::size_t row) {
        if (!words_.empty() && (row & 63) == 0) words_.push_back(0);
    }
    void pushNull(std::size_t row) {
        if (words_.empty()) {
            words_.assign(row / 64 + 1, 0);
        } else if ((row & 63) == 0) {
            words_.push_back(0);
        }
        words_[row >> 6] |= std::uint64_t{1} << (row & 63);
    }
    void popBack(std::size_t row) {
        if (words_.empty()) return;
        words_[row >> 6] &= ~(std::uint64_t{1} << (row & 63));
        if ((row & 63) == 0) words_.pop_back();
    }
    // Sets the entries of Null rows to 0.
    template <typename Values> void zeroIn(Values& values) const {
        for (std::size_t w = 0; w < words_.size(); ++w) {
            for (std::uint64_t bits = words_[w]; bits != 0; bits &= bits - 1)
                values[w * 64 + static_cast<std::size_t>(std::countr_zero(bits))] = 0;
        }
    }
    void shrink() { words_.shrink_to_fit(); }
    std::size_t memoryBytes() const { return words_.capacity() * sizeof(std::uint64_t); }

private:
    std::vector<std::uint64_t> words_;
};

bool holds(CompareOp op, int order) {
    switch (op) {
    case CompareOp::Equal:
        return order == 0;
    case CompareOp::NotEqual:
        return order != 0;
    case CompareOp::Less:
        return order < 0;
    case CompareOp::Greater:
        return order > 0;
    case CompareOp::LessEqual:
        return order <= 0;
    case CompareOp::GreaterEqual:
        return order >= 0;
    }
    return false;
}

// One loop per operator, so the compiler sees a plain comparison in each.
template <typename Key, typename Get>
void compareRows(CompareOp op, Key literal, RowMask& mask, Get get) {
    const auto fill = [&](auto passes) {
        for (std::size_t i = 0; i < mask.size(); ++i)
            mask[i] = passes(get(i)) ? 1 : 0;
    };
    switch (op) {
    case CompareOp::Equal:
        return fill([literal](Key v) { return v == literal; });
    case CompareOp::NotEqual:
        return fill([literal](Key v) { return v != literal; });
    case CompareOp::Less:
        return fill([literal](Key v) { return v < literal; });
    case CompareOp::Greater:
        return fill([literal](Key v) { return v > literal; });
    case CompareOp::LessEqual:
        return fill([literal](Key v) { return v <= literal; });
    case CompareOp::GreaterEqual:
        return fill([literal](Key v) { return v >= literal; });
    }
}

// Serials before 1899-12-30 count their time of day away from zero; this puts every moment on
// one increasing line, so comparing and sorting dates is comparing these numbers.
double linearDays(double serial) {
    return serial >= 0 ? serial : 2 * std::trunc(serial) - serial;
}

// Maps a double onto an unsigned key with the same order; never 0, which stands for Null.
std::uint64_t orderedBits(double value) {
    if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    if (value == 0) value = 0; // -0 sorts with +0
    const auto bits = std::bit_cast<std::uint64_t>(value);
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

std::uint64_t wholeKey(std::int64_t value) {
    // Every 16- and 32-bit value lands at 1 or above.
    return static_cast<std::uint64_t>(value + (std::int64_t{1} << 31) + 1);
}

std::uint64_t currencyKey(std::int64_t scaled) {
    // The one amount whose key would be 0 (the most negative) shares its neighbour's key.
    return std::max<std::uint64_t>(1,
                                   static_cast<std::uint64_t>(scaled) ^ (std::uint64_t{1} << 63));
}

std::optional<double> numberOf(const FilterValue& v) {
    switch (v.kind) {
    case FilterValue::Kind::Number:
    case FilterValue::Kind::Date:
        return v.number;
    case FilterValue::Kind::Text:
        return parseQueryNumber(v.text);
    }
    return std::nullopt;
}

std::optional<double> dateOf(const FilterValue& v) {
    switch (v.kind) {
    case FilterValue::Kind::Number:
    case FilterValue::Kind::Date:
        return v.number;
    case FilterValue::Kind::Text:
        return vb::parseDate(v.text, true);
    }
    return std::nullopt;
}

std::optional<bool> booleanOf(const FilterValue& v) {
    if (v.kind == FilterValue::Kind::Date) return std::nullopt;
    if (v.kind == FilterValue::Kind::Text) {
        const QStringView t = QStringView(v.text).trimmed();
        if (t.compare(u"True", Qt::CaseInsensitive) == 0) return true;
        if (t.compare(u"False", Qt::CaseInsensitive) == 0) return false;
    }
    const auto n = numberOf(v);
    if (!n) return std::nullopt;
    return *n != 0;
}

QString textOf(const FilterValue& v) {
    return v.kind == FilterValue::Kind::Date ? vb::dateToText(v.number) : v.text;
}

vb::Variant variantOf(const FilterValue& v) {
    switch (v.kind) {
    case FilterValue::Kind::Number:
        return vb::Variant(v.number);
    case FilterValue::Kind::Date:
        return vb::Variant::date(v.number);
    case FilterValue::Kind::Text:
        return vb::Variant(v.text);
    }
    return {};
}

QString shown(const FilterValue& v) {
    switch (v.kind) {
    case FilterValue::Kind::Text:
        return u'\'' + v.text + u'\'';
    case FilterValue::Kind::Date:
        return u'#' + v.text + u'#';
    case FilterValue::Kind::Number:
        break;
    }
    return v.text;
}

std::size_t textBytes(const QString& text) {
    // Raw and shared-null texts own no block.
    const auto capacity = static_cast<std::size_t>(text.capacity());
    return capacity == 0 ? 0 : sizeof(QArrayData) + (capacity + 1) * sizeof(char16_t);
}

// The cell kinds of the numeric columns: how a Variant becomes a cell and back, what a filter
// compares, and the cell's sort key.

struct BooleanCells {
    using Cell = std::uint8_t;
    using Key = int;
    static constexpr const char* kNeeds = "True or False";
    static Cell fromVariant(const vb::Variant& v, AdoType) { return vb::cbool(v) ? 1 : 0; }
    static vb::Variant toVariant(Cell c) { return vb::Variant(c != 0); }
    static Key comparable(Cell c) { return c; }
    static std::optional<Key> literal(const FilterValue& v) {
        const auto b = booleanOf(v);
        return b ? std::optional<Key>(*b ? 1 : 0) : std::nullopt;
    }
    // False before True, as the databases' bit columns sort.
    static std::uint64_t sortKey(Cell c) { return 1u + c; }
};

// Whole numbers compare with the literal as a double: exact for them, and "Qty < 2.5" keeps its
// meaning instead of becoming "Qty < 2".
template <typename T> struct WholeCells {
    using Cell = T;
    using Key = double;
    static constexpr const char* kNeeds = "a number";
    static Key comparable(Cell c) { return c; }
    static std::optional<Key> literal(const FilterValue& v) { return numberOf(v); }
    static std::uint64_t sortKey(Cell c) { return wholeKey(c); }
};

struct SmallIntCells : WholeCells<std::int16_t> {
    static Cell fromVariant(const vb::Variant& v, AdoType type) {
        const std::int16_t n = vb::cint(v);
        const bool fits = type == AdoType::TinyInt           ? n >= -128 && n <= 127
                          : type == AdoType::UnsignedTinyInt ? n >= 0 && n <= 255
                                                             : true;
        if (!fits) vb::raise(vb::err::Overflow);
        return n;
    }
    static vb::Variant toVariant(Cell c) { return vb::Variant(c); }
};

struct LongCells : WholeCells<std::int32_t> {
    static Cell fromVariant(const vb::Variant& v, AdoType) { return vb::clng(v); }
    static vb::Variant toVariant(Cell c) { return vb::Variant(c); }
};

struct SingleCells {
    using Cell = float;
    using Key = float;
    static constexpr const char* kNeeds = "a number";
    static Cell fromVariant(const vb::Variant& v, AdoType) { return vb::csng(v); }
    static vb::Variant toVariant(Cell c) { return vb::Variant(c); }
    static Key comparable(Cell c) { return c; }
    // Compared as a Single, so "Price = 1.1" finds the cells that hold 1.1 as a Single.
    static std::optional<Key> literal(const FilterValue& v) {
        const auto n = numberOf(v);
        if (!n || std::fabs(*n) > std::numeric_limits<float>::max()) return std::nullopt;
        return static_cast<float>(*n);
    }
    static std::uint64_t sortKey(Cell c) { return orderedBits(c); }
};

struct DoubleCells {
    using Cell = double;
    using Key = double;
    static constexpr const char* kNeeds = "a number";
    static Cell fromVariant(const vb::Variant& v, AdoType type) {
        const double d = vb::cdbl(v);
        return type == AdoType::BigInt ? vb::roundHalfEven(d) : d;
    }
    static vb::Variant toVariant(Cell c) { return vb::Variant(c); }
    static Key comparable(Cell c) { return c; }
    static std::optional<Key> literal(const FilterValue& v) { return numberOf(v); }
    static std::uint64_t sortKey(Cell c) { return orderedBits(c); }
};

struct CurrencyCells {
    using Cell = std::int64_t;
    using Key = std::int64_t;
    static constexpr const char* kNeeds = "an amount within the Currency range";
    static Cell fromVariant(const vb::Variant& v, AdoType) { return vb::ccur(v).scaled; }
    static vb::Variant toVariant(Cell c) { return vb::Variant(vb::Currency{c}); }
    static Key comparable(Cell c) { return c; }
    static std::optional<Key> literal(const FilterValue& v) {
        const auto n = numberOf(v);
        if (!n) return std::nullopt;
        try {
            return vb::Currency::fromDouble(*n).scaled;
        } catch (const vb::VbError&) {
            return std::nullopt;
        }
    }
    static std::uint64_t sortKey(Cell c) { return currencyKey(c); }
};

struct DateCells {
    using Cell = double;
    using Key = double;
    static constexpr const char* kNeeds = "a date";
    static Cell fromVariant(const vb::Variant& v, AdoType) { return vb::cdate(v); }
    static vb::Variant toVariant(Cell c) { return vb::Variant::date(c); }
    static Key comparable(Cell c) { return linearDays(c); }
    static std::optional<Key> literal(const FilterValue& v) {
        const auto d = dateOf(v);
        return d ? std::optional<Key>(linearDays(*d)) : std::nullopt;
    }
    static std::uint64_t sortKey(Cell c) { return orderedBits(linearDays(c)); }
};

template <typename Cells> class NumericColumn final : public Column {
public:
    using Column::Column;
    using Cell = typename Cells::Cell;

    std::size_t size() const override { return cells_.size(); }
    bool isNull(RowId row) const override { return nulls_.test(row); }
    vb::Variant value(RowId row) const override {
        return isNull(row) ? vb::Variant::null() : Cells::toVariant(cells_[row]);
    }
    std::size_t memoryBytes() const override {
        return cells_.capacity() * sizeof(Cell) + nulls_.memoryBytes();
    }

    void reserve(std::size_t rows) override { cells_.reserve(rows); }
    void append(const vb::Variant& value) override {
        if (value.isNull() || value.isEmpty()) {
            nulls_.pushNull(cells_.size());
            cells_.push_back(Cell{});
            return;
        }
        const Cell cell = Cells::fromVariant(value, info().type);
        nulls_.pushValue(cells_.size());
        cells_.push_back(cell);
    }
    void popBack() override {
        nulls_.popBack(cells_.size() - 1);
        cells_.pop_back();
    }
    void finish() override {
        cells_.shrink_to_fit();
        nulls_.shrink();
    }

    void matchCompare(CompareOp op, const FilterValue& value, RowMask& mask) const override {
        const auto literal = Cells::literal(value);
        if (!literal) raiseCannotCompare(value, Cells::kNeeds);
        const Cell* cells = cells_.data();
        compareRows(op, *literal, mask,
                    [cells](std::size_t i) { return Cells::comparable(cells[i]); });
        nulls_.zeroIn(mask);
    }

    std::vector<std::uint64_t> sortKeys() const override {
        std::vector<std::uint64_t> keys(cells_.size());
        std::transform(cells_.begin(), cells_.end(), keys.begin(), Cells::sortKey);
        nulls_.zeroIn(keys);
        return keys;
    }

    std::vector<vb::Variant> distinctValues(RowSpan rows) const override {
        std::vector<Cell> cells;
        forEachValue(rows, [&cells](Cell c) { cells.push_back(c); });
        std::sort(cells.begin(), cells.end());
        cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
        return variants(cells);
    }

    std::vector<vb::Variant> extremeValues(RowSpan rows) const override {
        std::optional<Cell> least, greatest, negative, positive, zero;
        forEachValue(rows, [&](Cell c) {
            if (!least || c < *least) least = c;
            if (!greatest || *greatest < c) greatest = c;
            if (c < Cell{} && (!negative || *negative < c)) negative = c;
            if (Cell{} < c && (!positive || c < *positive)) positive = c;
            if (c == Cell{}) zero = c;
        });
        std::vector<Cell> cells;
        for (const auto& cell : {least, greatest, negative, positive, zero})
            if (cell) cells.push_back(*cell);
        std::sort(cells.begin(), cells.end());
        cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
        return variants(cells);
    }

private:
    template <typename Visit> void forEachValue(RowSpan rows, Visit visit) const {
        const auto one = [&](RowId row) {
            if (!nulls_.test(row)) visit(cells_[row]);
        };
        if (rows) {
            std::for_each(rows->begin(), rows->end(), one);
            return;
        }
        for (RowId row = 0; row < cells_.size(); ++row)
            one(row);
    }

    static std::vector<vb::Variant> variants(const std::vector<Cell>& cells) {
        std::vector<vb::Variant> out;
        out.reserve(cells.size());
        std::transform(cells.begin(), cells.end(), std::back_inserter(out), Cells::toVariant);
        return out;
    }

    std::vector<Cell> cells_;
    NullBits nulls_;
};

// Ranks of distinct texts ignoring case, equal texts sharing a rank; slot 0 (Null) ranks 0.
std::vector<std::uint64_t> caselessRanks(const std::vector<QString>& pool) {
    std::vector<std::uint32_t> order(pool.size() - 1);
    std::iota(order.begin(), order.end(), 1u);
    const auto compare = [&pool](std::uint32_t a, std::uint32_t b) {
        return QString::compare(pool[a], pool[b], Qt::CaseInsensitive);
    };
    std::sort(order.begin(), order.end(),
              [&compare](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; });
    std::vector<std::uint64_t> ranks(pool.size(), 0);
    std::uint64_t rank = 0;
    for (std::size_t k = 0; k < order.size(); ++k) {
        if (k == 0 || compare(order[k - 1], order[k]) != 0) ++rank;
        ranks[order[k]] = rank;
    }
    return ranks;
}

// Text cells index a pool of the column's distinct texts; index 0 is Null. A report's text
// columns repeat a few names a million times, so a cell costs four bytes and each text is held
// once, and a criterion is decided once per distinct text rather than once per row.
class TextColumn final : public Column {
public:
    explicit TextColumn(FieldInfo info) : Column(std::move(info)), pool_(1) {}

    std::size_t size() const override { return cells_.size(); }
    bool isNull(RowId row) const override { return cells_[row] == kNull; }
    vb::Variant value(RowId row) const override {
        const std::uint32_t index = cells_[row];
        return index == kNull ? vb::Variant::null() : vb::Variant(pool_[index]);
    }
    std::size_t memoryBytes() const override {
        std::size_t bytes = cells_.capacity() * sizeof(std::uint32_t);
        bytes += pool_.capacity() * sizeof(QString);
        for (const QString& text : pool_)
            bytes += textBytes(text);
        return bytes;
    }

    void reserve(std::size_t rows) override { cells_.reserve(rows); }
    void append(const vb::Variant& value) override {
        if (value.isNull() || value.isEmpty()) {
            cells_.push_back(kNull);
        } else {
            cells_.push_back(intern(value.isString() ? value.stringValue() : vb::cstr(value)));
        }
    }
    void popBack() override { cells_.pop_back(); }
    void finish() override {
        cells_.shrink_to_fit();
        pool_.shrink_to_fit();
        lookup_ = {};
    }

    void matchCompare(CompareOp op, const FilterValue& value, RowMask& mask) const override {
        const QString literal = textOf(value);
        matchPool(mask, [&](const QString& text) {
            return holds(op, QString::compare(text, literal, Qt::CaseInsensitive));
        });
    }
    void matchLike(const LikePattern& pattern, RowMask& mask) const override {
        matchPool(mask, [&](const QString& text) { return pattern.matches(text); });
    }

    std::vector<std::uint64_t> sortKeys() const override {
        const auto ranks = caselessRanks(pool_);
        std::vector<std::uint64_t> keys(cells_.size());
        std::transform(cells_.begin(), cells_.end(), keys.begin(),
                       [&ranks](std::uint32_t index) { return ranks[index]; });
        return keys;
    }

    // The pool holds each text once; only which of them the rows use is left to find.
    std::vector<vb::Variant> distinctValues(RowSpan rows) const override {
        std::vector<std::uint8_t> used(pool_.size(), 0);
        if (rows) {
            for (RowId row : *rows)
                used[cells_[row]] = 1;
        } else {
            for (std::uint32_t index : cells_)
                used[index] = 1;
        }
        std::vector<vb::Variant> out;
        for (std::size_t i = 1; i < pool_.size(); ++i)
            if (used[i]) out.emplace_back(pool_[i]);
        return out;
    }

private:
    static constexpr std::uint32_t kNull = 0;

    std::uint32_t intern(const QString& text) {
        const auto found = lookup_.constFind(text);
        if (found != lookup_.constEnd()) return *found;
        if (pool_.size() > std::numeric_limits<std::uint32_t>::max()) vb::raise(vb::err::Overflow);
        const auto index = static_cast<std::uint32_t>(pool_.size());
        pool_.push_back(text);
        lookup_.insert(text, index);
        return index;
    }

    template <typename Passes> void matchPool(RowMask& mask, Passes passes) const {
        std::vector<std::uint8_t> hits(pool_.size(), 0);
        for (std::size_t i = 1; i < pool_.size(); ++i)
            hits[i] = passes(pool_[i]) ? 1 : 0;
        std::transform(cells_.begin(), cells_.end(), mask.begin(),
                       [&hits](std::uint32_t index) { return hits[index]; });
    }

    std::vector<std::uint32_t> cells_;
    std::vector<QString> pool_;
    QHash<QString, std::uint32_t> lookup_; // while building only
};

// Variant fields keep each value as given; they are rare (computed columns of mixed kinds), so
// they trade the compact layouts for simplicity and compare with the language's rules.
class VariantColumn final : public Column {
public:
    using Column::Column;

    std::size_t size() const override { return cells_.size(); }
    bool isNull(RowId row) const override { return cells_[row].isNull(); }
    vb::Variant value(RowId row) const override { return cells_[row]; }
    std::size_t memoryBytes() const override {
        std::size_t bytes = cells_.capacity() * sizeof(vb::Variant);
        for (const vb::Variant& v : cells_) {
            if (v.isString()) bytes += textBytes(v.stringValue());
        }
        return bytes;
    }

    void reserve(std::size_t rows) override { cells_.reserve(rows); }
    void append(const vb::Variant& value) override {
        cells_.push_back(value.isEmpty() ? vb::Variant::null() : value);
    }
    void popBack() override { cells_.pop_back(); }
    void finish() override { cells_.shrink_to_fit(); }

    void matchCompare(CompareOp op, const FilterValue& value, RowMask& mask) const override {
        const vb::Variant literal = variantOf(value);
        matchCells(mask, [&](const vb::Variant& v) {
            return holds(op, *vb::compare(v, literal, vb::CompareMode::Text));
        });
    }
    void matchLike(const LikePattern& pattern, RowMask& mask) const override {
        matchCells(mask, [&](const vb::Variant& v) {
            return pattern.matches(v.isString() ? v.stringValue() : vb::cstr(v));
        });
    }

    std::vector<std::uint64_t> sortKeys() const override {
        std::vector<RowId> order;
        for (RowId row = 0; row < cells_.size(); ++row) {
            if (!cells_[row].isNull()) order.push_back(row);
        }
        const auto compare = [this](RowId a, RowId b) {
            return *vb::compare(cells_[a], cells_[b], vb::CompareMode::Text);
        };
        std::stable_sort(order.begin(), order.end(),
                         [&compare](RowId a, RowId b) { return compare(a, b) < 0; });
        std::vector<std::uint64_t> keys(cells_.size(), 0);
        std::uint64_t rank = 0;
        for (std::size_t k = 0; k < order.size(); ++k) {
            if (k == 0 || compare(order[k - 1], order[k]) != 0) ++rank;
            keys[order[k]] = rank;
        }
        return keys;
    }

    // Values of different kinds that read alike ("1" and 1) show alike, so one stands for all.
    std::vector<vb::Variant> distinctValues(RowSpan rows) const override {
        QHash<QString, vb::Variant> seen;
        const auto one = [&](RowId row) {
            const vb::Variant& v = cells_[row];
            if (!v.isNull()) seen.insert(vb::cstr(v), v);
        };
        if (rows) {
            std::for_each(rows->begin(), rows->end(), one);
        } else {
            for (RowId row = 0; row < cells_.size(); ++row)
                one(row);
        }
        return {seen.cbegin(), seen.cend()};
    }

private:
    template <typename Passes> void matchCells(RowMask& mask, Passes passes) const {
        for (std::size_t i = 0; i < cells_.size(); ++i)
            mask[i] = !cells_[i].isNull() && passes(cells_[i]) ? 1 : 0;
    }

    std::vector<vb::Variant> cells_;
};

} // namespace

bool LikePattern::matches(QStringView text) const {
    switch (kind) {
    case Kind::Exact:
        return text.compare(needle, Qt::CaseInsensitive) == 0;
    case Kind::Prefix:
        return text.startsWith(needle, Qt::CaseInsensitive);
    case Kind::Contains:
        return text.contains(needle, Qt::CaseInsensitive);
    }
    return false;
}

std::optional<double> parseQueryNumber(QStringView text) {
    QStringView t = text.trimmed();
    const bool negative = t.startsWith(u'-');
    if (negative || t.startsWith(u'+')) t = t.mid(1);
    if (t.startsWith(u'$')) t = t.mid(1);
    // from_chars would also take "inf" and "nan", which no query writes.
    if (t.isEmpty() || !(t[0].isDigit() || t[0] == u'.')) return std::nullopt;
    const QByteArray latin = t.toLatin1();
    double value = 0;
    const auto [end, ec] = std::from_chars(latin.data(), latin.data() + latin.size(), value);
    if (ec != std::errc() || end != latin.data() + latin.size()) return std::nullopt;
    return negative ? -value : value;
}

void Column::matchLike(const LikePattern&, RowMask&) const {
    raiseBadArguments(
        QStringLiteral("Filter: LIKE needs a text field, and '%1' is not one").arg(info_.name));
}

void Column::matchNull(bool wantNull, RowMask& mask) const {
    for (RowId row = 0; row < mask.size(); ++row)
        mask[row] = isNull(row) == wantNull ? 1 : 0;
}

void Column::raiseCannotCompare(const FilterValue& value, const char* needs) const {
    raiseBadArguments(QStringLiteral("Filter: field '%1' needs %2, not %3")
                          .arg(info_.name, QLatin1String(needs), shown(value)));
}

std::unique_ptr<Column> makeColumn(FieldInfo info) {
    switch (varTypeOf(info.type)) {
    case vb::VarType::Boolean:
        return std::make_unique<NumericColumn<BooleanCells>>(std::move(info));
    case vb::VarType::Integer:
        return std::make_unique<NumericColumn<SmallIntCells>>(std::move(info));
    case vb::VarType::Long:
        return std::make_unique<NumericColumn<LongCells>>(std::move(info));
    case vb::VarType::Single:
        return std::make_unique<NumericColumn<SingleCells>>(std::move(info));
    case vb::VarType::Double:
        return std::make_unique<NumericColumn<DoubleCells>>(std::move(info));
    case vb::VarType::Currency:
        return std::make_unique<NumericColumn<CurrencyCells>>(std::move(info));
    case vb::VarType::Date:
        return std::make_unique<NumericColumn<DateCells>>(std::move(info));
    case vb::VarType::String:
        return std::make_unique<TextColumn>(std::move(info));
    default:
        return std::make_unique<VariantColumn>(std::move(info));
    }
}

int Table::fieldIndex(QStringView name) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (name.compare(columns[i]->info().name, Qt::CaseInsensitive) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

std::size_t Table::memoryBytes() const {
    std::size_t bytes = columns.capacity() * sizeof(columns[0]);
    for (const auto& column : columns)
        bytes += column->memoryBytes();
    return bytes;
}

} // namespace rs::detail
