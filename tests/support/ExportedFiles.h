#pragma once

// Reading back what an export wrote: a file's text, and the cells of an HTML table's data rows.

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <vector>

namespace testsupport {

// The file read as UTF-8; "(none)" when it cannot be opened.
inline QString fileText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                          : QStringLiteral("(none)");
}

// Every <tr> with <td> cells, one per line, as the cells' unescaped texts.
inline std::vector<QStringList> htmlDataRows(const QString& html) {
    static const QRegularExpression row(QStringLiteral("<tr>(.*)</tr>"));
    static const QRegularExpression cell(QStringLiteral("<td[^>]*>(.*?)</td>"));
    std::vector<QStringList> rows;
    for (const auto& line : row.globalMatch(html)) {
        QStringList cells;
        for (const auto& c : cell.globalMatch(line.captured(1)))
            cells << c.captured(1)
                         .replace(QStringLiteral("&lt;"), QStringLiteral("<"))
                         .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
                         .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
        if (!cells.isEmpty()) rows.push_back(cells);
    }
    return rows;
}

} // namespace testsupport
