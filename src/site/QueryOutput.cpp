#include "site/QueryOutput.h"

#include "recordset/AdoType.h"
#include "vb/Convert.h"
#include "vb/Strings.h"

#include <algorithm>
#include <vector>

namespace site {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr qsizetype kWidestCell = 60;

QString heading(const rs::Recordset& records, int field) {
    const rs::Field f = records.field(field);
    return f.name() + u':' + QString::number(static_cast<int>(f.type()));
}

QString shortened(const QString& text) {
    return text.size() <= kWidestCell ? text : text.left(kWidestCell - 3) + u"..."_s;
}

} // namespace

QString valueText(const vb::Variant& value) {
    return value.isNull() ? u"Null"_s : vb::cstr(value);
}

QString escapeCell(const QString& text) {
    return vb::escapeLineField(text);
}

void writeTsv(const rs::Recordset& records, QTextStream& out) {
    const int fields = records.fieldCount();
    for (int f = 0; f < fields; ++f)
        out << (f ? u"\t"_s : QString()) << heading(records, f);
    out << '\n';
    for (std::size_t row = 0; row < records.recordCount(); ++row) {
        for (int f = 0; f < fields; ++f)
            out << (f ? u"\t"_s : QString()) << escapeCell(valueText(records.valueAt(row, f)));
        out << '\n';
    }
}

void writeTable(const rs::Recordset& records, QTextStream& out) {
    const int fields = records.fieldCount();
    const std::size_t rows = records.recordCount();
    std::vector<QStringList> cells(fields);
    std::vector<qsizetype> widths(fields);
    std::vector<bool> numeric(fields);
    for (int f = 0; f < fields; ++f) {
        const rs::AdoType type = records.field(f).type();
        numeric[f] =
            !rs::isTextType(type) && type != rs::AdoType::Date && type != rs::AdoType::Boolean;
        cells[f] << heading(records, f);
        for (std::size_t row = 0; row < rows; ++row)
            cells[f] << shortened(escapeCell(valueText(records.valueAt(row, f))));
        for (const QString& cell : cells[f])
            widths[f] = std::max(widths[f], cell.size());
    }
    auto writeLine = [&](std::size_t line) {
        QString text;
        for (int f = 0; f < fields; ++f) {
            const QString& cell = cells[f][static_cast<qsizetype>(line)];
            if (f) text += u"  "_s;
            text += numeric[f] && line > 0 ? cell.rightJustified(widths[f])
                                           : cell.leftJustified(widths[f]);
        }
        while (text.endsWith(u' '))
            text.chop(1);
        out << text << '\n';
    };
    writeLine(0);
    QStringList rules;
    for (int f = 0; f < fields; ++f)
        rules << QString(widths[f], u'-');
    out << rules.join(u"  "_s) << '\n';
    for (std::size_t row = 1; row <= rows; ++row)
        writeLine(row);
    out << '(' << rows << (rows == 1 ? " row)" : " rows)") << '\n';
}

} // namespace site
