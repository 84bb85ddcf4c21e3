#pragma once

// The report output view's data grid: a group band over the rows of a Recordset. Columns follow
// the Recordset's fields in order, so column i shows field i. Each column carries a number
// format and a sort tag ("", " ASC" or " DESC") that the view turns into the Recordset's sort.
// Grouping, sorting and the column layout are the grid's; what a drop, a click on a group
// header or a double-click on a row means is the view's.

#include "recordset/Recordset.h"

#include <QList>
#include <QModelIndex>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <memory>
#include <optional>

class GridBody;
class GroupBand;
class GroupingModel;
class RecordsetModel;

class ReportGrid : public QWidget {
    Q_OBJECT
public:
    explicit ReportGrid(QWidget* parent = nullptr);

    // Binds the grid: one column per field, no grouping, empty tags and formats.
    void setRecordset(std::shared_ptr<rs::Recordset> records);
    const std::shared_ptr<rs::Recordset>& recordset() const;

    // Columns. A column the grid does not have raises 9 (Subscript out of range).
    int columnCount() const;
    // The columns left to right as the header shows them.
    QList<int> displayColumns() const;
    QString columnCaption(int column) const;
    // The name of the field the column shows.
    QString dataField(int column) const;
    void setColumnFormat(int column, const QString& format);
    QString columnFormat(int column) const;
    void setColumnTag(int column, const QString& tag);
    QString columnTag(int column) const;
    void setColumnWidth(int column, int width);
    int columnWidth(int column) const;
    // The width that shows the column's caption and every cell the Recordset's filter lets
    // through, however many.
    int contentWidth(int column) const;
    // The text a data cell shows.
    QString cellText(int sourceRow, int column) const;

    // Grouping, outermost first, keeping the current record. Adding a column the grid does not
    // have raises 9.
    void addGroupColumn(int column, int position);
    QList<int> groupColumns() const;

    // Sorts the Recordset (raising what its sort raises) and shows the new order, keeping the
    // column widths, formats, tags, grouping and current record. Without a Recordset there is
    // nothing to sort.
    void sortRecordset(const QString& sortText);

    // The Recordset row (in its current order) of the grid's current row; -1 when no data row
    // is current.
    int currentRow() const;
    void setCurrentRow(int sourceRow);

    // Takes a column dropped on the band, as a drag from the header would end.
    void dropColumn(int column, int position);

    GroupBand* groupBand() const { return band_; }
    GridBody* body() const { return body_; }
    GroupingModel* groupingModel() const { return grouping_; }

signals:
    // A column was dragged into the group band and is now grouped.
    void groupColumnDropped(int column);
    // A group header (a chip in the band) was clicked. A group line in the rows is not one: a
    // click selects it and its arrow folds it.
    void groupHeadClicked(int column);
    // A data row was double-clicked.
    void rowDoubleClicked(int sourceRow);

private:
    void checkColumn(int column) const;
    int widestText(int column) const;
    std::optional<rs::Recordset::Bookmark> currentBookmark() const;
    void restoreCurrent(std::optional<rs::Recordset::Bookmark> bookmark);
    void refreshBand();
    void onDoubleClicked(const QModelIndex& index);

    RecordsetModel* records_;
    GroupingModel* grouping_;
    GridBody* body_;
    GroupBand* band_;
    QStringList tags_;
};
