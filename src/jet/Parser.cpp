#include "jet/Parser.h"

#include "jet/FunctionRegistry.h"
#include "jet/JetError.h"
#include "jet/Lexer.h"
#include "jet/Types.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

namespace jet {
namespace {

constexpr int kMaxNesting = 200; // parentheses, subqueries and calls inside one another
// Whoever walks the tree (printer, binder, generator) recurses once per level, so deeper trees
// are refused. Chains of operators, joins and unions deepen a tree without nesting in the text.
constexpr int kMaxDepth = 1000;
// Bounds the work on any text, and the depth of a tree that is read in full before its depth is
// checked (freeing such a tree takes little stack per level).
constexpr int kMaxNodes = 20000;

// Sets a variable for a scope and puts the old value back after it.
template <typename T> class ScopedValue {
public:
    ScopedValue(T& target, T value) : target_(target), saved_(std::exchange(target, value)) {}
    ~ScopedValue() { target_ = saved_; }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& target_;
    T saved_;
};

// Finds a node deeper than kMaxDepth, walking with a stack of its own so that the walk cannot
// overflow on the very trees it refuses.
class DepthCheck {
public:
    // False when some node lies too deep.
    bool run(const Statement& statement) {
        std::visit([this](const auto& s) { addRoots(s); }, statement);
        return drain();
    }
    bool run(const Expr& expr) {
        add(&expr, 1);
        return drain();
    }

private:
    using Node = std::variant<const Expr*, const Select*, const TableRef*>;
    struct Pending {
        Node node;
        int depth;
    };

    template <typename T> void add(const T* node, int depth) {
        if (node) pending_.push_back({node, depth});
    }
    void addAll(const std::vector<ExprPtr>& exprs, int depth) {
        for (const ExprPtr& e : exprs)
            add(e.get(), depth);
    }

    void addRoots(const Select& s) { add(&s, 1); }
    void addRoots(const Transform& t) {
        add(t.aggregate.get(), 1);
        add(t.select.get(), 1);
        add(t.pivot.get(), 1);
        addAll(t.pivotIn, 1);
    }
    void addRoots(const Insert& i) {
        addAll(i.values, 1);
        add(i.select.get(), 1);
    }
    void addRoots(const Update& u) {
        for (const TableRefPtr& ref : u.from)
            add(ref.get(), 1);
        for (const Assignment& a : u.assignments)
            add(a.value.get(), 1);
        add(u.where.get(), 1);
    }
    void addRoots(const Delete& d) {
        for (const TableRefPtr& ref : d.from)
            add(ref.get(), 1);
        add(d.where.get(), 1);
    }
    void addRoots(const CreateTable&) {}
    void addRoots(const CreateIndex&) {}
    void addRoots(const DropTable&) {}
    void addRoots(const AlterTable&) {}

    void addChildren(const Expr& e, int depth) {
        addAll(e.args, depth);
        add(e.subquery.get(), depth);
    }
    void addChildren(const Select& s, int depth) {
        for (const SelectItem& item : s.items)
            add(item.expr.get(), depth);
        for (const TableRefPtr& ref : s.from)
            add(ref.get(), depth);
        add(s.where.get(), depth);
        addAll(s.groupBy, depth);
        add(s.having.get(), depth);
        for (const OrderItem& o : s.orderBy)
            add(o.expr.get(), depth);
        add(s.unionNext.get(), depth);
    }
    void addChildren(const TableRef& r, int depth) {
        add(r.left.get(), depth);
        add(r.right.get(), depth);
        add(r.on.get(), depth);
        add(r.subquery.get(), depth);
    }

    bool drain() {
        while (!pending_.empty()) {
            const Pending p = pending_.back();
            pending_.pop_back();
            if (p.depth > kMaxDepth) return false;
            std::visit([&](const auto* node) { addChildren(*node, p.depth + 1); }, p.node);
        }
        return true;
    }

    std::vector<Pending> pending_;
};

// Recursive descent over the token list. Errors carry the number of the clause being read
// (clauseError_), or 3075 with the expression text while an expression is being read.
class Parser {
public:
    explicit Parser(const QString& text) : text_(text), tokens_(tokenize(text)) {}

    Statement statement();
    ExprPtr loneExpression();

private:
    class Nested;

    // ---- tokens
    const Token& tokenAt(int index) const {
        return tokens_[std::min(static_cast<std::size_t>(index), tokens_.size() - 1)];
    }
    const Token& peek(int ahead = 0) const { return tokenAt(pos_ + ahead); }
    bool atWord(QStringView word, int ahead = 0) const { return peek(ahead).isWord(word); }
    bool atSymbol(QStringView symbol, int ahead = 0) const { return peek(ahead).isSymbol(symbol); }
    bool acceptWord(QStringView word) { return atWord(word) && (++pos_, true); }
    bool acceptSymbol(QStringView symbol) { return atSymbol(symbol) && (++pos_, true); }
    void expectWord(QStringView word) {
        if (!acceptWord(word)) fail();
    }
    void expectSymbol(QStringView symbol) {
        if (!acceptSymbol(symbol)) fail();
    }
    bool atName() const;
    QString name();
    QString alias();
    QString qualifiedPart();
    QString dottedName();
    bool atFunctionWord(int index) const;
    bool atClauseWord(int index) const;
    bool atExpressionEnd() const;
    bool atFromEnd() const;

