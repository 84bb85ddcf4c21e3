#include "jet/Binder.h"

#include "jet/AstPrinter.h"
#include "jet/FunctionRegistry.h"
#include "jet/JetError.h"

#include <span>

namespace jet {

namespace {

struct Source {
    QString name; // alias, or the table's name
    std::vector<CatalogColumn> columns;
};

struct Scope {
    std::vector<Source> sources;
    const Scope* parent = nullptr;
    const std::vector<OutputColumn>* outputs = nullptr; // for ORDER BY aliases
};

} // namespace

class Binder {
public:
    explicit Binder(const Catalog& catalog) : catalog_(catalog) {}

    Binding take() { return std::move(binding_); }

    // Binds a select and the selects UNION joins to it. `extras` are expressions that belong to
    // the first select's scope without being in its list (a crosstab's value and pivot).
    void bindSelectChain(const Select& first, const Scope* parent,
                         std::initializer_list<const Expr*> extras = {}) {
        for (const Select* s = &first; s; s = s->unionNext.get())
            bindOneSelect(*s, parent, s == &first,
                          s == &first ? extras : std::initializer_list<const Expr*>{});
    }

    // Expressions over sources of their own: UPDATE's table or join, DELETE's FROM clause.
    void bindOnSources(std::span<const TableRefPtr> refs, const std::vector<const Expr*>& exprs) {
        const Scope scope = sourceScope(refs, nullptr);
        for (const Expr* e : exprs)
            if (e) bindExpr(*e, scope);
    }

    void declare(const std::vector<Parameter>& parameters) {
        for (const Parameter& p : parameters) {
            const auto type = parameterTypeFromName(p.typeName, p.size);
            binding_.parameters_.push_back({p.name, type ? type->type : SqlType::Unknown});
        }
    }

    SqlType bindExpr(const Expr& e, const Scope& scope) {
        const SqlType t = typeExpr(e, scope);
        binding_.types_.insert(&e, t);
        return t;
    }

    const Catalog& catalog() const { return catalog_; }

private:
    void bindOneSelect(const Select& s, const Scope* parent, bool ownsOrder,
                       std::initializer_list<const Expr*> extras) {
        const Scope scope = sourceScope(s.from, parent);

        // Built aside: binding a subquery in the list adds to the table of outputs.
        std::vector<OutputColumn> outputs;
        std::vector<OutputOrigin> origins;
        for (std::size_t i = 0; i < s.items.size(); ++i)
            addOutputs(s.items[i], static_cast<int>(i), scope, outputs, origins);
        nameSharedColumns(outputs, origins);

        for (const Expr* e : extras)
            if (e) bindExpr(*e, scope);
        if (s.where) bindExpr(*s.where, scope);
        for (const ExprPtr& g : s.groupBy)
            bindExpr(*g, scope);
        if (s.having) bindExpr(*s.having, scope);
        if (ownsOrder) {
            Scope orderScope = scope;
            orderScope.outputs = &outputs;
            for (const OrderItem& o : s.orderBy)
                bindExpr(*o.expr, orderScope);
        }
        binding_.outputs_[&s] = std::move(outputs);
        checkGrouping(s, ownsOrder);
    }

    // In a query that groups, everything shown must be an aggregate or made of what it groups by.
    void checkGrouping(const Select& s, bool ownsOrder) const {
        if (!groupsRows(s)) return;
        QStringList groupTexts;
        for (const ExprPtr& g : s.groupBy)
            groupTexts << printExpression(*g).toLower();
        auto check = [&](const Expr& e) {
            if (const Expr* bad = ungrouped(e, s, groupTexts))
                raise(err::NotInAggregate, printExpression(*bad));
        };
        for (const SelectItem& item : s.items)
            check(*item.expr);
        if (s.having) check(*s.having);
        if (ownsOrder)
            for (const OrderItem& o : s.orderBy)
                check(*o.expr);
    }

