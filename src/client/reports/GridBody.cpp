#include "reports/GridBody.h"

#include "reports/GridHeader.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

namespace {

QColor gridLineColor(const QWidget* widget) {
    QStyleOptionViewItem option;
    option.initFrom(widget);
    return QColor::fromRgba(static_cast<QRgb>(
        widget->style()->styleHint(QStyle::SH_Table_GridLineColor, &option, widget)));
}

} // namespace

GridBody::GridBody(QWidget* parent) : QAbstractItemView(parent), header_(new GridHeader(this)) {
    setObjectName(QStringLiteral("GridBody"));
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerItem);
    setAlternatingRowColors(true);
    viewport()->setBackgroundRole(QPalette::Base);
    connect(header_, &QHeaderView::sectionResized, this, [this] {
        updateGeometries();
        viewport()->update();
    });
    connect(header_, &QHeaderView::sectionCountChanged, this, [this] { updateGeometries(); });
    connect(header_, &QHeaderView::sectionHandleDoubleClicked, this,
            [this](int column) { header_->resizeSection(column, sizeHintForColumn(column)); });
}

void GridBody::setModel(QAbstractItemModel* model) {
    if (this->model()) disconnect(this->model(), nullptr, this, nullptr);
    QAbstractItemView::setModel(model);
    header_->setModel(model);
    if (model) {
        for (auto signal : {&QAbstractItemModel::rowsRemoved, &QAbstractItemModel::columnsInserted,
                            &QAbstractItemModel::columnsRemoved})
            connect(model, signal, this, &GridBody::rebuildLines);
        connect(model, &QAbstractItemModel::rowsMoved, this, &GridBody::rebuildLines);
    }
    rebuildLines();
}

void GridBody::reset() {
    QAbstractItemView::reset();
    rebuildLines();
}

void GridBody::doItemsLayout() {
    rebuildLines();
    QAbstractItemView::doItemsLayout();
}

void GridBody::rowsInserted(const QModelIndex& parent, int start, int end) {
    QAbstractItemView::rowsInserted(parent, start, end);
    rebuildLines();
}

QString GridBody::groupKey(const QModelIndex& group) const {
    QStringList captions;
    for (QModelIndex i = group.siblingAtColumn(0); i.isValid(); i = i.parent())
        captions.prepend(i.data().toString());
    return captions.join(QChar(0x1f));
}

void GridBody::rebuildLines() {
    layout_.rebuild(model(), [this](const QModelIndex& group) {
        return collapsed_.isEmpty() || !collapsed_.contains(groupKey(group));
    });
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    const QModelIndex first = layout_.indexAt(0);
    lineHeight_ = fontMetrics().height() + 6;
    if (first.isValid())
        lineHeight_ =
            std::max(lineHeight_, itemDelegateForIndex(first)->sizeHint(option, first).height());
    updateGeometries();
    viewport()->update();
}

void GridBody::setExpanded(const QModelIndex& group, bool expanded) {
    const QModelIndex first = group.siblingAtColumn(0);
    if (!layout_.setExpanded(first, expanded)) return;
    if (expanded)
        collapsed_.remove(groupKey(first));
    else
        collapsed_.insert(groupKey(first));
    // A current row folded away hands the cursor to its group.
    if (currentIndex().isValid() && layout_.lineOf(currentIndex()) < 0)
        selectionModel()->setCurrentIndex(first, QItemSelectionModel::ClearAndSelect |
                                                     QItemSelectionModel::Rows);
    updateGeometries();
    viewport()->update();
}

int GridBody::firstVisibleLine() const {
    return verticalScrollBar()->value();
}

int GridBody::visibleLineCount() const {
    return (viewport()->height() + lineHeight_ - 1) / lineHeight_;
}

int GridBody::lineAtY(int y) const {
    if (y < 0) return -1;
    const int line = firstVisibleLine() + y / lineHeight_;
    return line < lineCount() ? line : -1;
}

QRect GridBody::lineRect(int line) const {
    return {0, (line - firstVisibleLine()) * lineHeight_, viewport()->width(), lineHeight_};
}

int GridBody::contentWidth() const {
    return header_->length();
}

int GridBody::indentOf(const QModelIndex& index) const {
    return layout_.depthOf(index) * indentation_;
}

QRect GridBody::expanderRect(const QModelIndex& group, int line) const {
    const QRect row = lineRect(line);
    return {indentOf(group) - horizontalOffset(), row.y(), indentation_, lineHeight_};
}

