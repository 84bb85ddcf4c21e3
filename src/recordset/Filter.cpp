#include "recordset/Filter.h"

#include "recordset/CriteriaScanner.h"
#include "vb/Convert.h"

#include <algorithm>

namespace rs::detail {

namespace {

// Reading recurses once per "(", and each open level holds a mask of the rows its clauses have
// decided so far, so both stack and memory grow with the depth. The dialect engine takes the
// same depth.
constexpr int kMaxNesting = 200;

// What a run of clauses decided, and whether an OR joined any of them: ADO refuses to join such
// a group to anything with AND.
struct Group {
    RowMask rows;
    bool hasOr = false;
};

struct Operator {
    CompareOp compare = CompareOp::Equal;
    bool like = false;
};

bool isWildcard(QChar c) {
    return c == u'*' || c == u'%';
}

// Reads the criteria left to right and decides each clause as soon as it is read. AND and OR
// have the same precedence, so "A OR B AND C" means "(A OR B) AND C" - which ADO then refuses.
class FilterReader {
public:
    FilterReader(const Table& table, QStringView text) : table_(table), scan_(text, u"Filter") {}

    RowMask read() {
        Group all = criteria();
        scan_.skipBlanks();
        if (scan_.peek() == u')') scan_.fail(QStringLiteral("a ')' has no matching '('"));
        if (!scan_.atEnd())
            scan_.fail(QStringLiteral("expected AND or OR at %1").arg(scan_.here()));
        return std::move(all.rows);
    }

private:
    Group criteria() {
        Group left = term();
        for (;;) {
            scan_.skipBlanks();
            const bool isAnd = scan_.takeKeyword(u"AND");
            if (!isAnd && !scan_.takeKeyword(u"OR")) return left;
            Group right = term();
            if (isAnd && (left.hasOr || right.hasOr))
                scan_.fail(QStringLiteral("an OR group cannot be joined with AND"));
            combine(left.rows, right.rows, isAnd);
            left.hasOr = left.hasOr || right.hasOr || !isAnd;
        }
    }

    static void combine(RowMask& into, const RowMask& with, bool isAnd) {
        if (isAnd) {
            std::transform(into.begin(), into.end(), with.begin(), into.begin(),
                           [](std::uint8_t a, std::uint8_t b) { return a & b; });
        } else {
            std::transform(into.begin(), into.end(), with.begin(), into.begin(),
                           [](std::uint8_t a, std::uint8_t b) { return a | b; });
        }
    }

    Group term() {
        scan_.skipBlanks();
        if (!scan_.take(u'(')) return Group{clause(), false};
        if (++nesting_ > kMaxNesting)
            scan_.fail(QStringLiteral("parentheses nest more than %1 deep").arg(kMaxNesting));
        Group inner = criteria();
        scan_.skipBlanks();
        if (!scan_.take(u')'))
            scan_.fail(QStringLiteral("expected AND, OR or ')' at %1").arg(scan_.here()));
        --nesting_;
        return inner;
    }

    RowMask clause() {
        const QString name = scan_.readFieldName(u"=<>()'#");
        const int index = table_.fieldIndex(name);
        if (index < 0) scan_.fail(QStringLiteral("unknown field '%1'").arg(name));
        const Column& column = *table_.columns[static_cast<std::size_t>(index)];
        const Operator op = readOperator(name);
        const std::optional<FilterValue> value = readValue(name);
        RowMask mask(table_.rows);
        if (op.like) {
            if (!value || value->kind != FilterValue::Kind::Text)
                scan_.fail(QStringLiteral("LIKE needs a text value in single quotes"));
            column.matchLike(likePattern(value->text), mask);
        } else if (!value) {
            if (op.compare != CompareOp::Equal && op.compare != CompareOp::NotEqual)
                scan_.fail(QStringLiteral("NULL can only be compared with = or <>"));
            column.matchNull(op.compare == CompareOp::Equal, mask);
        } else {
            column.matchCompare(op.compare, *value, mask);
        }
        return mask;
    }

    Operator readOperator(const QString& field) {
        scan_.skipBlanks();
        if (scan_.take(u'=')) return {CompareOp::Equal};
        if (scan_.take(u'<')) {
            if (scan_.take(u'>')) return {CompareOp::NotEqual};
            if (scan_.take(u'=')) return {CompareOp::LessEqual};
            return {CompareOp::Less};
        }
        if (scan_.take(u'>')) {
            if (scan_.take(u'=')) return {CompareOp::GreaterEqual};
            return {CompareOp::Greater};
        }
        if (scan_.takeKeyword(u"LIKE")) return {CompareOp::Equal, true};
        scan_.fail(
            QStringLiteral("expected an operator after '%1' at %2").arg(field, scan_.here()));
    }

    // The value of a clause; nullopt for NULL.
    std::optional<FilterValue> readValue(const QString& field) {
        scan_.skipBlanks();
        if (scan_.take(u'\'')) return FilterValue{FilterValue::Kind::Text, 0, readQuoted()};
        if (scan_.take(u'#')) return readDate();
        if (scan_.takeKeyword(u"NULL")) return std::nullopt;
        const QString where = scan_.here();
        const QString written = scan_.readBare(u")").toString();
        if (written.isEmpty())
            scan_.fail(QStringLiteral("expected a value for '%1' at %2").arg(field, where));
        const auto number = parseQueryNumber(written);
        if (!number)
            scan_.fail(
                QStringLiteral("'%1' is not a value; write text in single quotes").arg(written));
        return FilterValue{FilterValue::Kind::Number, *number, written};
    }

    // After the opening quote; '' stands for one quote.
    QString readQuoted() {
        QString text;
        for (;;) {
            if (scan_.atEnd())
                scan_.fail(QStringLiteral("a text value is missing its closing quote"));
            const QChar c = scan_.next();
            if (c == u'\'' && !scan_.take(u'\'')) return text;
            text += c;
        }
    }

    // After the opening #; query text reads dates month first whatever the region.
    FilterValue readDate() {
        QString written;
        if (!scan_.readUntil(u'#', written))
            scan_.fail(QStringLiteral("a date is missing its closing '#'"));
        const auto serial = vb::parseDate(written, true);
        if (!serial) scan_.fail(QStringLiteral("#%1# is not a date").arg(written));
        return FilterValue{FilterValue::Kind::Date, *serial, written};
    }

    LikePattern likePattern(QStringView text) const {
        const bool trailing = !text.isEmpty() && isWildcard(text.back());
        if (trailing) text.chop(1);
        const bool leading = !text.isEmpty() && isWildcard(text.front());
        if (leading) text = text.mid(1);
        if ((leading && !trailing) || std::any_of(text.begin(), text.end(), isWildcard))
            scan_.fail(QStringLiteral("LIKE allows a wildcard only at the end or at both ends"));
        const auto kind = leading    ? LikePattern::Kind::Contains
                          : trailing ? LikePattern::Kind::Prefix
                                     : LikePattern::Kind::Exact;
        return LikePattern{kind, text.toString()};
    }

    const Table& table_;
    CriteriaScanner scan_;
    int nesting_ = 0; // the "(" read and not yet closed; a failure ends the reader
};

} // namespace

RowMask evaluateFilter(const Table& table, QStringView criteria) {
    return FilterReader(table, criteria).read();
}

} // namespace rs::detail