    // The first part of e that is neither aggregated nor grouped by; null when there is none.
    const Expr* ungrouped(const Expr& e, const Select& s, const QStringList& groupTexts) const {
        switch (e.kind) {
        case ExprKind::Literal:
        case ExprKind::Exists:
        case ExprKind::Subquery:
            return nullptr;
        case ExprKind::Function:
            if (isAggregateFunction(e.name)) return nullptr;
            break;
        case ExprKind::Column:
            if (sameColumnAsGroup(e, s)) return nullptr;
            break;
        case ExprKind::Star:
            return &e;
        default:
            break;
        }
        if (groupTexts.contains(printExpression(e).toLower())) return nullptr;
        if (e.kind == ExprKind::Column) return &e;
        for (const ExprPtr& a : e.args)
            if (const Expr* bad = ungrouped(*a, s, groupTexts)) return bad;
        return nullptr;
    }

    bool sameColumnAsGroup(const Expr& e, const Select& s) const {
        const ResolvedColumn* c = binding_.column(&e);
        if (!c || c->outputAlias) return true;
        for (const ExprPtr& g : s.groupBy) {
            const ResolvedColumn* gc = binding_.column(g.get());
            if (gc && gc->source.compare(c->source, Qt::CaseInsensitive) == 0 &&
                gc->column.compare(c->column, Qt::CaseInsensitive) == 0)
                return true;
        }
        return false;
    }

    // The sources of a FROM clause in scope, with their joins' conditions bound.
    Scope sourceScope(std::span<const TableRefPtr> refs, const Scope* parent) {
        Scope scope;
        scope.parent = parent;
        for (const TableRefPtr& ref : refs)
            addSources(*ref, scope);
        for (const TableRefPtr& ref : refs)
            bindJoinConditions(*ref, scope);
        return scope;
    }

    void addSources(const TableRef& ref, Scope& scope) {
        switch (ref.kind) {
        case TableRef::Kind::Table: {
            const CatalogTable* table = catalog_.table(ref.name);
            if (!table) raise(err::NoInputTable, ref.name);
            scope.sources.push_back(
                {ref.alias.isEmpty() ? table->name : ref.alias, table->columns});
            break;
        }
        case TableRef::Kind::Join:
            addSources(*ref.left, scope);
            addSources(*ref.right, scope);
            break;
        case TableRef::Kind::Subquery: {
            bindSelectChain(*ref.subquery, scope.parent);
            Source source{ref.alias, {}};
            for (const OutputColumn& out : binding_.outputs(ref.subquery.get()))
                source.columns.push_back({out.name, out.type});
            scope.sources.push_back(std::move(source));
            break;
        }
        }
    }

    void bindJoinConditions(const TableRef& ref, const Scope& scope) {
        if (ref.kind != TableRef::Kind::Join) return;
        bindJoinConditions(*ref.left, scope);
        bindJoinConditions(*ref.right, scope);
        if (ref.on) bindExpr(*ref.on, scope);
    }

    // Where an output column comes from, for naming it once the list is complete.
    struct OutputOrigin {
        int item = 0;                  // its place in the list as written
        bool namedAfterItself = false; // an unaliased column
        QString source, column;
    };

    static QString unnamedExpression(int item) { return QStringLiteral("Expr%1").arg(1000 + item); }

    void addOutputs(const SelectItem& item, int place, const Scope& scope,
                    std::vector<OutputColumn>& outputs, std::vector<OutputOrigin>& origins) {
        const Expr& e = *item.expr;
        if (e.kind == ExprKind::Star) {
            expandStar(e, scope, outputs);
            for (std::size_t i = origins.size(); i < outputs.size(); ++i)
                origins.push_back(
                    {place, true, outputs[i].starColumn.source, outputs[i].starColumn.column});
            return;
        }
        const SqlType type = bindExpr(e, scope);
        OutputColumn out;
        out.expr = &e;
        out.type = ColumnType{type, 0, false};
        OutputOrigin origin;
        origin.item = place;
        if (const ResolvedColumn* c = binding_.column(&e)) {
            out.type = c->type, out.type.counter = false;
            origin = {place, item.alias.isEmpty(), c->source, c->column};
        }
        if (!item.alias.isEmpty())
            out.name = item.alias;
        else
            out.name = origin.namedAfterItself ? origin.column : unnamedExpression(place);
        outputs.push_back(std::move(out));
        origins.push_back(std::move(origin));
    }