bool GridBody::onExpander(const QPoint& pos) const {
    const int line = lineAtY(pos.y());
    const QModelIndex index = layout_.indexAt(line);
    return isGroup(index) && expanderRect(index, line).contains(pos);
}

int GridBody::columnsIn(const QModelIndex& parent) const {
    return model() ? model()->columnCount(parent) : 0;
}

QRect GridBody::visualRect(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    const QModelIndex first = index.siblingAtColumn(0);
    const int line = layout_.lineOf(first);
    if (line < 0) return {};
    const QRect row = lineRect(line);
    if (isGroup(first)) return row;
    return {header_->sectionViewportPosition(index.column()), row.y(),
            header_->sectionSize(index.column()), lineHeight_};
}

void GridBody::scrollTo(const QModelIndex& index, ScrollHint hint) {
    const int line = layout_.lineOf(index.siblingAtColumn(0));
    if (line < 0) return;
    const int page = std::max(1, viewport()->height() / lineHeight_);
    QScrollBar* vertical = verticalScrollBar();
    switch (hint) {
    case EnsureVisible:
        if (line < vertical->value())
            vertical->setValue(line);
        else if (line >= vertical->value() + page)
            vertical->setValue(line - page + 1);
        break;
    case PositionAtTop:
        vertical->setValue(line);
        break;
    case PositionAtBottom:
        vertical->setValue(line - page + 1);
        break;
    case PositionAtCenter:
        vertical->setValue(line - page / 2);
        break;
    }
    if (isGroup(index.siblingAtColumn(0))) return;
    const int left = header_->sectionPosition(index.column());
    const int right = left + header_->sectionSize(index.column());
    QScrollBar* horizontal = horizontalScrollBar();
    if (left < horizontal->value())
        horizontal->setValue(left);
    else if (right > horizontal->value() + viewport()->width())
        horizontal->setValue(std::min(left, right - viewport()->width()));
}

QModelIndex GridBody::indexAt(const QPoint& point) const {
    const QModelIndex first = layout_.indexAt(lineAtY(point.y()));
    if (!first.isValid() || isGroup(first)) return first;
    const int column = header_->logicalIndexAt(point.x());
    // Beyond the last column still hits the row.
    return column < 0 ? first : first.siblingAtColumn(column);
}

QModelIndex GridBody::moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers) {
    if (lineCount() == 0) return {};
    const QModelIndex current = currentIndex();
    const int line = layout_.lineOf(current.siblingAtColumn(0));
    if (line < 0) return layout_.indexAt(0);
    if (cursorAction == MoveLeft || cursorAction == MoveRight)
        return moveSideways(current, cursorAction == MoveRight);
    const int page = std::max(1, viewport()->height() / lineHeight_);
    switch (cursorAction) {
    case MoveUp:
    case MovePrevious:
        return indexOnLine(line - 1, current);
    case MoveDown:
    case MoveNext:
        return indexOnLine(line + 1, current);
    case MovePageUp:
        return indexOnLine(line - page, current);
    case MovePageDown:
        return indexOnLine(line + page, current);
    case MoveHome:
        return indexOnLine(0, current);
    default:
        return indexOnLine(lineCount() - 1, current);
    }
}

// Left and right move between the cells of a row; on a group line they fold and unfold it, then
// go to its parent or its first line.
QModelIndex GridBody::moveSideways(const QModelIndex& current, bool right) {
    if (!isGroup(current.siblingAtColumn(0))) {
        const int last = columnsIn(current.parent()) - 1;
        return current.siblingAtColumn(std::clamp(current.column() + (right ? 1 : -1), 0, last));
    }
    if (isExpanded(current) != right) {
        setExpanded(current, right);
        return current;
    }
    if (right) return indexOnLine(layout_.lineOf(current) + 1, current);
    return current.parent().isValid() ? current.parent() : current;
}

// The line's group, or its row in the column the cursor is in.
QModelIndex GridBody::indexOnLine(int line, const QModelIndex& from) const {
    const QModelIndex target = layout_.indexAt(std::clamp(line, 0, lineCount() - 1));
    if (isGroup(target) || isGroup(from.siblingAtColumn(0))) return target;
    return target.siblingAtColumn(from.column());
}

int GridBody::horizontalOffset() const {
    return horizontalScrollBar()->value();
}

int GridBody::verticalOffset() const {
    return firstVisibleLine() * lineHeight_;
}

bool GridBody::isIndexHidden(const QModelIndex& index) const {
    return layout_.lineOf(index.siblingAtColumn(0)) < 0;
}

