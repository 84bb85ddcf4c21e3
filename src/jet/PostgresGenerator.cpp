#include "jet/PostgresGenerator.h"

#include "jet/AstPrinter.h"
#include "jet/FunctionRegistry.h"
#include "jet/GeneratorShared.h"
#include "jet/JetError.h"
#include "jet/PgConnection.h"
#include "jet/PgValue.h"
#include "jet/SqliteGenerator.h"

#include <algorithm>
#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace jet {

using namespace gen;

namespace {

// What the server cannot work out exactly: the dialect's number and why. Raised while writing;
// a read's select list catches it and works the part out on this computer instead.
struct NotOnServer {
    const Expr* at;
    int number;
    QString why;
};

[[noreturn]] void notOnServer(const Expr& e, QString why, int number = err::UndefinedFunction) {
    throw NotOnServer{&e, number, std::move(why)};
}

template <typename Work> auto refusingWhatServerCannot(Work work) {
    try {
        return work();
    } catch (const NotOnServer& n) {
        throw engineError(n.number, n.why);
    }
}

bool isNullLiteral(const Expr& e) {
    return e.kind == ExprKind::Literal && (e.value.isNull() || e.value.isEmpty());
}

bool isWhole(SqlType t) {
    return t == SqlType::Byte || t == SqlType::Integer || t == SqlType::Long ||
           t == SqlType::Boolean;
}

const QString kTextOrder = u" COLLATE \"C\""_s;

// A temporary table of the rows a write through a join changes, read before any is.
const QString kMatches = u"pg_temp.jet_matches"_s;
const QString kDropMatches = u"DROP TABLE "_s + kMatches;

QString rowColumn(std::size_t place) {
    return u"r"_s + QString::number(place + 1);
}
QString valueColumn(int place) {
    return u"v"_s + QString::number(place + 1);
}
QString rowidOf(const TableRef& table) {
    return PostgresGenerator::quoted(table.alias.isEmpty() ? table.name : table.alias) + u".ctid"_s;
}

// A constant converted as a column of the type keeps it, as the file engine converts it.
vb::Variant convertedFor(const vb::Variant& v, SqlType type) {
    if (v.isNull() || v.isEmpty()) return vb::Variant::null();
    switch (type) {
    case SqlType::Boolean:
        return vb::Variant(vb::cbool(v));
    case SqlType::Byte: {
        const std::int16_t n = vb::cint(v);
        if (n < 0 || n > 255) vb::raise(vb::err::Overflow);
        return vb::Variant(n);
    }
    case SqlType::Integer:
        return vb::Variant(vb::cint(v));
    case SqlType::Long:
        return vb::Variant(vb::clng(v));
    case SqlType::Single:
        return vb::Variant(vb::csng(v));
    case SqlType::Double:
        return vb::Variant(vb::cdbl(v));
    case SqlType::Currency:
        return vb::Variant(vb::ccur(v));
    case SqlType::Date:
        return vb::Variant::date(vb::cdate(v));
    case SqlType::Text:
    case SqlType::Memo:
        return vb::Variant(vb::cstr(v));
    case SqlType::Unknown:
        break;
    }
    return v;
}

} // namespace

QString PostgresGenerator::quoted(const QString& name) {
    return PgConnection::quotedName(name);
}

// ---- values ----

bool PostgresGenerator::isConstant(const Expr& e) const {
    switch (e.kind) {
    case ExprKind::Literal:
        return true;
    case ExprKind::Function:
        if (isAggregateFunction(e.name)) return false;
        [[fallthrough]];
    case ExprKind::Unary:
    case ExprKind::Binary:
    case ExprKind::Between:
    case ExprKind::InList:
    case ExprKind::Like:
    case ExprKind::IsNull:
        return std::all_of(e.args.begin(), e.args.end(),
                           [&](const ExprPtr& a) { return isConstant(*a); });
    default:
        return false;
    }
}

QString PostgresGenerator::folded(const Expr& e) const {
    const SqlType type = binding_.typeOf(&e);
    const SqliteGenerator local(binding_, catalog_);
    return pgLiteral(local_.evaluate(local.value(e), {}, varTypeOf(type)), type);
}

QString PostgresGenerator::value(const Expr& e) const {
    if (!textGroups_.isEmpty() && inAggregate_ == 0 && isText(binding_.typeOf(&e)) &&
        e.kind != ExprKind::Literal && textGroups_.contains(printExpression(e))) {
        // A text group shows one of its spellings.
        ++inAggregate_;
        const QString shown = u"min("_s + value(e) + kTextOrder + u')';
        --inAggregate_;
        return shown;
    }
    if (e.kind == ExprKind::Literal) return pgLiteral(e.value, binding_.typeOf(&e));
    if (isConstant(e)) return folded(e);
    switch (e.kind) {
    case ExprKind::Column:
        return column(e);
    case ExprKind::Unary:
        return unary(e);
    case ExprKind::Binary:
        return binary(e);
    case ExprKind::Function:
        return function(e);
    case ExprKind::Subquery:
        return u'(' + select(*e.subquery) + u')';
    case ExprKind::Star:
        return u"*"_s;
    default:
        return predicate(e);
    }
}

QString PostgresGenerator::condition(const Expr& e) const {
    const SqlType type = binding_.typeOf(&e);
    if (type == SqlType::Boolean || isNullLiteral(e)) return value(e);
    if (isNumeric(type) || type == SqlType::Date) return u'(' + number(e) + u" <> 0)"_s;
    notOnServer(e, u"A text read as a truth cannot be worked out by the server."_s,
                vb::err::TypeMismatch);
}

QString PostgresGenerator::number(const Expr& e) const {
    const SqlType type = binding_.typeOf(&e);
    if (type == SqlType::Boolean) return u"(-CAST("_s + value(e) + u" AS integer))"_s;
    if (type == SqlType::Date) return u"jet_serial("_s + value(e) + u')';
    if (isNumeric(type) || isNullLiteral(e)) return value(e);
    notOnServer(e, u"The server cannot read this value as a number as the language reads it."_s);
}

