#pragma once

// The report grid's table: a read-only view of a shared Recordset that reads each cell only when
// a view asks for it and never copies rows, so a million-row result shows at once.

#include "recordset/Recordset.h"

#include <QAbstractTableModel>
#include <QString>
#include <memory>
#include <vector>

class RecordsetModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // data() under this role gives the cell's raw vb::Variant (QVariant::fromValue; read it with
    // qvariant_cast<vb::Variant>): Null stays Null, a Currency stays a Currency.
    static constexpr int ValueRole = Qt::UserRole;

    explicit RecordsetModel(QObject* parent = nullptr);

    // Resets the model; nullptr shows no rows and no columns. Column formats return to the
    // default.
    void setRecordset(std::shared_ptr<rs::Recordset> records);
    const std::shared_ptr<rs::Recordset>& recordset() const { return records_; }

    // A Format pattern or named format for one column ("Fixed", "ddd, d mmm yyyy"); "" shows
    // the value's plain text. Null shows empty whatever the format.
    void setColumnFormat(int column, const QString& format);
    QString columnFormat(int column) const;

    // The text a cell shows, for grids, printing and exports; "" outside the model.
    QString cellText(int row, int column) const;

    // Re-reads the rows after the Recordset's sort changed; columns and formats stay. Views keep
    // their columns and scroll position; persistent indexes become invalid, since the rows they
    // named cannot be told apart once the sort has moved them. A Recordset whose row count
    // changed (a new filter) resets the model instead.
    void reorder();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    // DisplayRole: cellText. TextAlignmentRole: right for numbers, money and dates, left for the
    // rest. ValueRole: the raw value.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    // Horizontal: the field names.
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct ColumnLook {
        QString format;
        Qt::Alignment alignment;
    };

    int recordsetRows() const;
    bool holdsCell(int row, int column) const;
    void readColumns();

    std::shared_ptr<rs::Recordset> records_;
    std::vector<ColumnLook> columns_;
    // The row count views were last told; a filter applied behind the model's back changes the
    // Recordset's count before reorder() announces it.
    int rows_ = 0;
};