void GridBody::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) {
    QItemSelection selection;
    const int count = lineCount();
    const QRect area = rect.normalized();
    const int first = firstVisibleLine();
    const int top = std::max(0, first + area.top() / lineHeight_);
    const int bottom = std::min(count - 1, first + area.bottom() / lineHeight_);
    for (int line = top; line <= bottom; ++line) {
        const QModelIndex index = layout_.indexAt(line);
        selection.select(index, index.siblingAtColumn(columnsIn(index.parent()) - 1));
    }
    selectionModel()->select(selection, command);
}

QRegion GridBody::visualRegionForSelection(const QItemSelection& selection) const {
    QRegion region;
    for (const QItemSelectionRange& range : selection) {
        const int top = layout_.lineOf(QModelIndex(range.topLeft()).siblingAtColumn(0));
        const int bottom = layout_.lineOf(QModelIndex(range.bottomRight()).siblingAtColumn(0));
        if (top < 0 || bottom < 0) continue;
        region += lineRect(top).united(lineRect(bottom));
    }
    return region;
}

void GridBody::updateGeometries() {
    if (inGeometries_) return;
    inGeometries_ = true;
    const int headerHeight = header_->isHidden() ? 0 : header_->sizeHint().height();
    setViewportMargins(0, headerHeight, 0, 0);
    const QRect area = viewport()->geometry();
    header_->setGeometry(area.left(), area.top() - headerHeight, area.width(), headerHeight);

    const int page = std::max(1, viewport()->height() / lineHeight_);
    verticalScrollBar()->setRange(0, std::max(0, lineCount() - page));
    verticalScrollBar()->setPageStep(page);
    verticalScrollBar()->setSingleStep(1);
    horizontalScrollBar()->setRange(0, std::max(0, contentWidth() - viewport()->width()));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(20);
    header_->setOffset(horizontalOffset());
    QAbstractItemView::updateGeometries();
    inGeometries_ = false;
}

void GridBody::scrollContentsBy(int dx, int) {
    if (dx != 0) header_->setOffset(horizontalOffset());
    viewport()->update();
}

void GridBody::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QAbstractItemView::currentChanged(current, previous);
    // The focus frame spans the row, wider than the cells the base repaints.
    viewport()->update();
}

int GridBody::sizeHintForColumn(int column) const {
    if (!model() || column < 0 || column >= header_->count()) return -1;
    const int caption = header_->sectionSizeHint(column);
    const QModelIndex cell = firstDataRow().siblingAtColumn(column);
    if (!cell.isValid()) return caption;
    // Every cell of a column has the same padding and indent around its text.
    const int padding = cellWidth(cell) - fontMetrics().horizontalAdvance(cell.data().toString());
    const int text = textFit_ ? textFit_(column) : widestTextInView(column);
    // Both widths are a fractional layout rounded to the pixel, each its own way, and the cell
    // elides its text by the unrounded width: a pixel more keeps the widest text whole.
    return std::max(caption, text + padding + 1);
}

QModelIndex GridBody::firstDataRow() const {
    for (int line = 0; line < lineCount(); ++line) {
        const QModelIndex index = layout_.indexAt(line);
        if (!isGroup(index)) return index;
    }
    return {};
}

int GridBody::widestTextInView(int column) const {
    int widest = 0;
    const int first = firstVisibleLine();
    for (int line = first; line < std::min(lineCount(), first + visibleLineCount()); ++line) {
        const QModelIndex index = layout_.indexAt(line);
        if (!isGroup(index))
            widest = std::max(widest, fontMetrics().horizontalAdvance(
                                          index.siblingAtColumn(column).data().toString()));
    }
    return widest;
}

int GridBody::cellWidth(const QModelIndex& cell) const {
    if (!cell.isValid() || isGroup(cell.siblingAtColumn(0))) return 0;
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    const int indent = cell.column() == 0 ? indentOf(cell) : 0;
    return itemDelegateForIndex(cell)->sizeHint(option, cell).width() + indent + 1;
}

void GridBody::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    const int count = lineCount();
    const int first = firstVisibleLine();
    const int last = std::min(count, first + visibleLineCount());
    for (int line = first; line < last; ++line) {
        const QModelIndex index = layout_.indexAt(line);
        if (isGroup(index))
            paintGroupLine(painter, index, line);
        else
            paintDataLine(painter, index, line);
    }
    const int current = layout_.lineOf(currentIndex().siblingAtColumn(0));
    if (hasFocus() && current >= first && current < last) paintFocus(painter, current);
}

