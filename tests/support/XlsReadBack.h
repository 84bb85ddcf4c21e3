#pragma once

// Reading an .xls file back through xlrd (tests/output/xls_dump.py), a reader nobody here wrote.
// The target defines TILLSIGHT_PYTHON and TILLSIGHT_XLS_DUMP.

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>
#include <QProcess>
#include <QString>
#include <gtest/gtest.h>

namespace testsupport {

// What the independent reader saw: the sheet's name and size, and every cell in row order.
struct ReadBack {
    QString sheetName;
    int rows = 0;
    int columns = 0;
    QList<QJsonArray> cells; // [row, column, type, value, number format]

    const QJsonArray& at(int row, int column) const { return cells[row * columns + column]; }
};

inline ReadBack readBack(const QString& path) {
    QProcess reader;
    reader.start(QStringLiteral(TILLSIGHT_PYTHON), {QStringLiteral(TILLSIGHT_XLS_DUMP), path});
    EXPECT_TRUE(reader.waitForFinished(120000));
    const QByteArray out = reader.readAllStandardOutput();
    EXPECT_EQ(reader.exitCode(), 0) << reader.readAllStandardError().toStdString();
    ReadBack result;
    for (const QByteArray& line : out.split('\n')) {
        if (line.isEmpty()) continue;
        const QJsonArray row = QJsonDocument::fromJson(line).array();
        if (result.sheetName.isEmpty()) {
            result.sheetName = row[1].toString();
            result.rows = row[2].toInt();
            result.columns = row[3].toInt();
        } else {
            result.cells.append(row);
        }
    }
    return result;
}

} // namespace testsupport