QString PostgresGenerator::textOf(const Expr& e) const {
    switch (binding_.typeOf(&e)) {
    case SqlType::Text:
    case SqlType::Memo:
        return value(e);
    case SqlType::Byte:
    case SqlType::Integer:
    case SqlType::Long:
        return u"CAST("_s + value(e) + u" AS text)"_s;
    case SqlType::Boolean:
        return u"(CASE WHEN "_s + value(e) + u" THEN 'True' WHEN NOT "_s + value(e) +
               u" THEN 'False' END)"_s;
    case SqlType::Currency:
        return u"CAST(trim_scale("_s + value(e) + u") AS text)"_s;
    case SqlType::Double:
        // The session writes doubles with 15 significant digits (extra_float_digits = 0), as
        // CStr does; only the exponent's letter differs.
        return u"upper(CAST("_s + value(e) + u" AS text))"_s;
    default:
        if (isNullLiteral(e)) return u"CAST(NULL AS text)"_s;
        notOnServer(e, u"The server cannot write this value as text as the language does."_s);
    }
}

QString PostgresGenerator::key(const QString& valueText) const {
    return u"(lower("_s + valueText + u')' + kTextOrder + u')';
}

QString PostgresGenerator::unary(const Expr& e) const {
    const Expr& operand = *e.args[0];
    switch (e.op) {
    case Op::Negate:
        if (binding_.typeOf(&e) == SqlType::Date) return u"jet_date(-"_s + number(operand) + u')';
        return u"(-"_s + number(operand) + u')';
    case Op::Plus:
        return value(operand);
    default: // Not: logical on truths, bitwise on whole numbers
        if (binding_.typeOf(&operand) == SqlType::Boolean)
            return u"(NOT "_s + condition(operand) + u')';
        if (isWhole(binding_.typeOf(&operand))) return u"(~"_s + number(operand) + u')';
        notOnServer(e, u"The server cannot work out Not of this value as the language does."_s);
    }
}

QString PostgresGenerator::binary(const Expr& e) const {
    const Expr& a = *e.args[0];
    const Expr& b = *e.args[1];
    if (isComparison(e.op)) return comparison(e);
    if (isLogical(e.op)) {
        if (binding_.typeOf(&e) == SqlType::Boolean) {
            const QString x = condition(a), y = condition(b);
            switch (e.op) {
            case Op::And:
                return u'(' + x + u" AND "_s + y + u')';
            case Op::Or:
                return u'(' + x + u" OR "_s + y + u')';
            case Op::Xor:
                return u'(' + x + u" <> "_s + y + u')';
            case Op::Eqv:
                return u'(' + x + u" = "_s + y + u')';
            default: // Imp
                return u"(NOT "_s + x + u" OR "_s + y + u')';
            }
        }
        if (!isWhole(binding_.typeOf(&a)) || !isWhole(binding_.typeOf(&b)))
            notOnServer(e, u"The server cannot work out this logical operation on these values."_s);
        const QString x = number(a), y = number(b);
        switch (e.op) {
        case Op::And:
            return u'(' + x + u" & "_s + y + u')';
        case Op::Or:
            return u'(' + x + u" | "_s + y + u')';
        case Op::Xor:
            return u'(' + x + u" # "_s + y + u')';
        case Op::Eqv:
            return u"(~("_s + x + u" # "_s + y + u"))"_s;
        default: // Imp
            return u"((~"_s + x + u") | "_s + y + u')';
        }
    }
    if (e.op == Op::Concat) {
        // Null & Null is Null; a Null beside a value is "".
        const QString x = textOf(a), y = textOf(b);
        if (neverNull(a) || neverNull(b)) return u"concat("_s + x + u", "_s + y + u')';
        return u"(CASE WHEN "_s + x + u" IS NULL AND "_s + y +
               u" IS NULL THEN NULL ELSE concat("_s + x + u", "_s + y + u") END)"_s;
    }
    if (e.op == Op::Add && isText(binding_.typeOf(&a)) && isText(binding_.typeOf(&b)))
        return u'(' + value(a) + u" || "_s + value(b) + u')';
    return arithmetic(e);
}

QString PostgresGenerator::arithmetic(const Expr& e) const {
    const Expr& a = *e.args[0];
    const Expr& b = *e.args[1];
    const SqlType result = binding_.typeOf(&e);
    const bool asSerial = std::exchange(serialOnly_, false);
    const QString x = number(a), y = number(b);
    auto asDouble = [](const QString& t) { return u"CAST("_s + t + u" AS double precision)"_s; };
    QString text;
    switch (e.op) {
    case Op::Add:
        text = u'(' + x + u" + "_s + y + u')';
        break;
    case Op::Subtract:
        text = u'(' + x + u" - "_s + y + u')';
        break;
    case Op::Multiply:
        text = u'(' + x + u" * "_s + y + u')';
        break;
    case Op::Divide:
        // The server divides by zero with its own error, and 0/0 as well; the language raises 6
        // for that one, so only a divisor written in the text divides natively.
        text = nonzeroNumber(b) ? u'(' + asDouble(x) + u" / "_s + asDouble(y) + u')'
                                : u"jet_div("_s + asDouble(x) + u", "_s + asDouble(y) + u')';
        break;
    case Op::IntDivide:
        text = u"jet_intdiv("_s + asDouble(x) + u", "_s + asDouble(y) + u')';
        break;
    case Op::Mod:
        text = u"jet_mod("_s + asDouble(x) + u", "_s + asDouble(y) + u')';
        break;
    default: // Power
        text = u"jet_pow("_s + asDouble(x) + u", "_s + asDouble(y) + u')';
        break;
    }
    if (result == SqlType::Date) return asSerial ? text : u"jet_date("_s + text + u')';
    if (e.op == Op::Add || e.op == Op::Subtract || e.op == Op::Multiply) return text;
    return u"CAST("_s + text + u" AS "_s + pgWireType(result) + u')';
}

QStringList PostgresGenerator::comparable(std::span<const Expr* const> values,
                                          std::span<const SqlType> extraTypes,
                                          QStringList extraTexts) const {
    bool text = false, other = false, dates = true;
    auto note = [&](SqlType t) {
        if (t == SqlType::Unknown) return;
        if (isText(t))
            text = true;
        else
            other = true;
        if (t != SqlType::Date) dates = false;
    };
    for (const Expr* v : values)
        if (!isNullLiteral(*v)) note(binding_.typeOf(v));
    for (SqlType t : extraTypes)
        note(t);
    if (text && other)
        notOnServer(*values.front(), u"Data type mismatch in criteria expression."_s,
                    err::DataTypeMismatch);
    QStringList texts;
    for (const Expr* v : values) {
        if (text)
            texts << key(value(*v));
        else if (dates || isNullLiteral(*v))
            texts << value(*v);
        else
            texts << number(*v);
    }
    for (qsizetype i = 0; i < extraTexts.size(); ++i) {
        const SqlType t = extraTypes[static_cast<std::size_t>(i)];
        if (text)
            texts << key(extraTexts[i]);
        else if (!dates && t == SqlType::Boolean)
            texts << u"(-CAST("_s + extraTexts[i] + u" AS integer))"_s;
        else if (!dates && t == SqlType::Date)
            texts << u"jet_serial("_s + extraTexts[i] + u')';
        else
            texts << extraTexts[i];
    }
    return texts;
}

