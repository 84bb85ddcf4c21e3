#include "output/GroupingModel.h"

using namespace Qt::Literals::StringLiterals;
using output::GroupTree;

GroupingModel::GroupingModel(RecordsetModel* source, QObject* parent)
    : QAbstractItemModel(parent), source_(source) {
    if (source) {
        connect(source, &QAbstractItemModel::modelAboutToBeReset, this,
                &GroupingModel::beginRebuild);
        connect(source, &QAbstractItemModel::modelReset, this, &GroupingModel::endRebuild);
        // A re-sort regroups from scratch: a group's rows may now be anywhere.
        connect(source, &QAbstractItemModel::layoutAboutToBeChanged, this,
                &GroupingModel::beginRebuild);
        connect(source, &QAbstractItemModel::layoutChanged, this, &GroupingModel::endRebuild);
        connect(source, &QAbstractItemModel::dataChanged, this, &GroupingModel::forwardDataChanged);
        connect(source, &QAbstractItemModel::headerDataChanged, this,
                &QAbstractItemModel::headerDataChanged);
        connect(source, &QObject::destroyed, this, [this] {
            beginResetModel();
            rebuild();
            endResetModel();
        });
    }
    rebuild();
}

void GroupingModel::setGroupColumns(const QList<int>& columns) {
    beginResetModel();
    groupColumns_ = columns;
    rebuild();
    endResetModel();
}

void GroupingModel::beginRebuild() {
    beginResetModel();
}

void GroupingModel::endRebuild() {
    rebuild();
    endResetModel();
}

void GroupingModel::rebuild() {
    levelColumns_.clear();
    const rs::Recordset* records = source_ ? source_->recordset().get() : nullptr;
    if (!records) {
        tree_.clear();
        return;
    }
    for (int column : groupColumns_) {
        if (column >= 0 && column < records->fieldCount()) levelColumns_.push_back(column);
    }
    tree_.build(*records, levelColumns_);
}

// A new column format changes both the data rows and the group rows that show that column, in
// every group.
void GroupingModel::forwardDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                       const QList<int>& roles) {
    for (NodeId node = 0; node < tree_.nodeCount(); ++node) {
        const auto rows = static_cast<int>(tree_.childCount(node));
        if (rows == 0) continue;
        emit dataChanged(createIndex(0, topLeft.column(), quintptr(node)),
                         createIndex(rows - 1, bottomRight.column(), quintptr(node)), roles);
    }
}

bool GroupingModel::isOwnIndex(const QModelIndex& index) const {
    return index.isValid() && index.model() == this;
}

bool GroupingModel::isGroupRow(const QModelIndex& index) const {
    return isOwnIndex(index) && tree_.holdsGroups(containerOf(index));
}

GroupingModel::NodeId GroupingModel::groupNode(const QModelIndex& groupRow) const {
    return tree_.childGroup(containerOf(groupRow), static_cast<std::uint32_t>(groupRow.row()));
}

int GroupingModel::groupLevel(const QModelIndex& index) const {
    return isGroupRow(index) ? tree_.level(groupNode(index)) : -1;
}

int GroupingModel::groupColumnOf(const QModelIndex& index) const {
    const int level = groupLevel(index);
    return level < 0 ? -1 : levelColumns_[static_cast<std::size_t>(level)];
}

int GroupingModel::sourceRow(const QModelIndex& index) const {
    if (!isOwnIndex(index) || isGroupRow(index)) return -1;
    return static_cast<int>(
        tree_.childRow(containerOf(index), static_cast<std::uint32_t>(index.row())));
}

int GroupingModel::rowCountOfGroup(const QModelIndex& index) const {
    if (!index.isValid()) return static_cast<int>(tree_.rowCount(GroupTree::kRoot));
    return isGroupRow(index) ? static_cast<int>(tree_.rowCount(groupNode(index))) : 0;
}

QModelIndex GroupingModel::indexOfSourceRow(int sourceRow) const {
    if (sourceRow < 0 || sourceRow >= rowCountOfGroup(QModelIndex())) return {};
    const GroupTree::Place place = tree_.placeOf(static_cast<std::uint32_t>(sourceRow));
    return createIndex(static_cast<int>(place.index), 0, quintptr(place.leaf));
}

QModelIndex GroupingModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    const NodeId container = parent.isValid() ? groupNode(parent) : GroupTree::kRoot;
    return createIndex(row, column, quintptr(container));
}

QModelIndex GroupingModel::parent(const QModelIndex& child) const {
    if (!isOwnIndex(child)) return {};
    const NodeId container = containerOf(child);
    if (container == GroupTree::kRoot) return {};
    return createIndex(static_cast<int>(tree_.rowInParent(container)), 0,
                       quintptr(tree_.parent(container)));
}

int GroupingModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(tree_.childCount(GroupTree::kRoot));
    if (parent.column() != 0 || !isGroupRow(parent)) return 0;
    return static_cast<int>(tree_.childCount(groupNode(parent)));
}

int GroupingModel::columnCount(const QModelIndex&) const {
    return source_ ? source_->columnCount() : 0;
}

QVariant GroupingModel::data(const QModelIndex& index, int role) const {
    if (!isOwnIndex(index) || !source_) return {};
    if (isGroupRow(index)) return groupData(groupNode(index), index.column(), role);
    return source_->data(source_->index(sourceRow(index), index.column()), role);
}

QVariant GroupingModel::groupData(NodeId node, int column, int role) const {
    if (column != 0) return {};
    switch (role) {
    case Qt::DisplayRole:
        return groupText(node);
    case Qt::TextAlignmentRole:
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    case ValueRole:
        return source_->data(source_->index(static_cast<int>(tree_.firstRow(node)),
                                            levelColumns_[std::size_t(tree_.level(node))]),
                             ValueRole);
    default:
        return {};
    }
}

QString GroupingModel::groupText(NodeId node) const {
    const int column = levelColumns_[static_cast<std::size_t>(tree_.level(node))];
    const int row = static_cast<int>(tree_.firstRow(node));
    QString value = source_->cellText(row, column);
    if (value.isEmpty())
        value =
            source_->recordset()->isNullAt(std::size_t(row), column) ? u"(none)"_s : u"(empty)"_s;
    const auto rows = tree_.rowCount(node);
    return u"%1: %2 (%3 %4)"_s.arg(source_->headerData(column, Qt::Horizontal).toString(), value)
        .arg(rows)
        .arg(rows == 1 ? u"row"_s : u"rows"_s);
}

QVariant GroupingModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && source_)
        return source_->headerData(section, orientation, role);
    return QAbstractItemModel::headerData(section, orientation, role);
}

Qt::ItemFlags GroupingModel::flags(const QModelIndex& index) const {
    if (!isOwnIndex(index)) return Qt::NoItemFlags;
    if (isGroupRow(index)) return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return source_ ? source_->flags(source_->index(sourceRow(index), index.column()))
                   : Qt::NoItemFlags;
}