    // ---- errors
    [[noreturn]] void fail() const;
    template <typename Tree> static void checkDepth(const Tree& tree);
    [[noreturn]] void failExpression(int errorIndex) const;
    QString expressionText(int errorIndex) const;
    bool endsQuotedText(int index, bool atError, int depth) const;
    void countNode();
    ExprPtr newExpr(ExprKind kind);
    TableRefPtr newTableRef(TableRef::Kind kind);
    void spanFrom(Expr& e, int startIndex) const;

    // ---- statements
    Statement selectStatement();
    Statement transform();
    Statement insert();
    Statement update();
    Statement deleteStatement();
    void deletedColumn(std::vector<QString>& starTables, std::vector<QString>& columnTables);
    Statement createTable();
    Statement createIndex();
    Statement dropTable();
    Statement alterTable();
    std::vector<Parameter> parameterClause();
    Parameter parameter();
    void ownerAccess();
    void externalDatabase();
    void refuseConstraint() const;
    void finish();
    std::unique_ptr<Select> query(bool unions = true);
    std::unique_ptr<Select> selectCore();
    Top top();
    std::vector<SelectItem> selectList();
    std::vector<TableRefPtr> fromList();
    TableRefPtr source();
    TableRefPtr sourcePrimary();
    std::optional<JoinKind> joinKind();
    std::vector<OrderItem> orderBy();
    std::vector<ExprPtr> expressionList();
    ExprPtr assignedColumn();
    ColumnDef columnDefinition();
    int textSize(const ColumnType& type);

    // ---- expressions
    ExprPtr clauseExpression(Precedence loosest = Precedence::Imp, QStringView alsoEnds = {});
    ExprPtr expression(Precedence level);
    ExprPtr binaryLevel(Precedence level);
    const OperatorSpelling* operatorAt(Precedence level, bool unary) const;
    ExprPtr prefixed(Precedence level, ExprPtr (Parser::*operand)());
    ExprPtr comparison();
    ExprPtr predicate(ExprPtr& subject);
    ExprPtr in(ExprPtr subject);
    ExprPtr power();
    ExprPtr primary();
    ExprPtr wordPrimary();
    ExprPtr literal(vb::Variant value);
    ExprPtr star();
    ExprPtr notOperand();
    ExprPtr exists();
    ExprPtr parenthesised();
    ExprPtr reference();
    ExprPtr call(const QString& written, int start);
    ExprPtr unary(Op op, ExprPtr operand, int start);
    ExprPtr binary(Op op, ExprPtr left, ExprPtr right, int start);

    const QString& text_;
    std::vector<Token> tokens_;
    int pos_ = 0;
    int clauseError_ = err::InvalidStatement;
    int exprStart_ = -1; // first token of the expression being read; -1 outside one
    int nesting_ = 0;
    int nodes_ = 0;
};

// Counts one level of nesting for its scope and refuses to go deeper than kMaxNesting.
class Parser::Nested {
public:
    explicit Nested(Parser& parser) : parser_(parser) {
        if (++parser_.nesting_ > kMaxNesting) raise(err::TooComplex);
    }
    ~Nested() { --parser_.nesting_; }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;

private:
    Parser& parser_;
};

// ---- tokens

bool Parser::atName() const {
    const Token& t = peek();
    return t.kind == TokenKind::Name ||
           (t.kind == TokenKind::Word && !isReservedWord(t.text) && !t.text.endsWith(u'$'));
}

QString Parser::name() {
    if (!atName()) fail();
    return tokens_[pos_++].text;
}

// [AS] alias after a table or a subquery; empty when none is written.
QString Parser::alias() {
    if (acceptWord(u"AS")) return name();
    return atName() ? name() : QString();
}

// The part after "table." may be any word: tbl.[Date], tbl.Date.
QString Parser::qualifiedPart() {
    const Token& t = peek();
    if (t.kind != TokenKind::Name && t.kind != TokenKind::Word) fail();
    ++pos_;
    return t.text;
}

// A name of one or more parts, joined by ".": [Start Date], [Forms]![Orders]![From].
QString Parser::dottedName() {
    QString text = name();
    while (acceptSymbol(u"."))
        text += u'.' + qualifiedPart();
    return text;
}

// A reserved word that names one of the dialect's functions (Left, Right, Asc) is the function
// where "(" follows it.
bool Parser::atFunctionWord(int index) const {
    return tokenAt(index + 1).isSymbol(u"(") && findFunction(tokenAt(index).text);
}

// A word that starts a clause, or ends an expression (AS, ASC), unless it is a function's name.
bool Parser::atClauseWord(int index) const {
    static constexpr const char16_t* kWords[] = {
        u"FROM",  u"WHERE",  u"GROUP", u"HAVING", u"ORDER", u"UNION", u"INTO",
        u"PIVOT", u"SELECT", u"ON",    u"INNER",  u"LEFT",  u"RIGHT", u"JOIN",
        u"SET",   u"VALUES", u"AS",    u"ASC",    u"DESC",  u"WITH",
    };
    const Token& t = tokenAt(index);
    if (t.kind != TokenKind::Word) return false;
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](const char16_t* word) { return t.isWord(word); }) &&
           !atFunctionWord(index);
}