// A stored number, date or truth compared with text written in the query, as the file engine
// compares them: text that reads as a number is that number, any other text sorts after every
// number. Empty when e is no such comparison.
QString PostgresGenerator::columnAgainstText(const Expr& e) const {
    for (int side = 0; side < 2; ++side) {
        const Expr& column = *e.args[static_cast<std::size_t>(side)];
        const Expr& text = *e.args[static_cast<std::size_t>(1 - side)];
        const ResolvedColumn* c =
            column.kind == ExprKind::Column ? binding_.column(&column) : nullptr;
        const SqlType type = binding_.typeOf(&column);
        if (!c || c->outputAlias || !(isNumeric(type) || type == SqlType::Date) ||
            text.kind != ExprKind::Literal || !text.value.isString())
            continue;
        bool numeric = false;
        const double n = text.value.stringValue().trimmed().toDouble(&numeric);
        QString op = comparisonOperator(e.op);
        if (numeric) {
            const QString literal = pgLiteral(vb::Variant(n), SqlType::Double);
            const QString x = number(column);
            return side == 0 ? u'(' + x + u' ' + op + u' ' + literal + u')'
                             : u'(' + literal + u' ' + op + u' ' + x + u')';
        }
        // The number is the lesser, whichever side it stands on.
        const bool numberFirst = side == 0;
        bool holds = false;
        switch (e.op) {
        case Op::Equal:
            holds = false;
            break;
        case Op::NotEqual:
            holds = true;
            break;
        case Op::Less:
        case Op::LessEqual:
            holds = numberFirst;
            break;
        default:
            holds = !numberFirst;
            break;
        }
        return u"(CASE WHEN "_s + value(column) + u" IS NULL THEN NULL ELSE "_s +
               (holds ? u"TRUE"_s : u"FALSE"_s) + u" END)"_s;
    }
    return QString();
}

QString PostgresGenerator::comparison(const Expr& e) const {
    if (QString mixed = columnAgainstText(e); !mixed.isEmpty()) return mixed;
    const Expr* sides[] = {e.args[0].get(), e.args[1].get()};
    const QStringList t = comparable(sides);
    return u'(' + t[0] + u' ' + comparisonOperator(e.op) + u' ' + t[1] + u')';
}

QString PostgresGenerator::predicate(const Expr& e) const {
    const QString no = e.negated ? u"NOT "_s : QString();
    switch (e.kind) {
    case ExprKind::Between: {
        const Expr* parts[] = {e.args[0].get(), e.args[1].get(), e.args[2].get()};
        const QStringList t = comparable(parts);
        return u'(' + t[0] + u' ' + no + u"BETWEEN "_s + t[1] + u" AND "_s + t[2] + u')';
    }
    case ExprKind::InList: {
        std::vector<const Expr*> parts;
        for (const ExprPtr& a : e.args)
            parts.push_back(a.get());
        QStringList t = comparable(parts);
        const QString first = t.takeFirst();
        return u'(' + first + u' ' + no + u"IN ("_s + t.join(u", "_s) + u"))"_s;
    }
    case ExprKind::InSelect: {
        const auto& outputs = binding_.outputs(e.subquery.get());
        const SqlType inner = outputs.empty() ? SqlType::Unknown : outputs.front().type.type;
        const Expr* outer[] = {e.args[0].get()};
        const SqlType innerTypes[] = {inner};
        const QStringList t = comparable(outer, innerTypes, {u"jet_in.v"_s});
        return u'(' + t[0] + u' ' + no + u"IN (SELECT "_s + t[1] + u" FROM ("_s +
               select(*e.subquery) + u") AS jet_in(v)))"_s;
    }
    case ExprKind::Like: {
        for (const ExprPtr& a : e.args)
            if (!isText(binding_.typeOf(a.get())) && !isNullLiteral(*a))
                notOnServer(e, u"The server matches only text with Like."_s);
        return u'(' + no + u"jet_like("_s + value(*e.args[0]) + u", "_s + value(*e.args[1]) +
               u"))"_s;
    }
    case ExprKind::IsNull:
        return u'(' + value(*e.args[0]) + (e.negated ? u" IS NOT NULL)"_s : u" IS NULL)"_s);
    case ExprKind::Exists:
        return u"(EXISTS ("_s + select(*e.subquery) + u"))"_s;
    default:
        return value(e);
    }
}

// ---- functions ----

QString PostgresGenerator::function(const Expr& e) const {
    const DialectFunction* f = findFunction(e.name);
    if (!f) raise(err::UndefinedFunction, e.name);
    if (e.args.size() == 1 && e.args[0]->kind == ExprKind::Function &&
        e.args[0]->args.size() == 2 && e.args[0]->args[1]->kind == ExprKind::Literal &&
        e.args[0]->args[1]->value.isString() &&
        binding_.typeOf(e.args[0]->args[0].get()) == SqlType::Date) {
        // CDate(Format(d, "yyyy/mm/dd")) and its time of day: cut without writing text.
        const Expr& inner = *e.args[0];
        if (const DialectFunction* part =
                formattedDatePart(e.name, inner.name, inner.args[1]->value.stringValue()))
            return QString::fromLatin1(part->postgres.sql).replace(u"%1"_s, value(*inner.args[0]));
    }
    if (f->isAggregate()) return aggregate(e, *f);
    const QString name = QString::fromLatin1(f->name);
    QString text;
    switch (f->postgres.form) {
    case PostgresForm::Choice:
        text = choice(e);
        break;
    case PostgresForm::Native: {
        text = QString::fromLatin1(f->postgres.sql);
        for (std::size_t i = e.args.size(); i-- > 0;) {
            const Expr& a = *e.args[i];
            const SqlType t = binding_.typeOf(&a);
            const PostgresArgs wanted = f->postgres.args;
            const bool fits = isNullLiteral(a) || wanted == PostgresArgs::Any ||
                              (wanted == PostgresArgs::Number && isNumeric(t)) ||
                              (wanted == PostgresArgs::Text && isText(t)) ||
                              (wanted == PostgresArgs::Date && t == SqlType::Date);
            if (!fits) notOnServer(e, u"The server cannot work out %1 of this value."_s.arg(name));
            text.replace(u'%' + QString::number(i + 1),
                         wanted == PostgresArgs::Number ? number(a) : value(a));
        }
        break;
    }
    default: // worked out on this computer: see PostgresGenerator::read
        notOnServer(e, u"%1 cannot be worked out by the server from a table's values, only in a "
                       u"query's list of columns."_s.arg(e.name));
    }
    if (!e.dollar) return text;
    switch (f->dollar) {
    case DollarForm::NullRaises:
        return u"jet_dollar("_s + text + u')';
    case DollarForm::NullBlank:
        return u"coalesce("_s + text + u", '')"_s;
    default:
        raise(err::UndefinedFunction, e.name + u'$');
    }
}

