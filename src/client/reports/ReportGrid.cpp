#include "reports/ReportGrid.h"

#include "output/ColumnFit.h"
#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"
#include "reports/GridBody.h"
#include "reports/GridHeader.h"
#include "reports/GroupBand.h"
#include "vb/VbError.h"

#include <QFontMetrics>
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
    body_->setTextFit([this](int column) { return widestText(column); });
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

QList<int> ReportGrid::displayColumns() const {
    QList<int> columns;
    for (int visual = 0; visual < columnCount(); ++visual)
        columns.append(body_->header()->logicalIndex(visual));
    return columns;
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

int ReportGrid::widestText(int column) const {
    if (!recordset()) return 0;
    const QFontMetrics metrics = body_->fontMetrics();
    const auto width = [metrics](const QString& text) { return metrics.horizontalAdvance(text); };
    return output::widestShownWidth(*recordset(), column, columnFormat(column),
                                    {width, metrics.maxWidth()});
}

QString ReportGrid::cellText(int sourceRow, int column) const {
    return records_->cellText(sourceRow, column);
}

void ReportGrid::addGroupColumn(int column, int position) {
    checkColumn(column);
    QList<int> columns = grouping_->groupColumns();
    columns.insert(std::clamp(position, 0, static_cast<int>(columns.size())), column);
    const auto current = currentBookmark();
    grouping_->setGroupColumns(columns);
    restoreCurrent(current);
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
    const auto current = currentBookmark();
    recordset()->setSort(sortText);
    records_->reorder();
    for (int column = 0; column < columnCount(); ++column)
        body_->header()->resizeSection(column, widths[std::size_t(column)]);
    restoreCurrent(current);
}

// Regrouping and re-sorting rebuild every line; the record the user was on is found again by
// its bookmark, so what acts on the current row (a video search) still acts on it.
std::optional<rs::Recordset::Bookmark> ReportGrid::currentBookmark() const {
    const int row = currentRow();
    if (row < 0) return std::nullopt;
    return recordset()->bookmarkAt(std::size_t(row));
}

void ReportGrid::restoreCurrent(std::optional<rs::Recordset::Bookmark> bookmark) {
    if (!bookmark || !recordset()) return;
    const std::ptrdiff_t row = recordset()->rowOfBookmark(*bookmark);
    if (row >= 0) setCurrentRow(int(row));
}

int ReportGrid::currentRow() const {
    return grouping_->sourceRow(body_->currentIndex());
}

void ReportGrid::setCurrentRow(int sourceRow) {
    const QModelIndex index = grouping_->indexOfSourceRow(sourceRow);
    body_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                        QItemSelectionModel::Rows);
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