    void expandStar(const Expr& star, const Scope& scope, std::vector<OutputColumn>& outputs) {
        bool found = false;
        for (const Source& src : scope.sources) {
            if (!star.table.isEmpty() && src.name.compare(star.table, Qt::CaseInsensitive) != 0)
                continue;
            found = true;
            for (const CatalogColumn& c : src.columns) {
                OutputColumn out;
                out.expr = &star;
                out.type = c.type;
                out.type.counter = false;
                out.name = c.name;
                out.starColumn = ResolvedColumn{src.name, c.name, c.type, false};
                outputs.push_back(std::move(out));
            }
        }
        if (!found) raise(err::NoInputTable, star.table);
    }

    // An unaliased column is named after itself. Where two would share a name, the dialect tells
    // them apart: a column shown more than once keeps its name at its last showing only, the
    // others being named as unnamed expressions are (Expr1001 for the second item); columns of
    // different sources that still share a name each take their source's name in front
    // ("tblTrans.fldID", or the alias where the source has one).
    static void nameSharedColumns(std::vector<OutputColumn>& outputs,
                                  const std::vector<OutputOrigin>& origins) {
        const auto qualified = [&](std::size_t i) {
            return origins[i].source + u'.' + origins[i].column;
        };
        QHash<QString, std::size_t> lastShowing;
        for (std::size_t i = 0; i < outputs.size(); ++i)
            if (origins[i].namedAfterItself) lastShowing.insert(qualified(i).toLower(), i);
        QHash<QString, int> sharing;
        std::vector<bool> named(outputs.size(), false);
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            if (!origins[i].namedAfterItself) continue;
            if (lastShowing.value(qualified(i).toLower()) != i) {
                outputs[i].name = unnamedExpression(origins[i].item);
                continue;
            }
            named[i] = true;
            sharing[outputs[i].name.toLower()] += 1;
        }
        for (std::size_t i = 0; i < outputs.size(); ++i)
            if (named[i] && sharing.value(outputs[i].name.toLower()) > 1)
                outputs[i].name = qualified(i);
    }

    SqlType typeExpr(const Expr& e, const Scope& scope) {
        switch (e.kind) {
        case ExprKind::Literal:
            return literalType(e.value);
        case ExprKind::Column:
            return resolveColumn(e, scope);
        case ExprKind::Star:
            return SqlType::Unknown;
        case ExprKind::Unary: {
            const SqlType t = bindExpr(*e.args[0], scope);
            if (e.op == Op::Not)
                return t == SqlType::Boolean || t == SqlType::Unknown ? SqlType::Boolean
                                                                      : widen(t, SqlType::Integer);
            if (e.op == Op::Negate && isText(t)) return SqlType::Double; // -"5" is -5
            return t == SqlType::Boolean ? SqlType::Integer : t;
        }
        case ExprKind::Binary:
            return binaryType(e, scope);
        case ExprKind::Function:
            return functionType(e, scope);
        case ExprKind::Between:
        case ExprKind::InList:
        case ExprKind::Like:
        case ExprKind::IsNull:
            for (const ExprPtr& a : e.args)
                bindExpr(*a, scope);
            return SqlType::Boolean;
        case ExprKind::InSelect:
            bindExpr(*e.args[0], scope);
            bindSelectChain(*e.subquery, &scope);
            return SqlType::Boolean;
        case ExprKind::Exists:
            bindSelectChain(*e.subquery, &scope);
            return SqlType::Boolean;
        case ExprKind::Subquery: {
            bindSelectChain(*e.subquery, &scope);
            const auto& outs = binding_.outputs(e.subquery.get());
            return outs.empty() ? SqlType::Unknown : outs.front().type.type;
        }
        }
        return SqlType::Unknown;
    }