QString PostgresGenerator::choice(const Expr& e) const {
    const SqlType type = binding_.typeOf(&e);
    if (type == SqlType::Unknown && !(isNullLiteral(*e.args[1]) && isNullLiteral(*e.args[2])))
        notOnServer(e, u"The server cannot give IIf's choices of different kinds."_s);
    const QString when = condition(*e.args[0]), then = typed(*e.args[1], type),
                  otherwise = typed(*e.args[2], type);
    // A CASE works out only the choice it takes; that is the language's IIf where neither
    // choice can fail (a column or a constant), the reports' hot path.
    auto cannotFail = [](const Expr& x) {
        return x.kind == ExprKind::Literal || x.kind == ExprKind::Column;
    };
    if (cannotFail(*e.args[1]) && cannotFail(*e.args[2]))
        return u"(CASE WHEN "_s + when + u" THEN "_s + then + u" ELSE "_s + otherwise + u" END)"_s;
    return u"jet_iif("_s + when + u", "_s + then + u", "_s + otherwise + u')';
}

// A value as the wider type it is shown as.
QString PostgresGenerator::typed(const Expr& e, SqlType type) const {
    const SqlType given = binding_.typeOf(&e);
    if (given == type || (isText(given) && isText(type))) return value(e);
    if (isNullLiteral(e)) return u"CAST(NULL AS "_s + pgWireType(type) + u')';
    if (isNumeric(type) && isNumeric(given))
        return u"CAST("_s + number(e) + u" AS "_s + pgWireType(type) + u')';
    notOnServer(e, u"The server cannot give this value as the type it is shown as."_s);
}

QString PostgresGenerator::aggregate(const Expr& e, const DialectFunction& f) const {
    struct Inside {
        int& depth;
        explicit Inside(int& d) : depth(d) { ++depth; }
        ~Inside() { --depth; }
    } inside(inAggregate_);
    QStringList filters;
    if (!pivotFilter_.isEmpty()) filters << pivotFilter_;
    auto filtered = [&](const QString& call) {
        return filters.isEmpty() ? call
                                 : call + u" FILTER (WHERE "_s + filters.join(u" AND "_s) + u')';
    };
    const QString name = QString::fromLatin1(f.postgres.sql);
    if (e.star) return filtered(u"count(*)"_s);
    const Expr& arg = *e.args[0];
    const SqlType type = binding_.typeOf(&arg);
    const SqlType result = binding_.typeOf(&e);
    if (f.kind == FunctionKind::Count) {
        const QString v = isText(type) ? key(value(arg)) : value(arg);
        return filtered(u"count("_s + (e.distinct ? u"DISTINCT "_s : QString()) + v + u')');
    }
    if (name == u"min" || name == u"max") {
        const bool most = name == u"max";
        if (isText(type)) {
            // One of the texts that sort first (or last) without regard to case.
            const QString v = value(arg);
            filters << v + u" IS NOT NULL"_s;
            return u'(' +
                   filtered(u"array_agg("_s + v + u" ORDER BY "_s + key(v) +
                            (most ? u" DESC"_s : QString()) + u')') +
                   u")[1]"_s;
        }
        if (type == SqlType::Boolean)
            return u'(' + filtered(name + u'(' + number(arg) + u')') + u" <> 0)"_s;
        return filtered(name + u'(' + value(arg) + u')');
    }
    if (f.result.rule == ResultRule::FirstArg) return filtered(name + u'(' + value(arg) + u')');
    if (isText(type))
        notOnServer(e, u"Type mismatch: the server adds and spreads no text."_s,
                    vb::err::TypeMismatch);
    if (name == u"sum" || name == u"avg") {
        const QString v = result == SqlType::Currency
                              ? number(arg)
                              : u"CAST("_s + number(arg) + u" AS double precision)"_s;
        return filtered(name + u'(' + v + u')');
    }
    return filtered(name + u"(CAST("_s + number(arg) + u" AS double precision))"_s);
}

// ---- selects ----

// The select list, each column sent as its type's wire type (those of `typesFrom`, the first
// select of a union, where given).
bool PostgresGenerator::fetchedAsSerial(const OutputColumn& out) const {
    const Expr* e = out.expr;
    return e && out.type.type == SqlType::Date && e->kind == ExprKind::Binary &&
           !isComparison(e->op) && !isLogical(e->op) && e->op != Op::Concat && !isConstant(*e);
}

QString PostgresGenerator::serial(const Expr& e) const {
    serialOnly_ = true;
    return arithmetic(e);
}

QStringList PostgresGenerator::items(const Select& s, const Select* typesFrom) const {
    const auto& outputs = binding_.outputs(&s);
    const auto& types = binding_.outputs(typesFrom ? typesFrom : &s);
    QStringList list;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const OutputColumn& out = outputs[i];
        const SqlType type = i < types.size() ? types[i].type.type : out.type.type;
        if (&s == serialsOf_ && fetchedAsSerial(out)) {
            list << u"CAST("_s + serial(*out.expr) + u" AS double precision) AS "_s +
                        quoted(out.name);
            continue;
        }
        const QString text =
            out.expr && out.expr->kind == ExprKind::Star
                ? quoted(out.starColumn.source) + u'.' + quoted(out.starColumn.column)
                : typed(*out.expr, type);
        list << u"CAST("_s + text + u" AS "_s + pgWireType(type) + u") AS "_s + quoted(out.name);
    }
    return list;
}

namespace {

// Keeps a writer's state of an outer select away from a select written inside it.
struct SelectScope {
    QSet<QString>& groups;
    int& depth;
    QString& filter;
    QSet<QString> keptGroups = std::exchange(groups, {});
    int keptDepth = std::exchange(depth, 0);
    QString keptFilter = std::exchange(filter, QString());
    ~SelectScope() {
        groups = std::move(keptGroups);
        depth = keptDepth;
        filter = std::move(keptFilter);
    }
};

} // namespace