bool Parser::atExpressionEnd() const {
    const Token& t = peek();
    return t.kind == TokenKind::End || t.isSymbol(u",") || t.isSymbol(u")") || t.isSymbol(u";") ||
           atClauseWord(pos_);
}

bool Parser::atFromEnd() const {
    const Token& t = peek();
    if (t.kind == TokenKind::End || t.isSymbol(u")") || t.isSymbol(u";")) return true;
    for (const char16_t* word :
         {u"WHERE", u"GROUP", u"HAVING", u"ORDER", u"UNION", u"PIVOT", u"WITH"})
        if (t.isWord(word)) return true;
    return false;
}

// ---- errors

void Parser::fail() const {
    if (exprStart_ >= 0 || peek().kind == TokenKind::Invalid) failExpression(pos_);
    raise(clauseError_);
}

template <typename Tree> void Parser::checkDepth(const Tree& tree) {
    if (!DepthCheck().run(tree)) raise(err::TooComplex);
}

void Parser::failExpression(int errorIndex) const {
    raise(err::MissingOperator, expressionText(errorIndex));
}

// From the start of the expression being read to the end of its clause, as written: the dialect
// quotes the whole expression, not just the token where reading stopped.
QString Parser::expressionText(int errorIndex) const {
    const int first = exprStart_ >= 0 ? exprStart_ : errorIndex;
    int depth = 0;
    int last = -1;
    for (int i = first; tokenAt(i).kind != TokenKind::End; ++i) {
        if (i >= errorIndex && endsQuotedText(i, i == errorIndex, depth)) break;
        const Token& t = tokenAt(i);
        depth += t.isSymbol(u"(") ? 1 : t.isSymbol(u")") ? -1 : 0;
        last = i;
    }
    if (last < first) return {};
    const int from = tokenAt(first).position;
    return text_.mid(from, tokenAt(last).end() - from);
}

// A clause word where reading stopped cut the expression short (f(a, FROM t); after that point
// the text runs on to the end of its clause at the expression's own level.
bool Parser::endsQuotedText(int index, bool atError, int depth) const {
    const Token& t = tokenAt(index);
    if (t.isSymbol(u";")) return true;
    if (atError) return atClauseWord(index);
    return depth <= 0 && (t.isSymbol(u",") || t.isSymbol(u")") || atClauseWord(index));
}

void Parser::countNode() {
    if (++nodes_ > kMaxNodes) raise(err::TooComplex);
}

ExprPtr Parser::newExpr(ExprKind kind) {
    countNode();
    auto e = std::make_unique<Expr>();
    e->kind = kind;
    return e;
}

TableRefPtr Parser::newTableRef(TableRef::Kind kind) {
    countNode();
    auto ref = std::make_unique<TableRef>();
    ref->kind = kind;
    return ref;
}

// The expression runs from the token at startIndex to the last token read.
void Parser::spanFrom(Expr& e, int startIndex) const {
    e.position = tokenAt(startIndex).position;
    e.length = tokenAt(pos_ - 1).end() - e.position;
}

// ---- statements

// [PARAMETERS ...;] statement [WITH OWNERACCESS OPTION] [;]. Only queries take the clauses
// around them; data definition takes neither.
Statement Parser::statement() {
    struct Kind {
        const char16_t* word;
        int error;
        Statement (Parser::*read)();
        bool query;
    };
    static constexpr Kind kKinds[] = {
        {u"SELECT", err::SelectSyntax, &Parser::selectStatement, true},
        {u"TRANSFORM", err::TransformSyntax, &Parser::transform, true},
        {u"INSERT", err::InsertSyntax, &Parser::insert, true},
        {u"UPDATE", err::UpdateSyntax, &Parser::update, true},
        {u"DELETE", err::FromClause, &Parser::deleteStatement, true},
        {u"CREATE", err::CreateTableSyntax, &Parser::createTable, false},
        {u"DROP", err::DropSyntax, &Parser::dropTable, false},
        {u"ALTER", err::AlterTableSyntax, &Parser::alterTable, false},
    };
    std::vector<Parameter> parameters;
    if (atWord(u"PARAMETERS")) parameters = parameterClause();
    for (const Kind& kind : kKinds) {
        if (!atWord(kind.word)) continue;
        if (!kind.query && !parameters.empty()) break;
        clauseError_ = kind.error;
        Statement s = (this->*kind.read)();
        if (kind.query) {
            ownerAccess();
            *parametersOf(s) = std::move(parameters);
        }
        finish();
        checkDepth(s);
        return s;
    }
    raise(err::InvalidStatement);
}