    SqlType binaryType(const Expr& e, const Scope& scope) {
        const SqlType a = bindExpr(*e.args[0], scope);
        const SqlType b = bindExpr(*e.args[1], scope);
        switch (e.op) {
        case Op::Concat:
            return SqlType::Text;
        case Op::Add:
            if (isText(a) && (isText(b) || b == SqlType::Unknown)) return SqlType::Text;
            if (isText(b) && a == SqlType::Unknown) return SqlType::Text;
            if (a == SqlType::Date || b == SqlType::Date) return SqlType::Date;
            return widen(a, b);
        case Op::Subtract:
            if (a == SqlType::Date && b == SqlType::Date) return SqlType::Double;
            if (a == SqlType::Date || b == SqlType::Date) return SqlType::Date;
            return widen(a, b);
        case Op::Multiply:
            return widen(a == SqlType::Date ? SqlType::Double : a,
                         b == SqlType::Date ? SqlType::Double : b);
        case Op::Divide:
        case Op::Power:
            return SqlType::Double;
        case Op::IntDivide:
        case Op::Mod:
            return widen(a, b) == SqlType::Integer ? SqlType::Integer : SqlType::Long;
        case Op::And:
        case Op::Or:
        case Op::Xor:
        case Op::Eqv:
        case Op::Imp:
            return a == SqlType::Boolean && b == SqlType::Boolean ? SqlType::Boolean : widen(a, b);
        default: // comparisons
            return SqlType::Boolean;
        }
    }

    SqlType functionType(const Expr& e, const Scope& scope) {
        std::vector<SqlType> args;
        for (const ExprPtr& a : e.args)
            args.push_back(bindExpr(*a, scope));
        const DialectFunction* f = findFunction(e.name);
        if (!f) raise(err::UndefinedFunction, e.name);
        if (e.dollar && f->dollar == DollarForm::None) raise(err::UndefinedFunction, e.name + u'$');
        checkArgumentCount(e, *f);
        return e.dollar ? SqlType::Text : resultType(f->result, args);
    }

    static void checkArgumentCount(const Expr& e, const DialectFunction& f) {
        if (e.star && f.kind != FunctionKind::Count)
            raise(err::MissingOperator, printExpression(e));
        const auto given = e.star ? 1 : static_cast<int>(e.args.size());
        if (given < f.minArgs || given > f.maxArgs) raiseWrongArgumentCount(printExpression(e));
    }

    static SqlType resultType(const ResultType& result, const std::vector<SqlType>& args) {
        const SqlType first = args.empty() ? SqlType::Unknown : args.front();
        switch (result.rule) {
        case ResultRule::Fixed:
            return result.type;
        case ResultRule::FirstArg:
            return first;
        case ResultRule::FirstArgAsNumber:
            return first == SqlType::Boolean ? SqlType::Integer : first;
        case ResultRule::Branches:
            return sharedType(args, 1);
        case ResultRule::PairedBranches:
            return sharedType(args, 2);
        case ResultRule::CurrencyOrDouble:
            return first == SqlType::Currency ? SqlType::Currency : SqlType::Double;
        }
        return SqlType::Unknown;
    }

    // The type the choices (every `step`th argument from the second) share: the widest where all
    // are numbers, none where they differ otherwise. A Null choice takes the others' type.
    static SqlType sharedType(const std::vector<SqlType>& args, std::size_t step) {
        std::optional<SqlType> shared;
        for (std::size_t i = 1; i < args.size(); i += step) {
            const SqlType t = args[i];
            if (t == SqlType::Unknown) continue;
            if (!shared || *shared == t)
                shared = t;
            else if (isNumeric(*shared) && isNumeric(t))
                shared = widen(*shared, t);
            else
                return SqlType::Unknown;
        }
        return shared.value_or(SqlType::Unknown);
    }

