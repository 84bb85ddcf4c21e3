#include "output/ExportWriters.h"

#include "output/ColumnFormat.h"
#include "output/RecordsetModel.h"

#include <QSaveFile>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace output {

namespace {

// A target written through a temporary file beside it: nothing replaces the target until every
// line is written, and a file dropped before commit() leaves the target untouched.
class AtomicFile {
public:
    explicit AtomicFile(const QString& path) : file_(path) {}
    bool open() { return file_.open(QIODevice::WriteOnly); }
    // Lines end in CRLF, whatever platform writes them: readers of both kinds accept it.
    void writeLine(const QString& line) {
        file_.write(line.toUtf8());
        file_.write("\r\n", 2);
    }
    // False when any write failed; the target is then as it was.
    bool commit() { return file_.commit(); }

private:
    QSaveFile file_;
};

void walkRows(const GroupingModel& model, const QModelIndex& parent,
              const std::function<void(int)>& visit) {
    const int rows = model.rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        if (model.isGroupRow(index))
            walkRows(model, index, visit);
        else
            visit(model.sourceRow(index));
    }
}

QStringList captions(const ShownReport& report) {
    QStringList out;
    for (const int column : report.columns)
        out.append(report.rows.headerData(column, Qt::Horizontal).toString());
    return out;
}

// Numbers, money and dates stand right in the grid; the page keeps that.
bool alignsRight(const RecordsetModel& model, int column) {
    if (model.rowCount() == 0) return false;
    const int alignment = model.data(model.index(0, column), Qt::TextAlignmentRole).toInt();
    return (alignment & Qt::AlignRight) != 0;
}

QString htmlHead(const QString& title) {
    // white-space: pre keeps the blanks a value shows in the grid.
    return uR"(<!DOCTYPE html>
<html>
<head>
<meta charset="utf-8">
<title>%1</title>
<style>
table { border-collapse: collapse; }
th, td { border: 1px solid #999; padding: 2px 6px; white-space: pre; }
th { background: #eee; text-align: left; }
td.n { text-align: right; }
</style>
</head>
<body>
<table>)"_s.arg(title.toHtmlEscaped());
}

QString headerRow(const QStringList& captions) {
    QString row = u"<tr>"_s;
    for (const QString& caption : captions)
        row += u"<th>"_s + caption.toHtmlEscaped() + u"</th>"_s;
    return row + u"</tr>"_s;
}

} // namespace

void forEachDataRow(const GroupingModel& model, const std::function<void(int sourceRow)>& visit) {
    walkRows(model, QModelIndex(), visit);
}

bool writeDelimitedText(const ShownReport& report, const QString& path) {
    AtomicFile file(path);
    if (!file.open()) return false;
    file.writeLine(captions(report).join(u','));
    const RecordsetModel* model = report.rows.sourceModel();
    QString line;
    forEachDataRow(report.rows, [&](int row) {
        line.clear();
        for (qsizetype i = 0; i < report.columns.size(); ++i) {
            if (i > 0) line += u',';
            const int column = report.columns[i];
            line += shownText(model->recordset()->valueAt(std::size_t(row), column), {});
        }
        file.writeLine(line);
    });
    return file.commit();
}

bool writeHtmlTable(const ShownReport& report, const QString& path) {
    AtomicFile file(path);
    if (!file.open()) return false;
    for (const QString& line : htmlHead(report.title).split(u'\n'))
        file.writeLine(line);
    file.writeLine(headerRow(captions(report)));
    const RecordsetModel* model = report.rows.sourceModel();
    QStringList cellOpenings;
    for (const int column : report.columns)
        cellOpenings.append(model && alignsRight(*model, column) ? u"<td class=\"n\">"_s
                                                                 : u"<td>"_s);
    QString line;
    forEachDataRow(report.rows, [&](int row) {
        line = u"<tr>"_s;
        for (qsizetype i = 0; i < report.columns.size(); ++i)
            line += cellOpenings[i] + model->cellText(row, report.columns[i]).toHtmlEscaped() +
                    u"</td>"_s;
        file.writeLine(line + u"</tr>"_s);
    });
    for (const QString& closing : {u"</table>"_s, u"</body>"_s, u"</html>"_s})
        file.writeLine(closing);
    return file.commit();
}

} // namespace output