// PARAMETERS name type [, name type ...]; its ";" ends the clause, and the query follows.
std::vector<Parameter> Parser::parameterClause() {
    ScopedValue clause(clauseError_, err::ParameterSyntax);
    ++pos_;
    std::vector<Parameter> parameters;
    do
        parameters.push_back(parameter());
    while (acceptSymbol(u","));
    expectSymbol(u";");
    return parameters;
}

// name type[(size)]: any of the dialect's type names, the designer's "Text ( 255 )" included.
Parameter Parser::parameter() {
    Parameter p;
    p.name = dottedName();
    const Token& type = peek();
    const auto known =
        type.kind == TokenKind::Word ? parameterTypeFromName(type.text) : std::nullopt;
    if (!known) fail();
    ++pos_;
    p.typeName = type.text.toUpper();
    p.size = textSize(*known);
    return p;
}

// The runtime runs such a query with its owner's permissions; this engine has no per-user
// permissions, so the option changes nothing.
void Parser::ownerAccess() {
    if (!acceptWord(u"WITH")) return;
    expectWord(u"OWNERACCESS");
    expectWord(u"OPTION");
}

// IN 'file' [connect] after the tables of INTO, INSERT INTO or FROM: the database they are in.
// The designer writes IN '' for the current one, the only one a site has.
void Parser::externalDatabase() {
    if (!acceptWord(u"IN")) return;
    const Token& file = peek();
    if (file.kind != TokenKind::String) fail();
    ++pos_;
    if (peek().kind == TokenKind::String || peek().kind == TokenKind::Name)
        raise(err::NoInstallableIsam);
    if (!file.text.isEmpty()) raise(err::FileNotFound, file.text);
}

// An optional ";" and nothing after it.
void Parser::finish() {
    if (acceptSymbol(u";") && peek().kind != TokenKind::End) raise(err::TextAfterEnd);
    if (peek().kind != TokenKind::End) fail();
}

Statement Parser::selectStatement() {
    return std::move(*query());
}

// SELECT ... [UNION [ALL] SELECT ...] [ORDER BY ...]: the ORDER BY after the last member orders
// the whole union, so it is kept on the first.
std::unique_ptr<Select> Parser::query(bool unions) {
    ScopedValue clause(clauseError_, err::SelectSyntax);
    ScopedValue outside(exprStart_, -1);
    auto first = selectCore();
    for (Select* last = first.get(); unions && acceptWord(u"UNION"); last = last->unionNext.get()) {
        last->unionAll = acceptWord(u"ALL");
        last->unionNext = selectCore();
    }
    if (atWord(u"ORDER")) first->orderBy = orderBy();
    return first;
}

std::unique_ptr<Select> Parser::selectCore() {
    countNode();
    expectWord(u"SELECT");
    auto s = std::make_unique<Select>();
    if (acceptWord(u"DISTINCT"))
        s->distinct = true;
    else if (acceptWord(u"DISTINCTROW"))
        s->distinctRow = true;
    else
        acceptWord(u"ALL");
    if (acceptWord(u"TOP")) s->top = top();
    s->items = selectList();
    if (acceptWord(u"INTO")) {
        s->into = name();
        externalDatabase();
    }
    if (acceptWord(u"FROM")) s->from = fromList();
    if (acceptWord(u"WHERE")) s->where = clauseExpression();
    if (acceptWord(u"GROUP")) {
        expectWord(u"BY");
        s->groupBy = expressionList();
    }
    if (acceptWord(u"HAVING")) s->having = clauseExpression();
    return s;
}

Top Parser::top() {
    const Token& count = peek();
    if (count.kind != TokenKind::Number) fail();
    ++pos_;
    return Top{count.value.toDouble(), acceptWord(u"PERCENT")};
}

std::vector<SelectItem> Parser::selectList() {
    std::vector<SelectItem> items;
    do {
        SelectItem item;
        item.expr = atSymbol(u"*") ? star() : clauseExpression();
        if (acceptWord(u"AS")) item.alias = name();
        items.push_back(std::move(item));
    } while (acceptSymbol(u","));
    return items;
}

std::vector<TableRefPtr> Parser::fromList() {
    ScopedValue clause(clauseError_, err::FromClause);
    std::vector<TableRefPtr> sources;
    do
        sources.push_back(source());
    while (acceptSymbol(u","));
    externalDatabase();
    if (!atFromEnd()) fail();
    return sources;
}

