#include "jet/AstPrinter.h"

#include "jet/Lexer.h"
#include "jet/Token.h"
#include "vb/DateTime.h"

#include <QStringList>
#include <charconv>
#include <cmath>
#include <string>

namespace jet {
namespace {

using namespace Qt::StringLiterals;

// A negative number (the parser never makes one, but a tree built elsewhere may hold one) prints
// with its sign, so it binds like a negation: (-2) ^ 2.
bool isNegativeNumber(const vb::Variant& v) {
    return v.isNumeric() && v.type() != vb::VarType::Boolean && std::signbit(v.toDouble());
}

Precedence precedenceOf(const Expr& e) {
    switch (e.kind) {
    case ExprKind::Literal:
        return isNegativeNumber(e.value) ? Precedence::Sign : Precedence::Primary;
    case ExprKind::Unary:
    case ExprKind::Binary:
        return spellingOf(e.op).precedence;
    case ExprKind::Between:
    case ExprKind::InList:
    case ExprKind::InSelect:
    case ExprKind::Like:
    case ExprKind::IsNull:
        return Precedence::Compare;
    default:
        return Precedence::Primary;
    }
}

QString nameText(const QString& name) {
    return needsBrackets(name) ? u'[' + name + u']' : name;
}

QString qualified(const QString& table, const QString& rest) {
    return table.isEmpty() ? rest : nameText(table) + u'.' + rest;
}

// A dotted name part by part ([Forms].[Orders].[From]), unless a part is empty.
QString dottedText(const QString& name) {
    const QStringList parts = name.split(u'.');
    if (parts.contains(QString())) return nameText(name);
    QStringList written;
    for (const QString& part : parts)
        written << nameText(part);
    return written.join(u'.');
}

QString typeText(const QString& typeName, int size) {
    return size > 0 ? typeName + u'(' + QString::number(size) + u')' : typeName;
}

QString parametersText(const std::vector<Parameter>& parameters) {
    QStringList declared;
    for (const Parameter& p : parameters)
        declared << dottedText(p.name) + u' ' + typeText(p.typeName, p.size);
    return u"PARAMETERS "_s + declared.join(u", "_s) + u"; "_s;
}

QString aliasText(const QString& alias) {
    return alias.isEmpty() ? QString() : u" AS "_s + nameText(alias);
}

// The shortest text that reads back as the same Double, in plain digits unless the exponent is
// large; a whole number keeps a ".0" so that it does not read back as a Long.
QString doubleText(double value) {
    char buffer[400];
    const double magnitude = std::abs(value);
    const bool plain = magnitude == 0 || (magnitude >= 1e-6 && magnitude < 1e15);
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value,
                      plain ? std::chars_format::fixed : std::chars_format::general);
    std::string text(buffer, result.ptr);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return QString::fromStdString(text).toUpper();
}

QString dateText(double serial) {
    const vb::DateParts p = vb::splitDate(serial);
    return QString::asprintf("#%04d/%02d/%02d %02d:%02d:%02d#", p.year, p.month, p.day, p.hour,
                             p.minute, p.second);
}

QString literalText(const vb::Variant& v) {
    switch (v.type()) {
    case vb::VarType::Boolean:
        return v.boolValue() ? u"TRUE"_s : u"FALSE"_s;
    case vb::VarType::Integer:
        return QString::number(v.integerValue());
    case vb::VarType::Long:
        return QString::number(v.longValue());
    case vb::VarType::Single:
    case vb::VarType::Double:
    case vb::VarType::Currency:
        return doubleText(v.toDouble());
    case vb::VarType::Date:
        return dateText(v.dateValue());
    case vb::VarType::String:
        return u'\'' + QString(v.stringValue()).replace(u'\'', u"''"_s) + u'\'';
    default:
        return u"NULL"_s;
    }
}

class Printer {
public:
    explicit Printer(Grouping grouping) : grouping_(grouping) {}

    QString operator()(const Select& s) const { return select(s); }
    QString operator()(const Transform& t) const;
    QString operator()(const Insert& i) const;
    QString operator()(const Update& u) const;
    QString operator()(const Delete& d) const;
    QString operator()(const CreateTable& c) const;
    QString operator()(const CreateIndex& c) const;
    QString operator()(const DropTable& d) const { return u"DROP TABLE "_s + nameText(d.name); }
    QString operator()(const AlterTable& a) const;

    QString expr(const Expr& e) const;

private:
    QString operand(const Expr& e, Precedence loosest) const;
    QString unary(const Expr& e) const;
    QString binary(const Expr& e) const;
    QString predicate(const Expr& e) const;
    QString call(const Expr& e) const;
    QString list(const std::vector<ExprPtr>& exprs, std::size_t from = 0) const;
    QString subquery(const Select& s) const { return u'(' + select(s) + u')'; }
    QString select(const Select& s) const;
    QString core(const Select& s) const;
    QString item(const SelectItem& item) const;
    QString source(const TableRef& ref) const;
    QString sources(const std::vector<TableRefPtr>& refs) const;
    QString where(const ExprPtr& condition) const;

