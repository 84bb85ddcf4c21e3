#include "reports/ReportGrid.h"

#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"
#include "reports/GridBody.h"
#include "reports/GridHeader.h"
#include "reports/GroupBand.h"
#include "vb/VbError.h"

#include <QVBoxLayout>
#include <algorithm>
#include <vector>

ReportGrid::ReportGrid(QWidget* parent)
    : QWidget(parent), records_(new RecordsetModel(this)),
      grouping_(new GroupingModel(records_, this)), body_(new GridBody(this)),
      band_(new GroupBand(body_->header(), this)) {
    setObjectName(QStringLiteral("DataList"));
    body_->setModel(grouping_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(band_);
    layout->addWidget(body_, 1);
    setFocusProxy(body_);

    connect(band_, &GroupBand::columnDropped, this, &ReportGrid::dropColumn);
    connect(band_, &GroupBand::chipClicked, this, &ReportGrid::groupHeadClicked);
    connect(body_, &GridBody::groupLineClicked, this, [this](const QModelIndex& group) {
        emit groupHeadClicked(grouping_->groupColumnOf(group));
    });
    connect(body_, &QAbstractItemView::doubleClicked, this, &ReportGrid::onDoubleClicked);
}

void ReportGrid::setRecordset(std::shared_ptr<rs::Recordset> records) {
    grouping_->setGroupColumns({});
    records_->setRecordset(std::move(records));
    tags_ = QStringList(records_->columnCount(), QString());
    refreshBand();
}

const std::shared_ptr<rs::Recordset>& ReportGrid::recordset() const {
    return records_->recordset();
}

int ReportGrid::columnCount() const {
    return records_->columnCount();
}

void ReportGrid::checkColumn(int column) const {
    if (column < 0 || column >= columnCount()) vb::raise(vb::err::SubscriptOutOfRange);
}

QString ReportGrid::columnCaption(int column) const {
    checkColumn(column);
    return records_->headerData(column, Qt::Horizontal).toString();
}

QString ReportGrid::dataField(int column) const {
    checkColumn(column);
    return recordset()->field(column).name();
}

void ReportGrid::setColumnFormat(int column, const QString& format) {
    checkColumn(column);
    records_->setColumnFormat(column, format);
}

QString ReportGrid::columnFormat(int column) const {
    checkColumn(column);
    return records_->columnFormat(column);
}

void ReportGrid::setColumnTag(int column, const QString& tag) {
    checkColumn(column);
    tags_[column] = tag;
    refreshBand();
}

QString ReportGrid::columnTag(int column) const {
    checkColumn(column);
    return tags_[column];
}

void ReportGrid::setColumnWidth(int column, int width) {
    checkColumn(column);
    body_->header()->resizeSection(column, width);
}

int ReportGrid::columnWidth(int column) const {
    checkColumn(column);
    return body_->header()->sectionSize(column);
}

int ReportGrid::contentWidth(int column) const {
    checkColumn(column);
    return body_->sizeHintForColumn(column);
}

QString ReportGrid::cellText(int sourceRow, int column) const {
    return records_->cellText(sourceRow, column);
}

void ReportGrid::addGroupColumn(int column, int position) {
    checkColumn(column);
    QList<int> columns = grouping_->groupColumns();
    columns.insert(std::clamp(position, 0, static_cast<int>(columns.size())), column);
    grouping_->setGroupColumns(columns);
    refreshBand();
}

QList<int> ReportGrid::groupColumns() const {
    return grouping_->groupColumns();
}

void ReportGrid::sortRecordset(const QString& sortText) {
    if (!recordset()) return;
    // The header would keep its sections through the model's reset, but widths are the user's
    // work: they are put back whatever the models do.
    std::vector<int> widths;
    for (int column = 0; column < columnCount(); ++column)
        widths.push_back(columnWidth(column));
    recordset()->setSort(sortText);
    records_->reorder();
    for (int column = 0; column < columnCount(); ++column)
        body_->header()->resizeSection(column, widths[std::size_t(column)]);
}

int ReportGrid::currentRow() const {
    return grouping_->sourceRow(body_->currentIndex());
}

void ReportGrid::setCurrentRow(int sourceRow) {
    const QModelIndex index = grouping_->indexOfSourceRow(sourceRow);
    body_->setCurrentIndex(index);
    if (index.isValid()) body_->scrollTo(index);
}

void ReportGrid::dropColumn(int column, int position) {
    addGroupColumn(column, position);
    emit groupColumnDropped(column);
}

void ReportGrid::onDoubleClicked(const QModelIndex& index) {
    const int row = grouping_->sourceRow(index);
    if (row >= 0) emit rowDoubleClicked(row);
}

void ReportGrid::refreshBand() {
    QList<GroupBand::Chip> chips;
    for (int column : grouping_->groupColumns())
        chips.append({column, columnCaption(column), tags_.value(column)});
    band_->setChips(chips);
}