// A table, a subquery or a parenthesised join, joined on to the right.
TableRefPtr Parser::source() {
    TableRefPtr left = sourcePrimary();
    while (const std::optional<JoinKind> kind = joinKind()) {
        auto join = newTableRef(TableRef::Kind::Join);
        join->join = *kind;
        join->left = std::move(left);
        join->right = sourcePrimary();
        expectWord(u"ON");
        join->on = clauseExpression();
        left = std::move(join);
    }
    return left;
}

TableRefPtr Parser::sourcePrimary() {
    if (!atSymbol(u"(")) {
        auto table = newTableRef(TableRef::Kind::Table);
        table->name = name();
        table->alias = alias();
        return table;
    }
    Nested nested(*this);
    ++pos_;
    if (!atWord(u"SELECT")) {
        TableRefPtr inner = source();
        expectSymbol(u")");
        return inner;
    }
    auto sub = newTableRef(TableRef::Kind::Subquery);
    sub->subquery = query();
    expectSymbol(u")");
    sub->alias = alias();
    return sub;
}

std::optional<JoinKind> Parser::joinKind() {
    std::optional<JoinKind> kind;
    if (acceptWord(u"INNER"))
        kind = JoinKind::Inner;
    else if (acceptWord(u"LEFT"))
        kind = JoinKind::Left;
    else if (acceptWord(u"RIGHT"))
        kind = JoinKind::Right;
    else
        return std::nullopt;
    if (kind != JoinKind::Inner) acceptWord(u"OUTER");
    expectWord(u"JOIN");
    return kind;
}

std::vector<OrderItem> Parser::orderBy() {
    ++pos_; // ORDER
    expectWord(u"BY");
    std::vector<OrderItem> items;
    do {
        OrderItem item;
        item.expr = clauseExpression();
        item.descending = acceptWord(u"DESC");
        if (!item.descending) acceptWord(u"ASC");
        items.push_back(std::move(item));
    } while (acceptSymbol(u","));
    return items;
}

std::vector<ExprPtr> Parser::expressionList() {
    std::vector<ExprPtr> list;
    do
        list.push_back(clauseExpression());
    while (acceptSymbol(u","));
    return list;
}

// TRANSFORM aggregate SELECT ... PIVOT expression [IN (values)]. The pivot expression stops
// before comparisons, so that its IN is the value list and not the operator.
Statement Parser::transform() {
    ++pos_;
    Transform t;
    t.aggregate = clauseExpression();
    // The value columns take the names of the pivot values, so an alias here names nothing.
    if (acceptWord(u"AS")) name();
    if (!atWord(u"SELECT")) fail();
    t.select = query(/*unions=*/false);
    expectWord(u"PIVOT");
    t.pivot = clauseExpression(Precedence::Concat, u"IN");
    if (acceptWord(u"IN")) {
        expectSymbol(u"(");
        t.pivotIn = expressionList();
        expectSymbol(u")");
    }
    return t;
}

Statement Parser::insert() {
    ++pos_;
    expectWord(u"INTO");
    Insert ins;
    ins.table = name();
    externalDatabase();
    if (acceptSymbol(u"(")) {
        do
            ins.columns.push_back(name());
        while (acceptSymbol(u","));
        expectSymbol(u")");
        externalDatabase();
    }
    if (acceptWord(u"VALUES")) {
        expectSymbol(u"(");
        ins.values = expressionList();
        expectSymbol(u")");
    } else if (atWord(u"SELECT")) {
        ins.select = query();
    } else {
        fail();
    }
    return ins;
}

// UPDATE [DISTINCTROW] sources SET ... [WHERE ...], the sources as FROM takes them. DISTINCTROW,
// which the designer writes for unique records, changes nothing: every row is written once.
Statement Parser::update() {
    ++pos_;
    acceptWord(u"DISTINCTROW");
    Update u;
    do
        u.from.push_back(source());
    while (acceptSymbol(u","));
    expectWord(u"SET");
    do {
        Assignment a;
        a.column = assignedColumn();
        expectSymbol(u"=");
        a.value = clauseExpression();
        u.assignments.push_back(std::move(a));
    } while (acceptSymbol(u","));
    if (acceptWord(u"WHERE")) u.where = clauseExpression();
    return u;
}

ExprPtr Parser::assignedColumn() {
    const int start = pos_;
    auto column = newExpr(ExprKind::Column);
    column->name = name();
    if (acceptSymbol(u".")) {
        column->table = std::move(column->name);
        column->name = qualifiedPart();
    }
    spanFrom(*column, start);
    return column;
}

