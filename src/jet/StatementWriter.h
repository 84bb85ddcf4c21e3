#pragma once

// The parts of a statement that every engine's generator writes alike: column references, the
// FROM clause and its joins, INSERT's target columns and DELETE through a join. Each generator
// derives from StatementWriter<itself> and supplies what differs: its quoting (quoted), its
// conditions and values (condition, select, storedValue, insertRows), the table of matched rows a
// write through a join reads first (matches, matchesTable, matchColumn) and how a table's row is
// named (rowIdentity: SQLite's rowid, PostgreSQL's ctid), and how it declares a column's type
// (declaration).

#include "jet/Binder.h"
#include "jet/Catalog.h"
#include "jet/GeneratorShared.h"
#include "jet/JetError.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <span>
#include <vector>

namespace jet::gen {

template <typename Generator> class StatementWriter {
public:
    static QString insertInto(const QString& table, const QStringList& names) {
        return u"INSERT INTO "_s + Generator::quoted(table) + u" ("_s + names.join(u", "_s) +
               u") "_s;
    }

protected:
    QString column(const Expr& e) const {
        const ResolvedColumn* c = self().binding_.column(&e);
        if (!c) raise(err::TooFewParameters, e.name);
        if (c->outputAlias) return Generator::quoted(c->column);
        return Generator::quoted(c->source) + u'.' + Generator::quoted(c->column);
    }

    QString tableRef(const TableRef& ref) const {
        switch (ref.kind) {
        case TableRef::Kind::Table: {
            const CatalogTable* table = self().catalog_.table(ref.name);
            const QString name = Generator::quoted(table ? table->name : ref.name);
            return ref.alias.isEmpty() ? name : name + u" AS "_s + Generator::quoted(ref.alias);
        }
        case TableRef::Kind::Subquery:
            return u'(' + self().select(*ref.subquery) + u") AS "_s + Generator::quoted(ref.alias);
        case TableRef::Kind::Join: {
            const QString kind = ref.join == JoinKind::Left    ? u" LEFT JOIN "_s
                                 : ref.join == JoinKind::Right ? u" RIGHT JOIN "_s
                                                               : u" INNER JOIN "_s;
            return u'(' + tableRef(*ref.left) + kind + tableRef(*ref.right) + u" ON "_s +
                   self().condition(*ref.on) + u')';
        }
        }
        return QString();
    }

    QString fromClause(std::span<const TableRefPtr> refs) const {
        QStringList sources;
        for (const TableRefPtr& ref : refs)
            sources << tableRef(*ref);
        return sources.isEmpty() ? QString() : u" FROM "_s + sources.join(u", "_s);
    }

    QString insert(const Insert& s) const {
        const CatalogTable* table = self().catalog_.table(s.table);
        if (!table) raise(err::NoInputTable, s.table);
        std::vector<const CatalogColumn*> targets;
        if (s.columns.empty()) {
            for (const CatalogColumn& c : table->columns)
                targets.push_back(&c);
        } else {
            for (const QString& name : s.columns) {
                const CatalogColumn* c = table->column(name);
                if (!c) raise(err::UnknownInsertField, name);
                targets.push_back(c);
            }
        }
        QStringList names;
        std::vector<ColumnType> types;
        for (const CatalogColumn* c : targets) {
            names << Generator::quoted(c->name);
            types.push_back(c->type);
        }
        const QString into = insertInto(table->name, names);
        if (s.select) return self().insertRows(into, *s.select, types);
        if (s.values.size() != targets.size()) raise(err::InsertSyntax);
        QStringList values;
        for (std::size_t i = 0; i < targets.size(); ++i)
            values << self().storedValue(*s.values[i], types[i]);
        return into + u"VALUES ("_s + values.join(u", "_s) + u')';
    }

    // SELECT ... INTO's new table: a column per output, declared as the engine declares its type,
    // and the INSERT that fills it.
    struct IntoTable {
        QStringList declared; // name and declaration of each column
        QString insert;       // INSERT INTO the table (columns) SELECT ...
    };
    IntoTable intoTable(const Select& s) const {
        if (self().catalog_.table(s.into)) raise(err::TableExists, s.into);
        QStringList declared, names;
        std::vector<ColumnType> types;
        QSet<QString> seen;
        for (const OutputColumn& out : self().binding_.outputs(&s)) {
            // Names that differ only in letter case are one column's name to the dialect.
            const QString folded = out.name.toLower();
            if (seen.contains(folded)) raise(err::FieldDefinedTwice);
            seen.insert(folded);
            ColumnType type = out.type;
            type.counter = false;
            declared << Generator::quoted(out.name) + u' ' + Generator::declaration(type);
            names << Generator::quoted(out.name);
            types.push_back(type);
        }
        return {declared, self().insertRows(insertInto(s.into, names), s, types)};
    }

    // UPDATE of a single table.
    auto updateTable(const Update& s) const {
        using Commands = typename Generator::Commands;
        const TableRef& target = *s.from.front();
        const CatalogTable* table = self().catalog_.table(target.name);
        if (!table) raise(err::NoInputTable, target.name);
        QStringList sets;
        for (const Assignment& a : s.assignments) {
            const ResolvedColumn* c = self().binding_.column(a.column.get());
            const CatalogColumn* column = c ? table->column(c->column) : nullptr;
            if (!column) raise(err::NotUpdatable);
            sets << Generator::quoted(column->name) + u" = "_s +
                        self().storedValue(*a.value, column->type);
        }
        QString sql = u"UPDATE "_s + tableRef(target) + u" SET "_s + sets.join(u", "_s);
        if (s.where) sql += u" WHERE "_s + self().condition(*s.where);
        return Commands{{sql}};
    }

    // UPDATE through a join (or several sources, `sources`, which the result points into): the
    // tables it writes, each with its columns and the places of their values, which are added to
    // `values` in the order SET gives them.
    std::vector<WrittenTable> writtenTables(const Update& s,
                                            const std::vector<JoinedSource>& sources,
                                            QStringList& values) const {
        if (!std::all_of(sources.begin(), sources.end(), updatable)) raise(err::NotUpdatable);
        std::vector<WrittenTable> written;
        for (const Assignment& a : s.assignments) {
            const ResolvedColumn* c = self().binding_.column(a.column.get());
            const JoinedSource* source = c ? sourceNamed(sources, c->source) : nullptr;
            if (!source || source->ref->kind != TableRef::Kind::Table) raise(err::NotUpdatable);
            const CatalogTable* table = self().catalog_.table(source->ref->name);
            const CatalogColumn* column = table ? table->column(c->column) : nullptr;
            if (!column) raise(err::NotUpdatable);
            auto w = std::find_if(written.begin(), written.end(),
                                  [&](const WrittenTable& t) { return t.source == source; });
            if (w == written.end()) w = written.insert(w, WrittenTable{source, table, {}});
            w->set(Generator::quoted(column->name), static_cast<int>(values.size()));
            values << self().storedValue(*a.value, column->type);
        }
        return written;
    }

    // The rows a write through a join reads first: of every table it writes.
    static std::vector<const TableRef*> writtenRows(const std::vector<WrittenTable>& written) {
        std::vector<const TableRef*> rowsOf;
        for (const WrittenTable& w : written)
            rowsOf.push_back(w.source->ref);
        return rowsOf;
    }

    // DELETE takes whole rows. From one table it needs no list; from a join or several sources
    // the list names the tables that lose rows, and every row of theirs that a kept row of the
    // sources holds goes, whichever tables are named.
    auto deleteRows(const Delete& s) const {
        using Commands = typename Generator::Commands;
        const TableRef& first = *s.from.front();
        if (s.from.size() == 1 && first.kind == TableRef::Kind::Table) {
            QString sql = u"DELETE FROM "_s + tableRef(first);
            if (s.where) sql += u" WHERE "_s + self().condition(*s.where);
            return Commands{{sql}};
        }
        const std::vector<JoinedSource> sources = joinedSources(s.from);
        if (s.from.size() == 1 && sources.size() == 1) raise(err::CannotDeleteFrom);
        if (s.targets.empty()) raise(err::DeleteWhichTable);
        std::vector<const TableRef*> rowsOf;
        for (const QString& name : s.targets) {
            const JoinedSource* source = sourceNamed(sources, name);
            if (!source) raise(err::NoInputTable, name);
            if (source->ref->kind != TableRef::Kind::Table) raise(err::CannotDeleteFrom);
            if (std::find(rowsOf.begin(), rowsOf.end(), source->ref) == rowsOf.end())
                rowsOf.push_back(source->ref);
        }
        Commands commands = self().matches(s.from, s.where.get(), rowsOf, {}, false);
        const QString matched = Generator::matchesTable();
        for (std::size_t i = 0; i < rowsOf.size(); ++i) {
            const CatalogTable* table = self().catalog_.table(rowsOf[i]->name);
            commands.push_back({u"DELETE FROM "_s +
                                Generator::quoted(table ? table->name : rowsOf[i]->name) +
                                u" WHERE "_s + Generator::rowIdentity() + u" IN (SELECT "_s +
                                Generator::matchColumn(i) + u" FROM "_s + matched + u')'});
        }
        commands.push_back({u"DROP TABLE "_s + matched, false});
        return commands;
    }

private:
    const Generator& self() const { return static_cast<const Generator&>(*this); }
};

} // namespace jet::gen