QString PostgresGenerator::selectCore(const Select& s, const QStringList& list,
                                      const QStringList& extraColumns) const {
    QString sql = u"SELECT "_s + (s.distinct ? u"DISTINCT "_s : QString()) +
                  (list + extraColumns).join(u", "_s);
    // The rows and the groups themselves, not the spelling a group shows.
    ++inAggregate_;
    sql += fromClause(s.from);
    if (s.where) sql += u" WHERE "_s + condition(*s.where);
    if (!s.groupBy.empty()) {
        QStringList groups;
        for (const ExprPtr& g : s.groupBy)
            groups << (isText(binding_.typeOf(g.get())) ? key(value(*g)) : value(*g));
        sql += u" GROUP BY "_s + groups.join(u", "_s);
    }
    --inAggregate_;
    if (s.having) sql += u" HAVING "_s + condition(*s.having);
    return sql;
}

// The dialect sorts Nulls first, PostgreSQL last.
QString PostgresGenerator::orderTerms(const Select& s) const {
    QStringList terms;
    const auto& outputs = binding_.outputs(&s);
    for (const OrderItem& o : s.orderBy) {
        QString term;
        if (s.unionNext || s.distinct) {
            // A union and a DISTINCT order by their result columns: find the column.
            const ResolvedColumn* c = binding_.column(o.expr.get());
            const QString printed = printExpression(*o.expr);
            for (std::size_t i = 0; i < outputs.size() && term.isEmpty(); ++i) {
                const Expr* shown = outputs[i].expr;
                const ResolvedColumn* sc =
                    shown && shown->kind == ExprKind::Column ? binding_.column(shown) : nullptr;
                const bool sameColumn =
                    c && (c->outputAlias
                              ? outputs[i].name.compare(c->column, Qt::CaseInsensitive) == 0
                              : sc && sc->source.compare(c->source, Qt::CaseInsensitive) == 0 &&
                                    sc->column.compare(c->column, Qt::CaseInsensitive) == 0);
                const bool sameExpression =
                    shown && shown->kind != ExprKind::Star &&
                    printExpression(*shown).compare(printed, Qt::CaseInsensitive) == 0;
                if (sameColumn || sameExpression)
                    term = isText(outputs[i].type.type) ? key(quoted(outputs[i].name))
                                                        : quoted(outputs[i].name);
            }
            if (term.isEmpty())
                notOnServer(*o.expr,
                            u"ORDER BY of a union or DISTINCT query must name one of its "
                            u"columns on a server site."_s,
                            err::SelectSyntax);
        } else {
            term = isText(binding_.typeOf(o.expr.get())) ? key(value(*o.expr)) : value(*o.expr);
        }
        terms << term + (o.descending ? u" DESC NULLS LAST"_s : u" NULLS FIRST"_s);
    }
    return terms.isEmpty() ? QString() : u" ORDER BY "_s + terms.join(u", "_s);
}

QString PostgresGenerator::select(const Select& s) const {
    SelectScope scope{textGroups_, inAggregate_, pivotFilter_};
    if (groupsRows(s))
        for (const ExprPtr& g : s.groupBy)
            if (isText(binding_.typeOf(g.get()))) textGroups_.insert(printExpression(*g));
    QString sql = selectCore(s, items(s));
    for (const Select *next = s.unionNext.get(), *prev = &s; next;
         prev = next, next = next->unionNext.get()) {
        SelectScope member{textGroups_, inAggregate_, pivotFilter_};
        if (groupsRows(*next))
            for (const ExprPtr& g : next->groupBy)
                if (isText(binding_.typeOf(g.get()))) textGroups_.insert(printExpression(*g));
        sql += (prev->unionAll ? u" UNION ALL "_s : u" UNION "_s) +
               selectCore(*next, items(*next, &s));
    }
    const QString order = orderTerms(s);
    if (!order.isEmpty()) {
        sql = (s.unionNext || s.distinct)
                  ? u"SELECT * FROM ("_s + sql + u") AS jet_sorted"_s + order
                  : sql + order;
    }
    if (s.top) {
        const QString count = QString::number(s.top->count, 'g', 17);
        if (s.top->percent) {
            // The share of the rows, rounded up, as the dialect counts it.
            sql = u"SELECT * FROM ("_s + sql +
                  u") AS jet_top LIMIT (SELECT CAST(trunc((count(*) * CAST("_s + count +
                  u" AS double precision) + 99.999999) / 100) AS bigint) FROM ("_s +
                  selectCore(s, items(s)) + u") AS jet_all)"_s;
        } else {
            sql += u" LIMIT "_s + count;
        }
    }
    return sql;
}

