#include "jet/SqliteGenerator.h"

#include "jet/FunctionRegistry.h"
#include "jet/GeneratorShared.h"
#include "jet/JetError.h"
#include "jet/Storage.h"
#include "vb/Convert.h"

#include <QSet>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace jet {

using namespace gen;

namespace {

QString number(double d) {
    return QString::number(d, 'g', 17);
}

// Whether SQLite's own + - * / compute the dialect's arithmetic on values of a type: numbers,
// Yes/No values (-1 and 0) and dates (on the linear day line). Text must be read as CDbl reads it
// or refused, and a value of unknown type may be text.
bool nativeArithmetic(SqlType type) {
    return isNumeric(type) || type == SqlType::Date;
}

// The jet_* function that computes an arithmetic operator as the runtime does
// (SqliteFunctions.cpp).
QString operatorFunction(Op op) {
    switch (op) {
    case Op::Add:
        return u"jet_add"_s;
    case Op::Subtract:
        return u"jet_sub"_s;
    case Op::Multiply:
        return u"jet_mul"_s;
    case Op::Divide:
        return u"jet_div"_s;
    case Op::IntDivide:
        return u"jet_intdiv"_s;
    case Op::Mod:
        return u"jet_mod"_s;
    default: // Power
        return u"jet_pow"_s;
    }
}

// A truth written as a condition, turned into the dialect's -1/0 value (Null stays Null).
QString truthValue(const QString& conditionText) {
    return u"(-("_s + conditionText + u"))"_s;
}

const QString kCollate = u" COLLATE jet_text"_s;

} // namespace

QString SqliteGenerator::quoted(const QString& name) {
    QString q = name;
    q.replace(u'"', u"\"\""_s);
    return u'"' + q + u'"';
}

QString SqliteGenerator::literal(const vb::Variant& v) {
    switch (v.type()) {
    case vb::VarType::Empty:
    case vb::VarType::Null:
        return u"NULL"_s;
    case vb::VarType::Boolean:
        return v.boolValue() ? u"-1"_s : u"0"_s;
    case vb::VarType::Integer:
        return QString::number(v.integerValue());
    case vb::VarType::Long:
        return QString::number(v.longValue());
    case vb::VarType::Single:
        return number(v.singleValue());
    case vb::VarType::Double:
        return number(v.doubleValue());
    case vb::VarType::Currency:
        return number(v.currencyValue().toDouble());
    case vb::VarType::Date:
        return number(storage::linearFromSerial(v.dateValue()));
    case vb::VarType::String: {
        QString s = v.stringValue();
        s.replace(u'\'', u"''"_s);
        return u'\'' + s + u'\'';
    }
    }
    return u"NULL"_s;
}

QString SqliteGenerator::value(const Expr& e) const {
    if (auto given = substitutes_.constFind(&e); given != substitutes_.constEnd()) return *given;
    switch (e.kind) {
    case ExprKind::Literal:
        return literal(e.value);
    case ExprKind::Column:
        return column(e);
    case ExprKind::Unary:
        return unary(e, false);
    case ExprKind::Binary:
        return binary(e, false);
    case ExprKind::Function:
        return function(e);
    case ExprKind::Subquery:
        return u'(' + select(*e.subquery) + u')';
    case ExprKind::Star:
        return u"*"_s;
    default:
        return truthValue(predicate(e));
    }
}

QString SqliteGenerator::condition(const Expr& e) const {
    if (substitutes_.contains(&e)) return u'(' + value(e) + u" <> 0)"_s;
    switch (e.kind) {
    case ExprKind::Unary:
        return e.op == Op::Not ? unary(e, true) : value(e);
    case ExprKind::Binary:
        return binary(e, true);
    case ExprKind::Between:
    case ExprKind::InList:
    case ExprKind::InSelect:
    case ExprKind::Like:
    case ExprKind::IsNull:
    case ExprKind::Exists:
        return predicate(e);
    default:
        return value(e);
    }
}