void GridBody::paintGroupLine(QPainter& painter, const QModelIndex& group, int line) const {
    const QRect row = lineRect(line);
    const bool selected = selectionModel() && selectionModel()->isSelected(group);
    const QPalette::ColorGroup colors = hasFocus() ? QPalette::Active : QPalette::Inactive;
    painter.fillRect(row,
                     palette().brush(colors, selected ? QPalette::Highlight : QPalette::Button));

    QStyleOption branch;
    branch.initFrom(this);
    branch.rect = expanderRect(group, line);
    branch.state = QStyle::State_Children | QStyle::State_Enabled;
    if (isExpanded(group)) branch.state |= QStyle::State_Open;
    style()->drawPrimitive(QStyle::PE_IndicatorBranch, &branch, &painter, this);

    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(
        palette().color(colors, selected ? QPalette::HighlightedText : QPalette::ButtonText));
    const QRect text(branch.rect.right() + 4, row.y(), row.width(), row.height());
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft, group.data().toString());
    painter.setFont(font());
    painter.setPen(gridLineColor(this));
    painter.drawLine(row.left(), row.bottom(), row.right(), row.bottom());
}

void GridBody::paintDataLine(QPainter& painter, const QModelIndex& rowIndex, int line) const {
    const QRect row = lineRect(line);
    const bool selected = selectionModel() && selectionModel()->isSelected(rowIndex);
    const QPalette::ColorGroup colors = hasFocus() ? QPalette::Active : QPalette::Inactive;
    if (selected)
        painter.fillRect(row, palette().brush(colors, QPalette::Highlight));
    else if (alternatingRowColors() && line % 2 == 1)
        painter.fillRect(row, palette().brush(colors, QPalette::AlternateBase));

    QStyleOptionViewItem option;
    initViewItemOption(&option);
    if (selected) option.state |= QStyle::State_Selected;
    const QColor lines = gridLineColor(this);
    const int right = std::min(row.right(), contentWidth() - horizontalOffset() - 1);
    for (int column = 0; column < header_->count(); ++column) {
        const int x = header_->sectionViewportPosition(column);
        const int width = header_->sectionSize(column);
        if (header_->isSectionHidden(column) || x + width <= 0 || x >= row.width()) continue;
        const QModelIndex cell = rowIndex.siblingAtColumn(column);
        option.rect = QRect(x, row.y(), width - 1, lineHeight_ - 1);
        if (column == 0) option.rect.setLeft(x + indentOf(rowIndex));
        itemDelegateForIndex(cell)->paint(&painter, option, cell);
        painter.setPen(lines);
        painter.drawLine(x + width - 1, row.top(), x + width - 1, row.bottom());
    }
    painter.setPen(lines);
    painter.drawLine(row.left(), row.bottom(), right, row.bottom());
}

void GridBody::paintFocus(QPainter& painter, int line) const {
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    focus.rect = lineRect(line).adjusted(0, 0, -1, -1);
    focus.backgroundColor = palette().color(QPalette::Highlight);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

// A left press on a group's arrow folds or unfolds it and goes no further.
bool GridBody::toggleExpanderAt(QMouseEvent* event, const QPoint& pos) {
    if (event->button() != Qt::LeftButton || !onExpander(pos)) return false;
    const QModelIndex group = indexAt(pos);
    setExpanded(group, !isExpanded(group));
    pressedExpander_ = true;
    event->accept();
    return true;
}

void GridBody::mousePressEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    pressedExpander_ = false;
    if (toggleExpanderAt(event, pos)) return;
    QAbstractItemView::mousePressEvent(event);
}

void GridBody::mouseReleaseEvent(QMouseEvent* event) {
    if (pressedExpander_) {
        pressedExpander_ = false;
        event->accept();
        return;
    }
    QAbstractItemView::mouseReleaseEvent(event);
}

void GridBody::mouseDoubleClickEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    if (toggleExpanderAt(event, pos)) return;
    // Only rows have a double-click (it searches the row's video); a group line's is two clicks.
    if (isGroup(indexAt(pos))) {
        event->accept();
        return;
    }
    QAbstractItemView::mouseDoubleClickEvent(event);
}

void GridBody::keyPressEvent(QKeyEvent* event) {
    const QModelIndex current = currentIndex().siblingAtColumn(0);
    if (isGroup(current) && (event->key() == Qt::Key_Plus || event->key() == Qt::Key_Minus)) {
        setExpanded(current, event->key() == Qt::Key_Plus);
        event->accept();
        return;
    }
    QAbstractItemView::keyPressEvent(event);
}
