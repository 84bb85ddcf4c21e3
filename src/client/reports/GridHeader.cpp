#include "reports/GridHeader.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>

GridHeader::GridHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setObjectName(QStringLiteral("GridHeader"));
    setSectionsMovable(false);
    setSectionsClickable(false);
    setHighlightSections(false);
    setStretchLastSection(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

QMimeData* GridHeader::columnMimeData(int column) const {
    auto* data = new QMimeData();
    const QByteArray owner = QByteArray::number(reinterpret_cast<quintptr>(this));
    data->setData(QString::fromLatin1(kMimeType), owner + ':' + QByteArray::number(column));
    return data;
}

int GridHeader::columnOf(const QMimeData* data) const {
    if (!data) return -1;
    const QList<QByteArray> parts = data->data(QString::fromLatin1(kMimeType)).split(':');
    if (parts.size() != 2 || parts[0].toULongLong() != reinterpret_cast<quintptr>(this)) return -1;
    bool ok = false;
    const int column = parts[1].toInt(&ok);
    return ok && column >= 0 && column < count() ? column : -1;
}

// The strip either side of a section's edge belongs to the resize handle.
bool GridHeader::onResizeHandle(const QPoint& pos) const {
    const int column = logicalIndexAt(pos);
    if (column < 0) return false;
    const int margin = style()->pixelMetric(QStyle::PM_HeaderGripMargin, nullptr, this);
    const int x = pos.x() - sectionViewportPosition(column);
    return x < margin || sectionSize(column) - x <= margin;
}

void GridHeader::mousePressEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    pressedColumn_ = -1;
    if (event->button() == Qt::LeftButton && !onResizeHandle(pos)) {
        pressedColumn_ = logicalIndexAt(pos);
        pressPos_ = pos;
        event->accept();
        return;
    }
    QHeaderView::mousePressEvent(event);
}

void GridHeader::mouseMoveEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    if (pressedColumn_ >= 0 && (event->buttons() & Qt::LeftButton)) {
        if ((pos - pressPos_).manhattanLength() >= QApplication::startDragDistance()) {
            const int column = pressedColumn_;
            pressedColumn_ = -1;
            startColumnDrag(column);
        }
        event->accept();
        return;
    }
    QHeaderView::mouseMoveEvent(event);
}

void GridHeader::mouseReleaseEvent(QMouseEvent* event) {
    if (pressedColumn_ >= 0) {
        pressedColumn_ = -1;
        event->accept();
        return;
    }
    QHeaderView::mouseReleaseEvent(event);
}

void GridHeader::startColumnDrag(int column) {
    auto* drag = new QDrag(this);
    drag->setMimeData(columnMimeData(column));
    const QRect section(sectionViewportPosition(column), 0, sectionSize(column), height());
    drag->setPixmap(viewport()->grab(section));
    drag->setHotSpot(pressPos_ - section.topLeft());
    drag->exec(Qt::MoveAction);
}