QString SqliteGenerator::unary(const Expr& e, bool asCondition) const {
    const Expr& operand = *e.args[0];
    switch (e.op) {
    case Op::Negate:
        if (nativeArithmetic(binding_.typeOf(&operand))) return u"(-"_s + value(operand) + u')';
        return u"jet_neg("_s + argument(operand) + u')';
    case Op::Plus:
        return value(operand);
    default: // Not: logical on truths, bitwise on numbers, as the dialect's Not is
        if (asCondition) return u"(NOT "_s + condition(operand) + u')';
        return u"(~"_s + value(operand) + u')';
    }
}

QString SqliteGenerator::binary(const Expr& e, bool asCondition) const {
    const Expr& a = *e.args[0];
    const Expr& b = *e.args[1];
    if (isComparison(e.op)) {
        const QString text = comparison(e);
        return asCondition ? text : truthValue(text);
    }
    if (isLogical(e.op)) {
        const bool truths = binding_.typeOf(&e) == SqlType::Boolean;
        if (truths && (e.op == Op::And || e.op == Op::Or)) {
            const QString text = u'(' + condition(a) + (e.op == Op::And ? u" AND "_s : u" OR "_s) +
                                 condition(b) + u')';
            return asCondition ? text : truthValue(text);
        }
        const QString x = value(a), y = value(b);
        QString bits;
        switch (e.op) {
        case Op::And:
            bits = u'(' + x + u" & "_s + y + u')';
            break;
        case Op::Or:
            bits = u'(' + x + u" | "_s + y + u')';
            break;
        case Op::Xor:
            bits = u"(("_s + x + u" | "_s + y + u") & ~("_s + x + u" & "_s + y + u"))"_s;
            break;
        case Op::Eqv:
            bits = u"(~(("_s + x + u" | "_s + y + u") & ~("_s + x + u" & "_s + y + u")))"_s;
            break;
        default: // Imp
            bits = u"((~"_s + x + u") | "_s + y + u')';
            break;
        }
        return asCondition ? u'(' + bits + u" <> 0)"_s : bits;
    }
    if (e.op == Op::Concat) return concatenation(a, b);
    const SqlType typeA = binding_.typeOf(&a), typeB = binding_.typeOf(&b);
    // + joins two texts; SQLite's || gives Null for a Null side as the dialect's + does.
    if (e.op == Op::Add && isText(typeA) && isText(typeB))
        return u'(' + value(a) + u" || "_s + value(b) + u')';
    // The reports' arithmetic on numbers and dates is SQLite's own; anything else, and \, Mod and
    // ^ always, goes through the runtime's operators.
    if (nativeArithmetic(typeA) && nativeArithmetic(typeB)) {
        switch (e.op) {
        case Op::Add:
            return u'(' + value(a) + u" + "_s + value(b) + u')';
        case Op::Subtract:
            return u'(' + value(a) + u" - "_s + value(b) + u')';
        case Op::Multiply:
            return u'(' + value(a) + u" * "_s + value(b) + u')';
        case Op::Divide:
            // SQLite gives Null for a zero divisor where the language raises 11 (6 for 0/0), so
            // only a divisor that cannot be zero divides natively.
            if (nonzeroNumber(b))
                return u'(' + value(a) + u" / CAST("_s + value(b) + u" AS REAL))"_s;
            break;
        default:
            break;
        }
    }
    return operatorFunction(e.op) + u'(' + argument(a) + u", "_s + argument(b) + u')';
}