PostgresGenerator::Read PostgresGenerator::read(const Select& s) const {
    return refusingWhatServerCannot([&] {
        Read plan;
        const auto& outputs = binding_.outputs(&s);
        for (const OutputColumn& out : outputs)
            plan.fetched.push_back(out.type.type);
        try {
            serialsOf_ = &s;
            plan.sql = select(s);
            serialsOf_ = nullptr;
            for (std::size_t i = 0; i < outputs.size(); ++i) {
                plan.source.push_back(static_cast<int>(i));
                plan.serials.push_back(fetchedAsSerial(outputs[i]));
            }
            plan.local.resize(outputs.size());
            return plan;
        } catch (const NotOnServer&) {
            serialsOf_ = nullptr;
            if (s.distinct || s.unionNext) throw;
        }
        // Some columns are worked out here from parts the server sends: each column that the
        // server cannot give is split into the largest parts it can, sent as extra columns.
        SqliteGenerator local(binding_, catalog_);
        QStringList extra;
        std::vector<SqlType> partTypes;
        plan.local.resize(outputs.size());
        const QStringList written = [&] {
            SelectScope scope{textGroups_, inAggregate_, pivotFilter_};
            if (groupsRows(s))
                for (const ExprPtr& g : s.groupBy)
                    if (isText(binding_.typeOf(g.get()))) textGroups_.insert(printExpression(*g));
            QStringList texts;
            for (std::size_t i = 0; i < outputs.size(); ++i) {
                const OutputColumn& out = outputs[i];
                const SqlType type = out.type.type;
                try {
                    texts << u"CAST("_s +
                                 (out.expr->kind == ExprKind::Star
                                      ? quoted(out.starColumn.source) + u'.' +
                                            quoted(out.starColumn.column)
                                      : typed(*out.expr, type)) +
                                 u" AS "_s + pgWireType(type) + u") AS "_s + quoted(out.name);
                    plan.source.push_back(static_cast<int>(i));
                    continue;
                } catch (const NotOnServer&) {
                }
                texts << u"NULL AS "_s + quoted(out.name);
                plan.source.push_back(-1);
                LocalColumn& computed = plan.local[i];
                std::function<void(const Expr&)> split = [&](const Expr& e) {
                    try {
                        const QString part = value(e);
                        const SqlType partType = binding_.typeOf(&e);
                        computed.fetched.push_back(
                            static_cast<int>(plan.fetched.size() + extra.size()));
                        local.substitute(&e, u'?' + QString::number(computed.fetched.size()));
                        partTypes.push_back(partType);
                        extra << u"CAST("_s + part + u" AS "_s + pgWireType(partType) +
                                     u") AS jet_part"_s + QString::number(extra.size() + 1);
                        return;
                    } catch (const NotOnServer&) {
                        const bool splittable =
                            !e.args.empty() && !e.subquery &&
                            !(e.kind == ExprKind::Function && isAggregateFunction(e.name));
                        if (!splittable) throw;
                    }
                    for (const ExprPtr& a : e.args)
                        split(*a);
                };
                split(*out.expr);
                computed.expression = local.value(*out.expr);
            }
            return texts;
        }();
        plan.fetched.insert(plan.fetched.end(), partTypes.begin(), partTypes.end());
        plan.sql = [&] {
            SelectScope scope{textGroups_, inAggregate_, pivotFilter_};
            if (groupsRows(s))
                for (const ExprPtr& g : s.groupBy)
                    if (isText(binding_.typeOf(g.get()))) textGroups_.insert(printExpression(*g));
            // The server cannot sort by a column it does not work out.
            for (const OrderItem& o : s.orderBy) {
                const ResolvedColumn* c = binding_.column(o.expr.get());
                for (std::size_t i = 0; c && c->outputAlias && i < outputs.size(); ++i)
                    if (plan.source[i] < 0 &&
                        outputs[i].name.compare(c->column, Qt::CaseInsensitive) == 0)
                        notOnServer(*o.expr, u"The server cannot sort by a column worked out "
                                             u"from its rows here."_s);
            }
            QString sql = selectCore(s, written, extra) + orderTerms(s);
            if (s.top && !s.top->percent)
                sql += u" LIMIT "_s + QString::number(s.top->count, 'g', 17);
            else if (s.top)
                notOnServer(*outputs.front().expr,
                            u"TOP PERCENT with columns worked out here is not supported on a "
                            u"server site."_s);
            return sql;
        }();
        return plan;
    });
}

// ---- crosstabs ----

QString PostgresGenerator::pivotValues(const Transform& t) const {
    return refusingWhatServerCannot([&] {
        const Select& s = *t.select;
        const SqlType type = binding_.typeOf(t.pivot.get());
        QString sql = u"SELECT DISTINCT CAST("_s + value(*t.pivot) + u" AS "_s + pgWireType(type) +
                      u") AS v"_s + fromClause(s.from);
        if (s.where) sql += u" WHERE "_s + condition(*s.where);
        return u"SELECT v FROM ("_s + sql + u") AS jet_pivot"_s +
               (isText(type) ? u" ORDER BY "_s + key(u"v"_s) + u" NULLS FIRST, v"_s + kTextOrder +
                                   u" NULLS FIRST"_s
                             : u" ORDER BY v NULLS FIRST"_s);
    });
}

QString PostgresGenerator::pivotMatch(const Transform& t, const PivotColumn& column) const {
    const vb::Variant& first = column.values.front();
    const SqlType type = binding_.typeOf(t.pivot.get());
    if (first.isNull()) return value(*t.pivot) + u" IS NULL"_s;
    if (column.fromInList) {
        const Expr* pivot[] = {t.pivot.get()};
        const SqlType listed[] = {isText(type) || first.isString() ? SqlType::Text : type};
        const QStringList sides = comparable(pivot, listed, {pgLiteral(first, listed[0])});
        return u'(' + sides[0] + u" = "_s + sides[1] + u')';
    }
    QStringList literals;
    for (const vb::Variant& v : column.values)
        literals << pgLiteral(v, type);
    return value(*t.pivot) + u" IN ("_s + literals.join(u", "_s) + u')';
}

QString PostgresGenerator::crosstabCell(const Transform& t, const PivotColumn& column) const {
    const Expr& value = *t.aggregate;
    pivotFilter_ = pivotMatch(t, column);
    const QString cell = this->value(value);
    const QString rows = u"count(*) FILTER (WHERE "_s + pivotFilter_ + u')';
    pivotFilter_.clear();
    // An empty cell is Null, even for a count.
    if (isCount(value)) {
        const Expr* arg = value.args.empty() ? nullptr : value.args.front().get();
        const ResolvedColumn* c = arg ? binding_.column(arg) : nullptr;
        if (value.star || !arg || (c && c->type.counter)) return u"NULLIF("_s + cell + u", 0)"_s;
    }
    if (nullWhenEmpty(value)) return cell;
    return u"(CASE WHEN "_s + rows + u" = 0 THEN NULL ELSE "_s + cell + u" END)"_s;
}

PostgresGenerator::Read PostgresGenerator::crosstab(const Transform& t,
                                                    const std::vector<PivotColumn>& columns) const {
    return refusingWhatServerCannot([&] {
        const Select& s = *t.select;
        SelectScope scope{textGroups_, inAggregate_, pivotFilter_};
        for (const ExprPtr& g : s.groupBy)
            if (isText(binding_.typeOf(g.get()))) textGroups_.insert(printExpression(*g));
        const SqlType cellType = binding_.typeOf(t.aggregate.get());
        QStringList cells;
        for (std::size_t i = 0; i < columns.size(); ++i)
            cells << u"CAST("_s + crosstabCell(t, columns[i]) + u" AS "_s + pgWireType(cellType) +
                         u") AS jet_cell"_s + QString::number(i + 1);
        Read plan;
        plan.sql = selectCore(s, items(s), cells);
        if (s.orderBy.empty() && !s.groupBy.empty()) {
            // The dialect lists a crosstab's rows in the order of their headings.
            QStringList groups;
            for (const ExprPtr& g : s.groupBy)
                groups << (isText(binding_.typeOf(g.get())) ? key(value(*g)) : value(*g)) +
                              u" NULLS FIRST"_s;
            plan.sql += u" ORDER BY "_s + groups.join(u", "_s);
        } else {
            plan.sql += orderTerms(s);
        }
        for (const ResultColumn& c : crosstabColumns(binding_, t, columns)) {
            plan.source.push_back(static_cast<int>(plan.fetched.size()));
            plan.fetched.push_back(c.type.type);
        }
        plan.local.resize(plan.source.size());
        return plan;
    });
}