// DELETE [DISTINCTROW] [list] FROM sources [WHERE ...]. The dialect deletes whole rows, so the
// list (*, table.*, or the columns its query designer shows: table.a, table.b) only names tables.
Statement Parser::deleteStatement() {
    ++pos_;
    acceptWord(u"DISTINCTROW");
    std::vector<QString> starTables, columnTables;
    if (!atWord(u"FROM")) {
        do
            deletedColumn(starTables, columnTables);
        while (acceptSymbol(u","));
    }
    expectWord(u"FROM");
    Delete d;
    d.targets = starTables.empty() ? std::move(columnTables) : std::move(starTables);
    d.from = fromList();
    if (acceptWord(u"WHERE")) d.where = clauseExpression();
    return d;
}

// *, table.*, table.column or column; the tables named go to the lists, each once.
void Parser::deletedColumn(std::vector<QString>& starTables, std::vector<QString>& columnTables) {
    if (acceptSymbol(u"*")) return;
    const QString table = name();
    if (!acceptSymbol(u".")) return;
    const bool star = acceptSymbol(u"*");
    if (!star) qualifiedPart();
    std::vector<QString>& tables = star ? starTables : columnTables;
    const bool listed = std::any_of(tables.begin(), tables.end(), [&](const QString& t) {
        return t.compare(table, Qt::CaseInsensitive) == 0;
    });
    if (!listed) tables.push_back(table);
}

Statement Parser::createTable() {
    ++pos_;
    if (atWord(u"UNIQUE") || atWord(u"INDEX")) return createIndex();
    expectWord(u"TABLE");
    CreateTable c;
    c.name = name();
    expectSymbol(u"(");
    do
        c.columns.push_back(columnDefinition());
    while (acceptSymbol(u","));
    expectSymbol(u")");
    return c;
}

// name TYPE[(size)] [NOT NULL] [PRIMARY KEY]; only the text types take a size.
ColumnDef Parser::columnDefinition() {
    ColumnDef def;
    def.name = name();
    const Token& type = peek();
    const auto known = type.kind == TokenKind::Word ? columnTypeFromName(type.text) : std::nullopt;
    if (!known) fail();
    ++pos_;
    def.typeName = type.text.toUpper();
    def.size = textSize(*known);
    for (;;) {
        if (acceptWord(u"NOT")) {
            expectWord(u"NULL");
            def.notNull = true;
        } else if (acceptWord(u"PRIMARY")) {
            expectWord(u"KEY");
            def.primaryKey = true;
        } else {
            return def;
        }
    }
}

// [(n)] after a type name, 1 to 255; only the text types take one. 0 when none is written.
int Parser::textSize(const ColumnType& type) {
    if (!acceptSymbol(u"(")) return 0;
    const Token& size = peek();
    const bool valid = type.type == SqlType::Text && size.value.type() == vb::VarType::Long &&
                       size.value.longValue() >= 1 && size.value.longValue() <= 255;
    if (!valid) fail();
    ++pos_;
    expectSymbol(u")");
    return size.value.longValue();
}

Statement Parser::createIndex() {
    CreateIndex c;
    c.unique = acceptWord(u"UNIQUE");
    expectWord(u"INDEX");
    c.name = name();
    expectWord(u"ON");
    c.table = name();
    expectSymbol(u"(");
    do {
        IndexColumn column{name(), false};
        if (acceptWord(u"DESC"))
            column.descending = true;
        else
            acceptWord(u"ASC");
        c.columns.push_back(column);
    } while (acceptSymbol(u","));
    expectSymbol(u")");
    // The options say how the index treats Nulls and keys; SQLite's index needs none of them.
    if (acceptWord(u"WITH")) {
        if (acceptWord(u"PRIMARY")) {
        } else if (acceptWord(u"DISALLOW") || acceptWord(u"IGNORE")) {
            expectWord(u"NULL");
        } else {
            fail();
        }
    }
    return c;
}

Statement Parser::dropTable() {
    ++pos_;
    expectWord(u"TABLE");
    DropTable d;
    d.name = name();
    return d;
}

// ALTER TABLE t ADD [COLUMN] definition | DROP [COLUMN] name | ALTER [COLUMN] definition.
// Constraints are refused where they are met: SQLite cannot add or drop one.
Statement Parser::alterTable() {
    ++pos_;
    expectWord(u"TABLE");
    AlterTable a;
    a.table = name();
    if (acceptWord(u"ADD"))
        a.action = AlterTable::Action::AddColumn;
    else if (acceptWord(u"DROP"))
        a.action = AlterTable::Action::DropColumn;
    else if (acceptWord(u"ALTER"))
        a.action = AlterTable::Action::AlterColumn;
    else
        fail();
    refuseConstraint();
    acceptWord(u"COLUMN");
    if (a.action == AlterTable::Action::DropColumn)
        a.column.name = name();
    else
        a.column = columnDefinition();
    refuseConstraint();
    return a;
}

void Parser::refuseConstraint() const {
    if (atWord(u"CONSTRAINT")) raise(err::NotSupported);
}

ExprPtr Parser::loneExpression() {
    clauseError_ = err::MissingOperator;
    ExprPtr e = clauseExpression();
    if (peek().kind != TokenKind::End) failExpression(pos_);
    checkDepth(*e);
    return e;
}