QString SqliteGenerator::concatenation(const Expr& a, const Expr& b) const {
    // When both sides are texts and one can never be Null, the result cannot be Null either, and
    // SQLite's own || with Null read as "" is exact; otherwise the dialect's rules need jet_concat
    // (Null & Null is Null, numbers and dates are written as CStr writes them).
    const bool texts = isText(binding_.typeOf(&a)) && isText(binding_.typeOf(&b));
    if (!texts || !(neverNull(a) || neverNull(b)))
        return u"jet_concat("_s + argument(a) + u", "_s + argument(b) + u')';
    auto side = [&](const Expr& e) {
        return neverNull(e) ? value(e) : u"COALESCE("_s + value(e) + u", '')"_s;
    };
    return u'(' + side(a) + u" || "_s + side(b) + u')';
}

QString SqliteGenerator::comparison(const Expr& e) const {
    const Expr& a = *e.args[0];
    const Expr& b = *e.args[1];
    const bool text = isText(binding_.typeOf(&a)) || isText(binding_.typeOf(&b));
    return u'(' + value(a) + u' ' + comparisonOperator(e.op) + u' ' + value(b) +
           (text ? kCollate : QString()) + u')';
}

QString SqliteGenerator::collated(const Expr& e) const {
    return isText(binding_.typeOf(&e)) ? value(e) + kCollate : value(e);
}

QString SqliteGenerator::predicate(const Expr& e) const {
    const QString no = e.negated ? u"NOT "_s : QString();
    switch (e.kind) {
    case ExprKind::Between:
        return u'(' + collated(*e.args[0]) + u' ' + no + u"BETWEEN "_s + value(*e.args[1]) +
               u" AND "_s + value(*e.args[2]) + u')';
    case ExprKind::InList: {
        QStringList items;
        for (std::size_t i = 1; i < e.args.size(); ++i)
            items << value(*e.args[i]);
        return u'(' + collated(*e.args[0]) + u' ' + no + u"IN ("_s + items.join(u", "_s) + u"))"_s;
    }
    case ExprKind::InSelect:
        return u'(' + collated(*e.args[0]) + u' ' + no + u"IN ("_s + select(*e.subquery) + u"))"_s;
    case ExprKind::Like:
        return u'(' + no + u"jet_like("_s + argument(*e.args[0]) + u", "_s + argument(*e.args[1]) +
               u"))"_s;
    case ExprKind::IsNull:
        return u'(' + value(*e.args[0]) + (e.negated ? u" IS NOT NULL)"_s : u" IS NULL)"_s);
    case ExprKind::Exists:
        return u"(EXISTS ("_s + select(*e.subquery) + u"))"_s;
    default:
        return value(e);
    }
}

namespace {

// A value of the given type, tagged for a jet_* function when SQLite alone cannot tell its kind.
QString tagged(const QString& valueText, SqlType type) {
    switch (type) {
    case SqlType::Date:
        return u"jet_tag_date("_s + valueText + u')';
    case SqlType::Currency:
        return u"jet_tag_currency("_s + valueText + u')';
    case SqlType::Boolean:
        return u"jet_tag_bool("_s + valueText + u')';
    case SqlType::Single:
        return u"jet_tag_single("_s + valueText + u')';
    default:
        return valueText;
    }
}

// The functions that turn a value into what a column of a type keeps (SqliteFunctions.cpp).
// Text columns take any value as it comes.
struct Storing {
    SqlType column;
    const char* function;
};
constexpr Storing kStoring[] = {
    {SqlType::Boolean, "jet_bool"},         {SqlType::Byte, "jet_to_byte"},
    {SqlType::Integer, "jet_to_short"},     {SqlType::Long, "jet_to_long"},
    {SqlType::Single, "jet_to_single"},     {SqlType::Double, "jet_to_double"},
    {SqlType::Currency, "jet_to_currency"}, {SqlType::Date, "jet_to_date"},
};

QString storing(SqlType column) {
    for (const Storing& s : kStoring)
        if (s.column == column) return QString::fromLatin1(s.function);
    return QString();
}

// A value of the given type written into a column: converted to what the column keeps.
QString converted(const QString& valueText, SqlType given, const ColumnType& target) {
    const QString convert = storing(target.type);
    // The dialect's own truths and dates are already what their columns keep.
    const bool kept = given == target.type && (given == SqlType::Boolean || given == SqlType::Date);
    if (convert.isEmpty() || kept) return valueText;
    // A number of the column's own kind needs no tag to be read as one.
    return convert + u'(' + (given == target.type ? valueText : tagged(valueText, given)) + u')';
}

// The rows of INSERT ... SELECT under names of their own, so each can be converted for its column.
const QString kWrittenRows = u"jet_rows"_s;

} // namespace