    Grouping grouping_;
};

// An operand binding looser than its place allows gets parentheses, and under Grouping::Every
// so does every operand that is itself an operation.
QString Printer::operand(const Expr& e, Precedence loosest) const {
    const Precedence p = precedenceOf(e);
    const bool wrap = p < loosest || (grouping_ == Grouping::Every && p != Precedence::Primary);
    return wrap ? u'(' + expr(e) + u')' : expr(e);
}

QString Printer::expr(const Expr& e) const {
    switch (e.kind) {
    case ExprKind::Literal:
        return literalText(e.value);
    case ExprKind::Column: // a qualified name of more parts is a parameter's
        return e.table.isEmpty() ? nameText(e.name) : qualified(e.table, dottedText(e.name));
    case ExprKind::Star:
        return qualified(e.table, u"*"_s);
    case ExprKind::Unary:
        return unary(e);
    case ExprKind::Binary:
        return binary(e);
    case ExprKind::Function:
        return call(e);
    case ExprKind::Exists:
        return u"EXISTS "_s + subquery(*e.subquery);
    case ExprKind::Subquery:
        return subquery(*e.subquery);
    default:
        return predicate(e);
    }
}

QString Printer::unary(const Expr& e) const {
    const OperatorSpelling& s = spellingOf(e.op);
    const QString text = QString::fromUtf16(s.text);
    return (e.op == Op::Not ? text + u' ' : text) + operand(*e.args[0], s.precedence);
}

// Operators of one level associate to the left, so a right operand of the same level needs
// parentheses and a left one does not.
QString Printer::binary(const Expr& e) const {
    const OperatorSpelling& s = spellingOf(e.op);
    return operand(*e.args[0], s.precedence) + u' ' + QString::fromUtf16(s.text) + u' ' +
           operand(*e.args[1], tighter(s.precedence));
}

// Like, Between, In and Is Null: the subject stands where a comparison's left side would, the
// other operands where its right side would.
QString Printer::predicate(const Expr& e) const {
    const QString subject = operand(*e.args[0], Precedence::Compare);
    const QString no = e.negated ? u" NOT"_s : QString();
    switch (e.kind) {
    case ExprKind::Between:
        return subject + no + u" BETWEEN "_s + operand(*e.args[1], Precedence::Concat) +
               u" AND "_s + operand(*e.args[2], Precedence::Concat);
    case ExprKind::Like:
        return subject + no + u" LIKE "_s + operand(*e.args[1], Precedence::Concat);
    case ExprKind::InList:
        return subject + no + u" IN ("_s + list(e.args, 1) + u')';
    case ExprKind::InSelect:
        return subject + no + u" IN "_s + subquery(*e.subquery);
    default: // IsNull
        return subject + (e.negated ? u" IS NOT NULL"_s : u" IS NULL"_s);
    }
}

QString Printer::call(const Expr& e) const {
    const QString name = e.dollar ? e.name + u'$' : e.name;
    return name + u'(' + (e.star ? u"*"_s : list(e.args)) + u')';
}

QString Printer::list(const std::vector<ExprPtr>& exprs, std::size_t from) const {
    QStringList parts;
    for (std::size_t i = from; i < exprs.size(); ++i)
        parts << expr(*exprs[i]);
    return parts.join(u", "_s);
}

QString Printer::where(const ExprPtr& condition) const {
    return condition ? u" WHERE "_s + expr(*condition) : QString();
}

QString Printer::select(const Select& s) const {
    QString text = core(s);
    for (const Select* member = &s; member->unionNext; member = member->unionNext.get())
        text += (member->unionAll ? u" UNION ALL "_s : u" UNION "_s) + core(*member->unionNext);
    QStringList order;
    for (const OrderItem& o : s.orderBy)
        order << expr(*o.expr) + (o.descending ? u" DESC"_s : QString());
    if (!order.isEmpty()) text += u" ORDER BY "_s + order.join(u", "_s);
    return text;
}

QString Printer::core(const Select& s) const {
    QString text = u"SELECT"_s;
    if (s.distinct) text += u" DISTINCT"_s;
    if (s.distinctRow) text += u" DISTINCTROW"_s;
    if (s.top) {
        const double count = s.top->count;
        text += u" TOP "_s + (count == static_cast<qint64>(count)
                                  ? QString::number(static_cast<qint64>(count))
                                  : doubleText(count));
        if (s.top->percent) text += u" PERCENT"_s;
    }
    QStringList items;
    for (const SelectItem& i : s.items)
        items << item(i);
    text += u' ' + items.join(u", "_s);
    if (!s.into.isEmpty()) text += u" INTO "_s + nameText(s.into);
    if (!s.from.empty()) text += u" FROM "_s + sources(s.from);
    text += where(s.where);
    if (!s.groupBy.empty()) text += u" GROUP BY "_s + list(s.groupBy);
    if (s.having) text += u" HAVING "_s + expr(*s.having);
    return text;
}

QString Printer::item(const SelectItem& item) const {
    return expr(*item.expr) + aliasText(item.alias);
}

// A join inside a join is parenthesised on either side, as the dialect wants it.
QString Printer::source(const TableRef& ref) const {
    switch (ref.kind) {
    case TableRef::Kind::Table:
        return nameText(ref.name) + aliasText(ref.alias);
    case TableRef::Kind::Subquery:
        return subquery(*ref.subquery) + aliasText(ref.alias);
    case TableRef::Kind::Join:
        break;
    }
    auto side = [&](const TableRef& r) {
        return r.kind == TableRef::Kind::Join ? u'(' + source(r) + u')' : source(r);
    };
    static const QString kJoins[] = {u" INNER JOIN "_s, u" LEFT JOIN "_s, u" RIGHT JOIN "_s};
    return side(*ref.left) + kJoins[static_cast<int>(ref.join)] + side(*ref.right) + u" ON "_s +
           expr(*ref.on);
}

QString Printer::sources(const std::vector<TableRefPtr>& refs) const {
    QStringList written;
    for (const TableRefPtr& ref : refs)
        written << source(*ref);
    return written.join(u", "_s);
}

QString Printer::operator()(const Transform& t) const {
    QString text = u"TRANSFORM "_s + expr(*t.aggregate) + u' ' + select(*t.select) + u" PIVOT "_s +
                   operand(*t.pivot, Precedence::Concat);
    if (!t.pivotIn.empty()) text += u" IN ("_s + list(t.pivotIn) + u')';
    return text;
}

QString Printer::operator()(const Insert& i) const {
    QString text = u"INSERT INTO "_s + nameText(i.table);
    QStringList columns;
    for (const QString& c : i.columns)
        columns << nameText(c);
    if (!columns.isEmpty()) text += u" ("_s + columns.join(u", "_s) + u')';
    if (i.select) return text + u' ' + select(*i.select);
    return text + u" VALUES ("_s + list(i.values) + u')';
}

QString Printer::operator()(const Update& u) const {
    QStringList assignments;
    for (const Assignment& a : u.assignments)
        assignments << expr(*a.column) + u" = "_s + expr(*a.value);
    return u"UPDATE "_s + sources(u.from) + u" SET "_s + assignments.join(u", "_s) + where(u.where);
}

// The tables the list names matter only where the sources are several.
QString Printer::operator()(const Delete& d) const {
    QString text = u"DELETE "_s;
    const bool lone = d.from.size() == 1 && d.from.front()->kind == TableRef::Kind::Table;
    if (!lone && !d.targets.empty()) {
        QStringList targets;
        for (const QString& t : d.targets)
            targets << nameText(t) + u".*"_s;
        text += targets.join(u", "_s) + u' ';
    }
    return text + u"FROM "_s + sources(d.from) + where(d.where);
}

QString columnText(const ColumnDef& def) {
    QString text = nameText(def.name) + u' ' + typeText(def.typeName, def.size);
    if (def.notNull) text += u" NOT NULL"_s;
    if (def.primaryKey) text += u" PRIMARY KEY"_s;
    return text;
}

QString Printer::operator()(const CreateTable& c) const {
    QStringList columns;
    for (const ColumnDef& def : c.columns)
        columns << columnText(def);
    return u"CREATE TABLE "_s + nameText(c.name) + u" ("_s + columns.join(u", "_s) + u')';
}

QString Printer::operator()(const AlterTable& a) const {
    const QString head = u"ALTER TABLE "_s + nameText(a.table);
    switch (a.action) {
    case AlterTable::Action::AddColumn:
        return head + u" ADD COLUMN "_s + columnText(a.column);
    case AlterTable::Action::DropColumn:
        return head + u" DROP COLUMN "_s + nameText(a.column.name);
    case AlterTable::Action::AlterColumn:
        break;
    }
    return head + u" ALTER COLUMN "_s + columnText(a.column);
}

QString Printer::operator()(const CreateIndex& c) const {
    QStringList columns;
    for (const IndexColumn& column : c.columns)
        columns << nameText(column.name) + (column.descending ? u" DESC"_s : QString());
    return (c.unique ? u"CREATE UNIQUE INDEX "_s : u"CREATE INDEX "_s) + nameText(c.name) +
           u" ON "_s + nameText(c.table) + u" ("_s + columns.join(u", "_s) + u')';
}

} // namespace

QString printStatement(const Statement& statement, Grouping grouping) {
    const std::vector<Parameter>* declared = parametersOf(statement);
    const QString head = declared && !declared->empty() ? parametersText(*declared) : QString();
    return head + std::visit(Printer(grouping), statement);
}

QString printExpression(const Expr& expr, Grouping grouping) {
    return Printer(grouping).expr(expr);
}

} // namespace jet