    // A name no column answers to is a parameter: typed where the statement declares it, and
    // otherwise one that nothing can type or give a value.
    SqlType resolveColumn(const Expr& e, const Scope& scope) {
        for (const Scope* s = &scope; s; s = s->parent) {
            if (auto found = findIn(e, *s)) {
                binding_.columns_.insert(&e, *found);
                return found->type.type;
            }
        }
        const QString written = e.table.isEmpty() ? e.name : e.table + u'.' + e.name;
        for (const QueryParameter& p : binding_.parameters_)
            if (p.name.compare(written, Qt::CaseInsensitive) == 0) return p.type;
        raise(err::TooFewParameters, written);
    }

    std::optional<ResolvedColumn> findIn(const Expr& e, const Scope& scope) {
        std::optional<ResolvedColumn> hit;
        for (const Source& src : scope.sources) {
            if (!e.table.isEmpty() && src.name.compare(e.table, Qt::CaseInsensitive) != 0) continue;
            for (const CatalogColumn& c : src.columns) {
                if (c.name.compare(e.name, Qt::CaseInsensitive) != 0) continue;
                if (hit) raise(err::AmbiguousField, e.name);
                hit = ResolvedColumn{src.name, c.name, c.type, false};
            }
        }
        if (hit || !e.table.isEmpty() || !scope.outputs) return hit;
        // ORDER BY may name a column of the select list by its alias.
        for (const OutputColumn& out : *scope.outputs)
            if (out.name.compare(e.name, Qt::CaseInsensitive) == 0)
                return ResolvedColumn{QString(), out.name, out.type, true};
        return hit;
    }

    const Catalog& catalog_;
    Binding binding_;
};

Binding bindSelect(const Select& select, const Catalog& catalog) {
    Binder binder(catalog);
    binder.bindSelectChain(select, nullptr);
    return binder.take();
}

Binding bindStatement(const Statement& statement, const Catalog& catalog) {
    Binder binder(catalog);
    if (const std::vector<Parameter>* declared = parametersOf(statement)) binder.declare(*declared);
    std::visit(
        [&](const auto& s) {
            using T = std::decay_t<decltype(s)>;
            if constexpr (std::is_same_v<T, Select>) {
                binder.bindSelectChain(s, nullptr);
            } else if constexpr (std::is_same_v<T, Transform>) {
                binder.bindSelectChain(*s.select, nullptr, {s.aggregate.get(), s.pivot.get()});
                Scope empty;
                for (const ExprPtr& v : s.pivotIn)
                    binder.bindExpr(*v, empty);
            } else if constexpr (std::is_same_v<T, Insert>) {
                const CatalogTable* table = catalog.table(s.table);
                if (!table) raise(err::NoInputTable, s.table);
                for (const QString& c : s.columns)
                    if (!table->column(c)) raise(err::UnknownInsertField, c);
                Scope empty;
                for (const ExprPtr& v : s.values)
                    binder.bindExpr(*v, empty);
                if (s.select) binder.bindSelectChain(*s.select, nullptr);
            } else if constexpr (std::is_same_v<T, Delete>) {
                binder.bindOnSources(s.from, {s.where.get()});
            } else if constexpr (std::is_same_v<T, Update>) {
                std::vector<const Expr*> exprs;
                for (const Assignment& a : s.assignments)
                    exprs.insert(exprs.end(), {a.column.get(), a.value.get()});
                exprs.push_back(s.where.get());
                binder.bindOnSources(s.from, exprs);
            } else {
                (void)s;
            }
        },
        statement);
    return binder.take();
}

} // namespace jet