// ---- expressions

// An expression that makes up a clause item; what follows it must end the item, or the text
// lacks an operator (a b, x = 1 2).
ExprPtr Parser::clauseExpression(Precedence loosest, QStringView alsoEnds) {
    if (atExpressionEnd()) fail(); // nothing where an expression belongs
    ScopedValue start(exprStart_, pos_);
    ExprPtr e = expression(loosest);
    const bool ended = atExpressionEnd() || (!alsoEnds.isEmpty() && atWord(alsoEnds));
    if (!ended) failExpression(pos_);
    return e;
}

ExprPtr Parser::expression(Precedence level) {
    switch (level) {
    case Precedence::Not:
        return prefixed(Precedence::Not, &Parser::comparison);
    case Precedence::Compare:
        return comparison();
    case Precedence::Sign:
        return prefixed(Precedence::Sign, &Parser::power);
    case Precedence::Power:
        return power();
    case Precedence::Primary:
        return primary();
    default:
        return binaryLevel(level);
    }
}

// Operators of one level, left to right.
ExprPtr Parser::binaryLevel(Precedence level) {
    const int start = pos_;
    ExprPtr left = expression(tighter(level));
    while (const OperatorSpelling* op = operatorAt(level, false)) {
        ++pos_;
        left = binary(op->op, std::move(left), expression(tighter(level)), start);
    }
    return left;
}

const OperatorSpelling* Parser::operatorAt(Precedence level, bool unary) const {
    for (const OperatorSpelling& op : kOperators) {
        const bool isUnary = op.op == Op::Negate || op.op == Op::Plus || op.op == Op::Not;
        if (isUnary == unary && op.precedence == level && peek().is(op.text)) return &op;
    }
    return nullptr;
}

// Prefix operators (- + Not) are collected in a loop rather than by recursion, so that a long
// run of them cannot exhaust the stack; the tree's node limit bounds them instead.
ExprPtr Parser::prefixed(Precedence level, ExprPtr (Parser::*operand)()) {
    std::vector<std::pair<Op, int>> prefixes;
    while (const OperatorSpelling* op = operatorAt(level, true))
        prefixes.emplace_back(op->op, pos_++);
    ExprPtr e = (this->*operand)();
    for (auto p = prefixes.rbegin(); p != prefixes.rend(); ++p)
        e = unary(p->first, std::move(e), p->second);
    return e;
}

ExprPtr Parser::comparison() {
    const int start = pos_;
    ExprPtr left = expression(Precedence::Concat);
    for (;;) {
        if (const OperatorSpelling* op = operatorAt(Precedence::Compare, false)) {
            ++pos_;
            left = binary(op->op, std::move(left), expression(Precedence::Concat), start);
        } else if (ExprPtr e = predicate(left)) {
            spanFrom(*e, start);
            left = std::move(e);
        } else {
            return left;
        }
    }
}

// [Not] Like, [Not] Between .. And .., [Not] In (..), Is [Not] Null applied to the subject, or
// nullptr (the subject untouched) when none follows. Between's And belongs to the Between.
ExprPtr Parser::predicate(ExprPtr& subject) {
    const bool negated =
        atWord(u"NOT") && (atWord(u"LIKE", 1) || atWord(u"BETWEEN", 1) || atWord(u"IN", 1));
    if (negated) ++pos_;
    ExprPtr e;
    if (acceptWord(u"LIKE")) {
        e = newExpr(ExprKind::Like);
        e->args.push_back(std::move(subject));
        e->args.push_back(expression(Precedence::Concat));
    } else if (acceptWord(u"BETWEEN")) {
        e = newExpr(ExprKind::Between);
        e->args.push_back(std::move(subject));
        e->args.push_back(expression(Precedence::Concat));
        expectWord(u"AND");
        e->args.push_back(expression(Precedence::Concat));
    } else if (acceptWord(u"IN")) {
        e = in(std::move(subject));
    } else if (acceptWord(u"IS")) {
        e = newExpr(ExprKind::IsNull);
        e->negated = acceptWord(u"NOT");
        expectWord(u"NULL");
        e->args.push_back(std::move(subject));
    } else {
        return nullptr;
    }
    e->negated = e->negated || negated;
    return e;
}

ExprPtr Parser::in(ExprPtr subject) {
    Nested nested(*this);
    expectSymbol(u"(");
    ExprPtr e = newExpr(atWord(u"SELECT") ? ExprKind::InSelect : ExprKind::InList);
    e->args.push_back(std::move(subject));
    if (e->kind == ExprKind::InSelect) {
        e->subquery = query();
    } else {
        do
            e->args.push_back(expression(Precedence::Imp));
        while (acceptSymbol(u","));
    }
    expectSymbol(u")");
    return e;
}