QString SqliteGenerator::argument(const Expr& e) const {
    return tagged(value(e), binding_.typeOf(&e));
}

// A moment cut into its day or its time of day through Format and back (see
// formattedDatePart) is computed without writing and reading back text. Empty when e is not such
// a pair of calls.
QString SqliteGenerator::dateSplit(const Expr& e) const {
    if (e.args.size() != 1) return QString();
    const Expr& inner = *e.args[0];
    if (inner.kind != ExprKind::Function || inner.args.size() != 2 ||
        binding_.typeOf(inner.args[0].get()) != SqlType::Date ||
        inner.args[1]->kind != ExprKind::Literal || !inner.args[1]->value.isString())
        return QString();
    const DialectFunction* part =
        formattedDatePart(e.name, inner.name, inner.args[1]->value.stringValue());
    return part ? sqliteName(*part) + u'(' + argument(*inner.args[0]) + u')' : QString();
}

QString SqliteGenerator::function(const Expr& e) const {
    const DialectFunction* f = findFunction(e.name);
    if (!f) raise(err::UndefinedFunction, e.name);
    if (QString split = dateSplit(e); !split.isEmpty()) return split;
    const QString filter = f->isAggregate() ? pivotFilter_ : QString();
    switch (f->sqlite.form) {
    case SqliteForm::Native:
        return sqliteName(*f) + u'(' + (e.star ? u"*"_s : value(*e.args[0])) + u')' + filter;
    case SqliteForm::NativeCollated:
        return sqliteName(*f) + u'(' + collated(*e.args[0]) + u')' + filter;
    case SqliteForm::Body:
        break;
    }
    QStringList args;
    for (const ExprPtr& a : e.args)
        args << argument(*a);
    const QString arguments = u'(' + args.join(u", "_s) + u')';
    if (!e.dollar) return sqliteName(*f) + arguments + filter;
    switch (f->dollar) {
    case DollarForm::NullRaises:
        return u"jet_dollar("_s + sqliteName(*f) + arguments + u')';
    case DollarForm::NullBlank:
        return u"coalesce("_s + sqliteName(*f) + arguments + u", '')"_s;
    case DollarForm::Own:
        return sqliteDollarName(*f) + arguments;
    case DollarForm::None:
        break;
    }
    raise(err::UndefinedFunction, e.name + u'$');
}

QString SqliteGenerator::selectCore(const Select& s, const QStringList& extraColumns) const {
    QStringList columns;
    for (const OutputColumn& out : binding_.outputs(&s)) {
        const QString text =
            out.expr && out.expr->kind == ExprKind::Star
                ? quoted(out.starColumn.source) + u'.' + quoted(out.starColumn.column)
                : value(*out.expr);
        columns << text + u" AS "_s + quoted(out.name);
    }
    columns << extraColumns;
    QString sql = u"SELECT "_s + (s.distinct ? u"DISTINCT "_s : QString()) + columns.join(u", "_s);
    sql += fromClause(s.from);
    if (s.where) sql += u" WHERE "_s + condition(*s.where);
    if (!s.groupBy.empty()) {
        QStringList groups;
        for (const ExprPtr& g : s.groupBy)
            groups << collated(*g);
        sql += u" GROUP BY "_s + groups.join(u", "_s);
    }
    if (s.having) sql += u" HAVING "_s + condition(*s.having);
    return sql;
}

