#pragma once

// The report grid's tree: the rows of a RecordsetModel in nested groups, one level per group
// column, for the grid under the group band (and for the page and file writers). It follows the
// source: a reset or a re-sort of the source rebuilds the groups, and the groups appear in the
// order of their first row in the source's current order. Equal values form one group even when
// their rows are apart.

#include "output/GroupTree.h"
#include "output/RecordsetModel.h"

#include <QAbstractItemModel>
#include <QList>
#include <QPointer>
#include <cstddef>
#include <vector>

class GroupingModel : public QAbstractItemModel {
    Q_OBJECT
public:
    // The raw value: a data row's cell (as RecordsetModel gives it), or in column 0 of a group
    // row the value the group stands for.
    static constexpr int ValueRole = RecordsetModel::ValueRole;

    explicit GroupingModel(RecordsetModel* source, QObject* parent = nullptr);
    RecordsetModel* sourceModel() const { return source_; }

    // Groups by these source columns, outermost first; empty gives a flat list of rows. Columns
    // the source does not have are left out. Resets the model.
    void setGroupColumns(const QList<int>& columns);
    QList<int> groupColumns() const { return groupColumns_; }

    bool isGroupRow(const QModelIndex& index) const;
    // 0 for the outermost groups; -1 for a data row.
    int groupLevel(const QModelIndex& index) const;
    // The source column a group row groups by; -1 for a data row.
    int groupColumnOf(const QModelIndex& index) const;
    // The source row a data row shows; -1 for a group row.
    int sourceRow(const QModelIndex& index) const;
    // The data rows under a group row at any depth; 0 for a data row, every row for the root.
    int rowCountOfGroup(const QModelIndex& index) const;
    // Column 0 of the data row that shows this source row; invalid outside the source. Scans the
    // rows once, so it suits keeping a current row across a rebuild, not a loop over rows.
    QModelIndex indexOfSourceRow(int sourceRow) const;

    // Bytes the groups take beside the source's Recordset.
    std::size_t memoryBytes() const { return tree_.memoryBytes(); }

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    // Every row has the source's columns; only column 0 has children.
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    // A data row gives the source's data for its cell. A group row shows in column 0
    // "<field name>: <value as its column shows it> (<n> rows)", where a Null value shows as
    // "(none)" and an empty text as "(empty)"; its other columns are blank.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    using NodeId = output::GroupTree::NodeId;

    void beginRebuild();
    void endRebuild();
    void rebuild();
    void forwardDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                            const QList<int>& roles);

    // The node that holds the index's row: an index's internal id.
    static NodeId containerOf(const QModelIndex& index) { return NodeId(index.internalId()); }
    bool isOwnIndex(const QModelIndex& index) const;
    NodeId groupNode(const QModelIndex& groupRow) const;
    QVariant groupData(NodeId node, int column, int role) const;
    QString groupText(NodeId node) const;

    QPointer<RecordsetModel> source_;
    QList<int> groupColumns_;       // as asked
    std::vector<int> levelColumns_; // the source column of each level
    output::GroupTree tree_;
};