// ---- writes ----

// A value written into a column: converted as the file engine converts it (CInt's rounding, CDate,
// CBool, CStr), a constant here, anything else on the server.
QString PostgresGenerator::storedValue(const Expr& e, const ColumnType& target) const {
    const SqlType given = binding_.typeOf(&e);
    const SqlType to = target.type;
    if (isConstant(e)) {
        const vb::Variant v = e.kind == ExprKind::Literal
                                  ? e.value
                                  : local_.evaluate(SqliteGenerator(binding_, catalog_).value(e),
                                                    {}, varTypeOf(given));
        return pgLiteral(convertedFor(v, to), to);
    }
    if (given == to || (isText(given) && isText(to))) return value(e);
    const QString wire = pgWireType(to);
    if (isText(to)) return textOf(e);
    if (isText(given)) return u"CAST("_s + value(e) + u" AS "_s + wire + u')';
    if (to == SqlType::Boolean) return u'(' + number(e) + u" <> 0)"_s;
    if (to == SqlType::Date) return u"jet_date(CAST("_s + number(e) + u" AS double precision))"_s;
    if (to == SqlType::Currency)
        return isWhole(given)
                   ? u"CAST("_s + number(e) + u" AS numeric)"_s
                   : u"jet_to_currency(CAST("_s + number(e) + u" AS double precision))"_s;
    if (to == SqlType::Single || to == SqlType::Double)
        return u"CAST("_s + number(e) + u" AS "_s + wire + u')';
    // Whole numbers round half to even, as CInt and CLng do.
    const QString whole =
        isWhole(given) ? number(e) : u"round(CAST("_s + number(e) + u" AS double precision))"_s;
    if (to == SqlType::Byte) return u"jet_to_byte("_s + whole + u')';
    return u"CAST("_s + whole + u" AS "_s + wire + u')';
}

QString PostgresGenerator::insertRows(const QString& into, const Select& rows,
                                      const std::vector<ColumnType>& targets) const {
    const std::vector<OutputColumn>& outputs = binding_.outputs(&rows);
    if (outputs.size() != targets.size()) raise(err::InsertSyntax);
    QStringList names, values;
    bool same = true;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        names << u"c"_s + QString::number(i + 1);
        const SqlType given = outputs[i].type.type;
        const SqlType to = targets[i].type;
        QString v = names.back();
        if (!(given == to || (isText(given) && isText(to)))) {
            same = false;
            // The conversions of storedValue, on a row's column.
            if (isText(to))
                v = u"CAST("_s + v + u" AS text)"_s; // written as the server writes it
            else if (given == SqlType::Boolean)
                v = to == SqlType::Date
                        ? u"jet_date(-CAST("_s + v + u" AS integer))"_s
                        : u"CAST(-CAST("_s + v + u" AS integer) AS "_s + pgWireType(to) + u')';
            else if (to == SqlType::Boolean)
                v = u'(' + (given == SqlType::Date ? u"jet_serial("_s + v + u')' : v) + u" <> 0)"_s;
            else if (to == SqlType::Date)
                v = u"jet_date(CAST("_s + v + u" AS double precision))"_s;
            else if (given == SqlType::Date)
                v = u"CAST(jet_serial("_s + v + u") AS "_s + pgWireType(to) + u')';
            else if (to == SqlType::Byte)
                v = u"jet_to_byte(round(CAST("_s + v + u" AS double precision)))"_s;
            else if (isWhole(to) && !isWhole(given) && !isText(given))
                v = u"CAST(round(CAST("_s + v + u" AS double precision)) AS "_s + pgWireType(to) +
                    u')';
            else if (to == SqlType::Currency && !isWhole(given) && !isText(given))
                v = u"jet_to_currency(CAST("_s + v + u" AS double precision))"_s;
            else
                v = u"CAST("_s + v + u" AS "_s + pgWireType(to) + u')';
        }
        values << v;
    }
    if (same) return into + select(rows);
    return into + u"SELECT "_s + values.join(u", "_s) + u" FROM ("_s + select(rows) +
           u") AS jet_rows("_s + names.join(u", "_s) + u')';
}

namespace {

QString createTable(const QString& name, const QStringList& columns) {
    return (isSessionTableName(name) ? u"CREATE TEMP TABLE "_s : u"CREATE TABLE "_s) +
           PostgresGenerator::quoted(name) + u" ("_s + columns.join(u", "_s) + u')';
}

QString columnDeclaration(const ColumnDef& c, const ColumnType& type) {
    QString def = PostgresGenerator::quoted(c.name) + u' ' + pgDeclaration(type);
    if (c.notNull) def += u" NOT NULL"_s;
    if (c.primaryKey) def += u" PRIMARY KEY"_s;
    return def;
}

} // namespace

PostgresGenerator::Commands PostgresGenerator::selectInto(const Select& s) const {
    const IntoTable into = intoTable(s);
    return {{createTable(s.into, into.declared), false}, {into.insert}};
}

// The rows `from` gives that `where` keeps, read before any is written: for each table of
// `rowsOf` its row's ctid (Null where an outer join found none) as r1, r2, ..., then `values` as
// v1, v2, ..., numbered in the order of the tables' own rows, so that the last of several
// matches is the last a reading of the tables meets.
PostgresGenerator::Commands PostgresGenerator::matches(std::span<const TableRefPtr> from,
                                                       const Expr* where,
                                                       const std::vector<const TableRef*>& rowsOf,
                                                       const QStringList& values,
                                                       bool counted) const {
    QStringList columns, order;
    for (std::size_t i = 0; i < rowsOf.size(); ++i)
        columns << rowidOf(*rowsOf[i]) + u" AS "_s + rowColumn(i);
    for (int i = 0; i < values.size(); ++i)
        columns << values[i] + u" AS "_s + valueColumn(i);
    for (const JoinedSource& s : joinedSources(from))
        if (s.ref->kind == TableRef::Kind::Table) order << rowidOf(*s.ref);
    QString sql = u"CREATE TEMP TABLE jet_matches AS SELECT row_number() OVER (ORDER BY "_s +
                  order.join(u", "_s) + u") AS n, "_s + columns.join(u", "_s) + fromClause(from);
    if (where) sql += u" WHERE "_s + condition(*where);
    return {{sql, counted}};
}