QString SqliteGenerator::orderBy(const Select& s) const {
    if (s.orderBy.empty()) return QString();
    QStringList terms;
    const bool compound = s.unionNext != nullptr;
    const auto& outputs = binding_.outputs(&s);
    for (const OrderItem& o : s.orderBy) {
        QString term;
        if (compound) {
            // A compound select orders by its result columns only: find the column by name.
            const ResolvedColumn* c = binding_.column(o.expr.get());
            for (std::size_t i = 0; i < outputs.size() && c; ++i)
                if (outputs[i].name.compare(c->column, Qt::CaseInsensitive) == 0)
                    term = QString::number(i + 1);
            if (term.isEmpty()) term = value(*o.expr);
        } else {
            term = collated(*o.expr);
        }
        terms << term + (o.descending ? u" DESC"_s : QString());
    }
    return u" ORDER BY "_s + terms.join(u", "_s);
}

QString SqliteGenerator::select(const Select& s) const {
    // A crosstab cell's filter belongs to the cell's own aggregates; a subquery inside the value
    // counts its own rows.
    struct OuterFilter {
        QString& filter;
        QString kept = std::exchange(filter, QString());
        ~OuterFilter() { filter = std::move(kept); }
    } outer{pivotFilter_};
    QString sql = selectCore(s);
    for (const Select *next = s.unionNext.get(), *prev = &s; next;
         prev = next, next = next->unionNext.get())
        sql += (prev->unionAll ? u" UNION ALL "_s : u" UNION "_s) + selectCore(*next);
    sql += orderBy(s);
    if (s.top) {
        if (s.top->percent) {
            // The share of the rows, rounded up, as the dialect counts it.
            sql = u"SELECT * FROM ("_s + sql + u") LIMIT (SELECT CAST((count(*) * "_s +
                  number(s.top->count) + u" + 99.999999) / 100 AS INTEGER) FROM ("_s +
                  selectCore(s) + u"))"_s;
        } else {
            sql += u" LIMIT "_s + number(s.top->count);
        }
    }
    return sql;
}

QString SqliteGenerator::pivotValues(const Transform& t) const {
    const Select& s = *t.select;
    QString sql = u"SELECT DISTINCT "_s + value(*t.pivot) + fromClause(s.from);
    if (s.where) sql += u" WHERE "_s + condition(*s.where);
    return sql + (isText(binding_.typeOf(t.pivot.get())) ? u" ORDER BY 1 COLLATE jet_text, 1"_s
                                                         : u" ORDER BY 1"_s);
}

QString SqliteGenerator::pivotMatch(const Transform& t, const PivotColumn& column) const {
    const vb::Variant& first = column.values.front();
    if (first.isNull()) return value(*t.pivot) + u" IS NULL"_s;
    if (column.fromInList) return collated(*t.pivot) + u" = "_s + literal(first);
    // Exact matches let SQLite compare without calling back into the text collation.
    QStringList literals;
    for (const vb::Variant& v : column.values)
        literals << literal(v);
    return value(*t.pivot) + u" IN ("_s + literals.join(u", "_s) + u')';
}

QString SqliteGenerator::crosstabCell(const Transform& t, const PivotColumn& column) const {
    const Expr& value = *t.aggregate;
    pivotFilter_ = u" FILTER (WHERE "_s + pivotMatch(t, column) + u')';
    const QString cell = this->value(value);
    const QString rows = u"count(*)"_s + pivotFilter_;
    pivotFilter_.clear();
    // An empty cell is Null, even for a count. Counting rows (or a column that is never Null),
    // the count itself tells whether the cell has rows.
    if (isCount(value)) {
        const Expr* arg = value.args.empty() ? nullptr : value.args.front().get();
        const ResolvedColumn* c = arg ? binding_.column(arg) : nullptr;
        if (value.star || !arg || (c && c->type.counter)) return u"NULLIF("_s + cell + u", 0)"_s;
    }
    if (nullWhenEmpty(value)) return cell;
    return u"(CASE WHEN "_s + rows + u" = 0 THEN NULL ELSE "_s + cell + u" END)"_s;
}

