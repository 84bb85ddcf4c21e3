#include "output/RecordsetModel.h"

#include "output/ColumnFormat.h"

#include <limits>

namespace {

Qt::Alignment alignmentFor(rs::AdoType type) {
    switch (rs::varTypeOf(type)) {
    case vb::VarType::Integer:
    case vb::VarType::Long:
    case vb::VarType::Single:
    case vb::VarType::Double:
    case vb::VarType::Currency:
    case vb::VarType::Date:
        return Qt::AlignRight | Qt::AlignVCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

} // namespace

RecordsetModel::RecordsetModel(QObject* parent) : QAbstractTableModel(parent) {}

void RecordsetModel::setRecordset(std::shared_ptr<rs::Recordset> records) {
    beginResetModel();
    records_ = std::move(records);
    readColumns();
    rows_ = recordsetRows();
    endResetModel();
}

void RecordsetModel::readColumns() {
    columns_.clear();
    if (!records_) return;
    columns_.reserve(static_cast<std::size_t>(records_->fieldCount()));
    for (int i = 0; i < records_->fieldCount(); ++i)
        columns_.push_back({QString(), alignmentFor(records_->field(i).type())});
}

int RecordsetModel::recordsetRows() const {
    if (!records_) return 0;
    constexpr auto kMaxRows = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(records_->recordCount(), kMaxRows));
}

void RecordsetModel::setColumnFormat(int column, const QString& format) {
    if (column < 0 || column >= columnCount()) return;
    columns_[static_cast<std::size_t>(column)].format = format;
    if (rows_ > 0) emit dataChanged(index(0, column), index(rows_ - 1, column), {Qt::DisplayRole});
}

QString RecordsetModel::columnFormat(int column) const {
    if (column < 0 || column >= columnCount()) return {};
    return columns_[static_cast<std::size_t>(column)].format;
}

bool RecordsetModel::holdsCell(int row, int column) const {
    return row >= 0 && column >= 0 && row < rows_ && column < columnCount() &&
           static_cast<std::size_t>(row) < records_->recordCount();
}

QString RecordsetModel::cellText(int row, int column) const {
    if (!holdsCell(row, column)) return {};
    return output::shownText(records_->valueAt(static_cast<std::size_t>(row), column),
                             columns_[static_cast<std::size_t>(column)].format);
}

void RecordsetModel::reorder() {
    if (recordsetRows() != rows_) {
        beginResetModel();
        rows_ = recordsetRows();
        endResetModel();
        return;
    }
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList moved = persistentIndexList();
    changePersistentIndexList(moved, QModelIndexList(moved.size()));
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

int RecordsetModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

int RecordsetModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant RecordsetModel::data(const QModelIndex& index, int role) const {
    if (index.model() != this || !holdsCell(index.row(), index.column())) return {};
    switch (role) {
    case Qt::DisplayRole:
        return cellText(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return int(columns_[static_cast<std::size_t>(index.column())].alignment);
    case ValueRole:
        return QVariant::fromValue(
            records_->valueAt(static_cast<std::size_t>(index.row()), index.column()));
    default:
        return {};
    }
}

QVariant RecordsetModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= columnCount())
        return QAbstractTableModel::headerData(section, orientation, role);
    return records_->field(section).name();
}
