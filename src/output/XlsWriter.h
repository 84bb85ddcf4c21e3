#pragma once

// A one-sheet spreadsheet in the .xls format (a BIFF8 workbook inside a compound file), written
// without any spreadsheet program. Rows are encoded as they are added, so what is held in memory
// is the file itself and its table of distinct texts, never a grid of cell objects.

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <span>

namespace output {

class XlsCell {
public:
    enum class Kind : std::uint8_t { Empty, Text, Number, Date, Currency, Boolean };

    XlsCell() = default;
    static XlsCell text(QString value);
    static XlsCell number(double value);
    // Days since 1899-12-30, the fraction the time of day, as the vb runtime keeps dates. The
    // shown format follows the value: a whole day, a time alone (day 0), or both.
    static XlsCell date(double serial);
    static XlsCell currency(double value);
    static XlsCell boolean(bool value);

    Kind kind() const { return kind_; }
    double value() const { return value_; }
    const QString& textValue() const { return text_; }

private:
    XlsCell(Kind kind, double value, QString text = {})
        : kind_(kind), value_(value), text_(std::move(text)) {}

    Kind kind_ = Kind::Empty;
    double value_ = 0;
    QString text_;
};

class XlsWriter {
public:
    static constexpr int kMaxRows = 65536;
    static constexpr int kMaxColumns = 256;

    explicit XlsWriter(QString sheetName = QStringLiteral("Sheet1"));

    // Why a sheet of this size cannot be written, so a caller can refuse before reading its rows.
    static std::optional<QString> sizeError(qint64 rows, qint64 columns);

    // Adds the next row. A row past the sheet's limits is refused (false, error() says why) and
    // the writer will then save nothing: a sheet silently missing rows would look complete.
    bool addRow(std::span<const XlsCell> cells);
    int rowCount() const { return rows_; }

    // Writes a temporary file beside the path and renames it over the path, so the path holds
    // either its old contents or the whole new file. False, with error() saying why, on failure.
    bool save(const QString& path);
    QString error() const { return error_; }

private:
    quint32 sharedString(const QString& text);
    void addCell(int column, const XlsCell& cell);
    QByteArray globals() const;
    QByteArray sheetHead() const;
    bool fail(QString message);

    QString sheetName_;
    QByteArray cells_;
    QHash<QString, quint32> stringIndex_;
    QStringList strings_;
    quint32 stringUses_ = 0;
    int rows_ = 0;
    int columns_ = 0;
    QString error_;
};

} // namespace output