QString SqliteGenerator::crosstab(const Transform& t,
                                  const std::vector<PivotColumn>& columns) const {
    QStringList cells;
    for (const PivotColumn& column : columns)
        cells << crosstabCell(t, column) + u" AS "_s + quoted(column.name);
    const Select& s = *t.select;
    QString sql = selectCore(s, cells);
    if (s.orderBy.empty() && !s.groupBy.empty()) {
        // The dialect lists a crosstab's rows in the order of their headings.
        QStringList groups;
        for (const ExprPtr& g : s.groupBy)
            groups << collated(*g);
        return sql + u" ORDER BY "_s + groups.join(u", "_s);
    }
    return sql + orderBy(s);
}

QString SqliteGenerator::createTable(const QString& name, const QStringList& columns) const {
    return (isSessionTableName(name) ? u"CREATE TEMP TABLE "_s : u"CREATE TABLE "_s) +
           quoted(name) + u" ("_s + columns.join(u", "_s) + u')';
}

SqliteGenerator::Commands SqliteGenerator::selectInto(const Select& s) const {
    const IntoTable into = intoTable(s);
    return {{createTable(s.into, into.declared)}, {into.insert}};
}

QString SqliteGenerator::storedValue(const Expr& e, const ColumnType& target) const {
    return converted(value(e), binding_.typeOf(&e), target);
}

QString SqliteGenerator::insertRows(const QString& into, const Select& rows,
                                    const std::vector<ColumnType>& targets) const {
    const std::vector<OutputColumn>& outputs = binding_.outputs(&rows);
    if (outputs.size() != targets.size()) raise(err::InsertSyntax);
    QStringList rowNames, values;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        rowNames << quoted(u"c"_s + QString::number(i + 1));
        values << converted(rowNames.back(), outputs[i].type.type, targets[i]);
    }
    if (values == rowNames) return into + select(rows);
    return u"WITH "_s + kWrittenRows + u" ("_s + rowNames.join(u", "_s) + u") AS ("_s +
           select(rows) + u") "_s + into + u"SELECT "_s + values.join(u", "_s) + u" FROM "_s +
           kWrittenRows;
}

namespace {

QString rowidOf(const TableRef& table) {
    return SqliteGenerator::quoted(table.alias.isEmpty() ? table.name : table.alias) + u".rowid"_s;
}

// The rows a write through a join changes, read before any is: a temporary table made and dropped
// by the statement's own commands (SqliteGenerator::matches).
const QString kMatches = u"temp.\"jet_matches\""_s;
const QString kDropMatches = u"DROP TABLE "_s + kMatches;

QString rowColumn(std::size_t place) {
    return u"\"r"_s + QString::number(place + 1) + u'"';
}
QString valueColumn(int place) {
    return u"\"v"_s + QString::number(place + 1) + u'"';
}

// The commands that write one table's kept values (rows of the join in column `row`): the last
// match of each of its rows, and, where an outer join may lack its row, the new rows.
SqliteGenerator::Commands writeBack(const WrittenTable& w, const QString& row) {
    const QString target = SqliteGenerator::quoted(w.table->name);
    QStringList sets, names, given;
    for (const auto& [column, place] : w.columns) {
        sets << column + u" = jet_match."_s + valueColumn(place);
        names << column;
        given << valueColumn(place);
    }
    SqliteGenerator::Commands commands;
    commands.reserve(2);
    commands.push_back(
        {u"UPDATE "_s + target + u" SET "_s + sets.join(u", "_s) + u" FROM (SELECT * FROM "_s +
             kMatches + u" WHERE rowid IN (SELECT max(rowid) FROM "_s + kMatches + u" GROUP BY "_s +
             row + u")) AS jet_match WHERE "_s + target + u".rowid = jet_match."_s + row,
         false});
    if (w.source->optional)
        commands.push_back({SqliteGenerator::insertInto(w.table->name, names) + u"SELECT "_s +
                                given.join(u", "_s) + u" FROM "_s + kMatches + u" WHERE "_s + row +
                                u" IS NULL ORDER BY rowid"_s,
                            false});
    return commands;
}

} // namespace

