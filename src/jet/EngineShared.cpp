#include "jet/EngineShared.h"

#include "jet/JetError.h"
#include "vb/Convert.h"

#include <QRegularExpression>

namespace jet {

QString pivotColumnName(const vb::Variant& v) {
    return v.isNull() || v.isEmpty() ? QStringLiteral("<>") : vb::cstr(v);
}

std::vector<PivotColumn> pivotColumnsListed(const Transform& t) {
    std::vector<PivotColumn> columns;
    for (const ExprPtr& v : t.pivotIn)
        columns.push_back({pivotColumnName(v->value), {v->value}, true});
    return columns;
}

void addPivotValue(std::vector<PivotColumn>& columns, vb::Variant v) {
    const QString name = pivotColumnName(v);
    if (!columns.empty() && v.isString() && columns.back().values.front().isString() &&
        columns.back().name.compare(name, Qt::CaseInsensitive) == 0)
        columns.back().values.push_back(std::move(v));
    else
        columns.push_back({name, {std::move(v)}, false});
}

std::vector<ResultColumn> resultColumns(const std::vector<OutputColumn>& outputs) {
    std::vector<ResultColumn> columns;
    for (const OutputColumn& out : outputs)
        columns.push_back({out.name, out.type});
    return columns;
}

std::vector<ResultColumn> crosstabColumns(const Binding& binding, const Transform& t,
                                          const std::vector<PivotColumn>& pivots) {
    std::vector<ResultColumn> columns = resultColumns(binding.outputs(t.select.get()));
    const SqlType cellType = binding.typeOf(t.aggregate.get());
    for (const PivotColumn& p : pivots)
        columns.push_back({p.name, ColumnType{cellType, 0, false}});
    return columns;
}

Binding bindToRun(const Statement& statement, const Catalog& catalog) {
    Binding binding = bindStatement(statement, catalog);
    if (!binding.parameters().empty())
        raiseMissingParameters(static_cast<int>(binding.parameters().size()));
    return binding;
}

bool changesSchema(const Statement& s) {
    return std::holds_alternative<CreateTable>(s) || std::holds_alternative<CreateIndex>(s) ||
           std::holds_alternative<DropTable>(s) || std::holds_alternative<AlterTable>(s) ||
           (std::holds_alternative<Select>(s) && !std::get<Select>(s).into.isEmpty());
}

QStringList scriptEntries(const QString& script) {
    QStringList entries;
    QString entry;
    auto flush = [&] {
        if (!entry.trimmed().isEmpty()) entries << entry;
        entry.clear();
    };
    for (const QString& line : script.split(u'\n')) {
        const QString trimmed = line.trimmed();
        if (trimmed == u"--")
            flush();
        else if (!trimmed.startsWith(u"-- "))
            entry += line + u'\n';
    }
    flush();
    return entries;
}

QString shapeOf(const QString& text) {
    static const QRegularExpression digits(QStringLiteral("[0-9]+"));
    return QString(text).replace(digits, QStringLiteral("0"));
}

} // namespace jet