PostgresGenerator::Commands PostgresGenerator::update(const Update& s) const {
    const TableRef& target = *s.from.front();
    if (s.from.size() == 1 && target.kind == TableRef::Kind::Table) return updateTable(s);
    // Through a join: every value is worked out from the rows as they were; a row several rows
    // of the join match is written once, with the last match's values, and counted once per
    // match; where an outer join found no row of a written table, its values go in as a new row.
    const std::vector<JoinedSource> sources = joinedSources(s.from);
    QStringList values;
    const std::vector<WrittenTable> written = writtenTables(s, sources, values);
    const std::vector<const TableRef*> rowsOf = writtenRows(written);
    Commands commands = matches(s.from, s.where.get(), rowsOf, values, true);
    for (std::size_t i = 0; i < written.size(); ++i) {
        const WrittenTable& w = written[i];
        const QString target = quoted(w.table->name), row = rowColumn(i);
        QStringList sets, names, given;
        for (const auto& [column, place] : w.columns) {
            sets << column + u" = jet_match."_s + valueColumn(place);
            names << column;
            given << valueColumn(place);
        }
        commands.push_back({u"UPDATE "_s + target + u" SET "_s + sets.join(u", "_s) +
                                u" FROM (SELECT DISTINCT ON ("_s + row + u") * FROM "_s + kMatches +
                                u" WHERE "_s + row + u" IS NOT NULL ORDER BY "_s + row +
                                u", n DESC) AS jet_match WHERE "_s + target +
                                u".ctid = jet_match."_s + row,
                            false});
        if (w.source->optional)
            commands.push_back({PostgresGenerator::insertInto(w.table->name, names) + u"SELECT "_s +
                                    given.join(u", "_s) + u" FROM "_s + kMatches + u" WHERE "_s +
                                    row + u" IS NULL ORDER BY n"_s,
                                false});
    }
    commands.push_back({kDropMatches, false});
    return commands;
}

// The server adds and changes columns with keys and counters, but, as the dialect, refuses to
// drop one an index needs.
QString PostgresGenerator::alterTable(const AlterTable& s) const {
    const CatalogTable* table = catalog_.table(s.table);
    if (!table) raise(err::NoSuchTable, s.table);
    const CatalogColumn* existing = table->column(s.column.name);
    const QString head = u"ALTER TABLE "_s + quoted(table->name);
    switch (s.action) {
    case AlterTable::Action::AddColumn: {
        const auto type = columnTypeFromName(s.column.typeName, s.column.size);
        if (!type) raise(err::AlterTableSyntax);
        if (existing) raise(err::FieldExists, s.column.name, table->name);
        return head + u" ADD COLUMN "_s + columnDeclaration(s.column, *type);
    }
    case AlterTable::Action::DropColumn:
        if (!existing) raise(err::NoSuchField, s.column.name, table->name);
        if (existing->indexed || existing->type.counter) raise(err::IndexedField);
        return head + u" DROP COLUMN "_s + quoted(existing->name);
    case AlterTable::Action::AlterColumn: {
        const auto type = columnTypeFromName(s.column.typeName, s.column.size);
        if (!type) raise(err::AlterTableSyntax);
        if (!existing) raise(err::NoSuchField, s.column.name, table->name);
        if (type->counter || s.column.primaryKey) raise(err::NotSupported);
        const QString name = quoted(existing->name);
        return head + u" ALTER COLUMN "_s + name + u" TYPE "_s + pgDeclaration(*type) +
               u" USING CAST("_s + name + u" AS "_s + pgWireType(type->type) + u')';
    }
    }
    raise(err::NotSupported);
}

PostgresGenerator::Commands PostgresGenerator::schemaChange(const Statement& statement) const {
    if (const auto* s = std::get_if<CreateTable>(&statement)) {
        if (catalog_.table(s->name)) raise(err::TableExists, s->name);
        QStringList columns;
        for (const ColumnDef& c : s->columns) {
            auto type = columnTypeFromName(c.typeName, c.size);
            if (!type) raise(err::CreateTableSyntax);
            columns << columnDeclaration(c, *type);
        }
        return {{createTable(s->name, columns)}};
    }
    if (const auto* s = std::get_if<CreateIndex>(&statement)) {
        const CatalogTable* table = catalog_.table(s->table);
        if (!table) raise(err::NoInputTable, s->table);
        QStringList columns;
        for (const IndexColumn& c : s->columns) {
            const CatalogColumn* column = table->column(c.name);
            if (!column) raise(err::TooFewParameters, c.name);
            columns << quoted(column->name) + (c.descending ? u" DESC"_s : QString());
        }
        return {{(s->unique ? u"CREATE UNIQUE INDEX "_s : u"CREATE INDEX "_s) + quoted(s->name) +
                 u" ON "_s + quoted(table->name) + u" ("_s + columns.join(u", "_s) + u')'}};
    }
    if (const auto* s = std::get_if<DropTable>(&statement)) {
        const CatalogTable* table = catalog_.table(s->name);
        if (!table) raise(err::NoSuchTable, s->name);
        return {{u"DROP TABLE "_s + quoted(table->name)}};
    }
    if (const auto* s = std::get_if<AlterTable>(&statement)) return {{alterTable(*s)}};
    raise(err::InvalidStatement);
}

PostgresGenerator::Commands PostgresGenerator::commands(const Statement& statement) const {
    return refusingWhatServerCannot([&]() -> Commands {
        if (const auto* s = std::get_if<Select>(&statement))
            return s->into.isEmpty() ? Commands{{select(*s)}} : selectInto(*s);
        if (const auto* s = std::get_if<Insert>(&statement)) return {{insert(*s)}};
        if (const auto* s = std::get_if<Update>(&statement)) return update(*s);
        if (const auto* s = std::get_if<Delete>(&statement)) return deleteRows(*s);
        return schemaChange(statement);
    });
}

QString PostgresGenerator::matchesTable() {
    return kMatches;
}

QString PostgresGenerator::matchColumn(std::size_t place) {
    return rowColumn(place);
}

QString PostgresGenerator::rowIdentity() {
    return u"ctid"_s;
}

QString PostgresGenerator::declaration(const ColumnType& type) {
    return pgDeclaration(type);
}

} // namespace jet