// A temporary table of the rows `from` gives that `where` keeps: for each table of `rowsOf` its
// rowid (Null where an outer join found no row of it) as r1, r2, ..., then `values` as v1, v2, ...
// Its columns have no type, so each value keeps the kind it was converted to. The rows come in the
// order of the tables' own rows, so that the last of several matches is the last one a reading of
// the tables in their order meets. `counted`: whether the rows kept are the rows the statement
// changes.
SqliteGenerator::Commands SqliteGenerator::matches(std::span<const TableRefPtr> from,
                                                   const Expr* where,
                                                   const std::vector<const TableRef*>& rowsOf,
                                                   const QStringList& values, bool counted) const {
    QStringList names, columns, order;
    for (std::size_t i = 0; i < rowsOf.size(); ++i) {
        names << rowColumn(i);
        columns << rowidOf(*rowsOf[i]);
    }
    for (int i = 0; i < values.size(); ++i)
        names << valueColumn(i);
    columns << values;
    for (const JoinedSource& s : joinedSources(from))
        if (s.ref->kind == TableRef::Kind::Table) order << rowidOf(*s.ref);
    QString fill =
        u"INSERT INTO "_s + kMatches + u" SELECT "_s + columns.join(u", "_s) + fromClause(from);
    if (where) fill += u" WHERE "_s + condition(*where);
    fill += u" ORDER BY "_s + order.join(u", "_s);
    const QString create =
        u"CREATE TEMP TABLE "_s + kMatches + u" ("_s + names.join(u", "_s) + u')';
    return {{create, false}, {fill, counted}};
}

SqliteGenerator::Commands SqliteGenerator::update(const Update& s) const {
    const TableRef& target = *s.from.front();
    if (s.from.size() > 1 || target.kind != TableRef::Kind::Table) return updateJoin(s);
    return updateTable(s);
}

// UPDATE through a join (or several sources) writes the columns of any of its tables. All values
// are worked out before any is written, from the rows as they were. A row that several rows of the
// join match is written once, with the values of the last match (the dialect writes it once per
// match, so the last one stays), and the rows changed are counted as the dialect counts them: one
// per row of the join. Where an outer join found no row of a table that SET writes, the dialect
// adds one, so its values go in as a new row.
SqliteGenerator::Commands SqliteGenerator::updateJoin(const Update& s) const {
    const std::vector<JoinedSource> sources = joinedSources(s.from);
    QStringList values;
    const std::vector<WrittenTable> written = writtenTables(s, sources, values);
    const std::vector<const TableRef*> rowsOf = writtenRows(written);
    Commands commands = matches(s.from, s.where.get(), rowsOf, values, true);
    for (std::size_t i = 0; i < written.size(); ++i) {
        const Commands table = writeBack(written[i], rowColumn(i));
        commands.insert(commands.end(), table.begin(), table.end());
    }
    commands.push_back({kDropMatches, false});
    return commands;
}

namespace {

// A column as CREATE TABLE and ALTER TABLE ADD declare it: by the dialect's type name, which the
// catalog reads back.
QString columnDeclaration(const ColumnDef& c, const ColumnType& type) {
    QString def = SqliteGenerator::quoted(c.name) + u' ' + sqliteDeclaration(type);
    if (c.notNull) def += u" NOT NULL"_s;
    if (c.primaryKey && !type.counter) def += u" PRIMARY KEY"_s;
    return def;
}

} // namespace