// The exponent may carry a sign (2 ^ -1); the base may not, since - binds looser than ^.
ExprPtr Parser::power() {
    const int start = pos_;
    ExprPtr left = primary();
    while (acceptSymbol(u"^")) {
        ExprPtr exponent = prefixed(Precedence::Sign, &Parser::primary);
        left = binary(Op::Power, std::move(left), std::move(exponent), start);
    }
    return left;
}

ExprPtr Parser::primary() {
    const Token& t = peek();
    switch (t.kind) {
    case TokenKind::Number:
    case TokenKind::String:
    case TokenKind::Date:
        return literal(t.value);
    case TokenKind::Name:
        return reference();
    case TokenKind::Word:
        return wordPrimary();
    case TokenKind::Symbol:
        if (t.isSymbol(u"(")) return parenthesised();
        break;
    default:
        break;
    }
    fail();
}

ExprPtr Parser::wordPrimary() {
    if (atWord(u"TRUE")) return literal(vb::Variant(true));
    if (atWord(u"FALSE")) return literal(vb::Variant(false));
    if (atWord(u"NULL")) return literal(vb::Variant::null());
    if (atWord(u"NOT")) return notOperand();
    if (atWord(u"EXISTS")) return exists();
    if (isReservedWord(peek().text) && !atFunctionWord(pos_)) fail();
    return reference();
}

ExprPtr Parser::literal(vb::Variant value) {
    const int start = pos_++;
    auto e = newExpr(ExprKind::Literal);
    e->value = std::move(value);
    spanFrom(*e, start);
    return e;
}

ExprPtr Parser::star() {
    const int start = pos_++;
    auto e = newExpr(ExprKind::Star);
    spanFrom(*e, start);
    return e;
}

// Not where an operand belongs (1 + Not x) takes what a Not at the start would.
ExprPtr Parser::notOperand() {
    Nested nested(*this);
    const int start = pos_++;
    return unary(Op::Not, expression(Precedence::Not), start);
}

ExprPtr Parser::exists() {
    Nested nested(*this);
    const int start = pos_++;
    expectSymbol(u"(");
    if (!atWord(u"SELECT")) fail();
    auto e = newExpr(ExprKind::Exists);
    e->subquery = query();
    expectSymbol(u")");
    spanFrom(*e, start);
    return e;
}

// (expression) or (subquery); the parentheses belong to the expression's text as written.
ExprPtr Parser::parenthesised() {
    Nested nested(*this);
    const int start = pos_++;
    ExprPtr e;
    if (atWord(u"SELECT")) {
        e = newExpr(ExprKind::Subquery);
        e->subquery = query();
    } else {
        e = expression(Precedence::Imp);
    }
    expectSymbol(u")");
    spanFrom(*e, start);
    return e;
}

// column, table.column, table.* or function(...)
ExprPtr Parser::reference() {
    const int start = pos_;
    const Token& first = tokens_[pos_++];
    if (first.kind == TokenKind::Word && atSymbol(u"(")) return call(first.text, start);
    ExprPtr e;
    if (!acceptSymbol(u".")) {
        e = newExpr(ExprKind::Column);
        e->name = first.text;
    } else if (acceptSymbol(u"*")) {
        e = newExpr(ExprKind::Star);
        e->table = first.text;
    } else {
        e = newExpr(ExprKind::Column);
        e->table = first.text;
        e->name = qualifiedPart();
        // More parts name no column: the whole is a parameter's name ([Forms]![f]![x]).
        while (acceptSymbol(u"."))
            e->name += u'.' + qualifiedPart();
    }
    spanFrom(*e, start);
    return e;
}

ExprPtr Parser::call(const QString& written, int start) {
    Nested nested(*this);
    auto e = newExpr(ExprKind::Function);
    e->dollar = written.endsWith(u'$');
    e->name = e->dollar ? written.chopped(1) : written;
    ++pos_; // "("
    if (atSymbol(u"*") && atSymbol(u")", 1)) {
        e->star = true;
        ++pos_;
    } else if (!atSymbol(u")")) {
        do
            e->args.push_back(expression(Precedence::Imp));
        while (acceptSymbol(u","));
    }
    expectSymbol(u")");
    spanFrom(*e, start);
    return e;
}

ExprPtr Parser::unary(Op op, ExprPtr operand, int start) {
    auto e = newExpr(ExprKind::Unary);
    e->op = op;
    e->args.push_back(std::move(operand));
    spanFrom(*e, start);
    return e;
}

ExprPtr Parser::binary(Op op, ExprPtr left, ExprPtr right, int start) {
    auto e = newExpr(ExprKind::Binary);
    e->op = op;
    e->args.push_back(std::move(left));
    e->args.push_back(std::move(right));
    spanFrom(*e, start);
    return e;
}

} // namespace

Statement parseStatement(const QString& text) {
    return Parser(text).statement();
}

ExprPtr parseExpression(const QString& text) {
    return Parser(text).loneExpression();
}

} // namespace jet