// SQLite adds a column only as the last, without a key, and drops one no index needs; it cannot
// change a column's type.
QString SqliteGenerator::alterTable(const AlterTable& s) const {
    const CatalogTable* table = catalog_.table(s.table);
    if (!table) raise(err::NoSuchTable, s.table);
    const CatalogColumn* existing = table->column(s.column.name);
    const QString head = u"ALTER TABLE "_s + quoted(table->name);
    switch (s.action) {
    case AlterTable::Action::AddColumn: {
        const auto type = columnTypeFromName(s.column.typeName, s.column.size);
        if (!type) raise(err::AlterTableSyntax);
        if (existing) raise(err::FieldExists, s.column.name, table->name);
        if (type->counter || s.column.primaryKey) raise(err::NotSupported);
        return head + u" ADD COLUMN "_s + columnDeclaration(s.column, *type);
    }
    case AlterTable::Action::DropColumn:
        if (!existing) raise(err::NoSuchField, s.column.name, table->name);
        if (existing->indexed || existing->type.counter) raise(err::IndexedField);
        return head + u" DROP COLUMN "_s + quoted(existing->name);
    case AlterTable::Action::AlterColumn:
        break;
    }
    raise(err::NotSupported);
}

SqliteGenerator::Commands SqliteGenerator::commands(const Statement& statement) const {
    return std::visit(
        [&](const auto& s) -> Commands {
            using T = std::decay_t<decltype(s)>;
            if constexpr (std::is_same_v<T, Select>) {
                return s.into.isEmpty() ? Commands{{select(s)}} : selectInto(s);
            } else if constexpr (std::is_same_v<T, Insert>) {
                return {{insert(s)}};
            } else if constexpr (std::is_same_v<T, Update>) {
                return update(s);
            } else if constexpr (std::is_same_v<T, Delete>) {
                return deleteRows(s);
            } else if constexpr (std::is_same_v<T, AlterTable>) {
                return {{alterTable(s)}};
            } else if constexpr (std::is_same_v<T, CreateTable>) {
                if (catalog_.table(s.name)) raise(err::TableExists, s.name);
                QStringList columns;
                for (const ColumnDef& c : s.columns) {
                    auto type = columnTypeFromName(c.typeName, c.size);
                    if (!type) raise(err::CreateTableSyntax);
                    columns << columnDeclaration(c, *type);
                }
                return {{createTable(s.name, columns)}};
            } else if constexpr (std::is_same_v<T, CreateIndex>) {
                const CatalogTable* table = catalog_.table(s.table);
                if (!table) raise(err::NoInputTable, s.table);
                QStringList columns;
                for (const IndexColumn& c : s.columns) {
                    const CatalogColumn* column = table->column(c.name);
                    if (!column) raise(err::TooFewParameters, c.name);
                    columns << quoted(column->name) + (c.descending ? u" DESC"_s : QString());
                }
                return {{(s.unique ? u"CREATE UNIQUE INDEX "_s : u"CREATE INDEX "_s) +
                         quoted(s.name) + u" ON "_s + quoted(table->name) + u" ("_s +
                         columns.join(u", "_s) + u')'}};
            } else if constexpr (std::is_same_v<T, DropTable>) {
                const CatalogTable* table = catalog_.table(s.name);
                if (!table) raise(err::NoSuchTable, s.name);
                return {{u"DROP TABLE "_s + quoted(table->name)}};
            } else {
                raise(err::InvalidStatement);
            }
        },
        statement);
}

QString SqliteGenerator::matchesTable() {
    return kMatches;
}

QString SqliteGenerator::matchColumn(std::size_t place) {
    return rowColumn(place);
}

QString SqliteGenerator::rowIdentity() {
    return u"rowid"_s;
}

QString SqliteGenerator::declaration(const ColumnType& type) {
    return sqliteDeclaration(type);
}

} // namespace jet
