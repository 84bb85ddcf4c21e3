#include "reports/GroupBand.h"

#include "reports/GridHeader.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::Literals::StringLiterals;

const QString GroupBand::kCaption = u"Drag a column header here to group by that column. "
                                    u"Click group headers to toggle sort order."_s;

namespace {

constexpr int kMargin = 6;
constexpr int kPadding = 8;
constexpr int kArrowWidth = 9;
constexpr int kSpacing = 6;

bool hasArrow(const QString& tag) {
    return !tag.isEmpty();
}

} // namespace

GroupBand::GroupBand(const GridHeader* header, QWidget* parent) : QWidget(parent), header_(header) {
    setObjectName(u"GroupBand"_s);
    setAcceptDrops(true);
    setMouseTracking(true);
    setToolTip(kCaption);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void GroupBand::setChips(const QList<Chip>& chips) {
    chips_ = chips;
    update();
}

int GroupBand::chipHeight() const {
    return fontMetrics().height() + kPadding;
}

QRect GroupBand::chipRect(int position) const {
    int x = kMargin;
    for (int i = 0; i < chips_.size(); ++i) {
        const Chip& chip = chips_[i];
        const int arrow = hasArrow(chip.tag) ? kArrowWidth + kPadding / 2 : 0;
        const int width = fontMetrics().horizontalAdvance(chip.caption) + 2 * kPadding + arrow;
        if (i == position) return {x, kMargin, width, chipHeight()};
        x += width + kSpacing;
    }
    return {};
}

int GroupBand::chipAt(const QPoint& pos) const {
    for (int i = 0; i < chips_.size(); ++i)
        if (chipRect(i).contains(pos)) return i;
    return -1;
}

int GroupBand::positionAt(int x) const {
    int position = 0;
    while (position < chips_.size() && chipRect(position).center().x() < x)
        ++position;
    return position;
}

int GroupBand::acceptedColumn(const QMimeData* data) const {
    const int column = header_ ? header_->columnOf(data) : -1;
    for (const Chip& chip : chips_)
        if (chip.column == column) return -1;
    return column;
}

QSize GroupBand::sizeHint() const {
    return {fontMetrics().horizontalAdvance(kCaption) + 2 * kMargin, chipHeight() + 2 * kMargin};
}

QSize GroupBand::minimumSizeHint() const {
    return {0, chipHeight() + 2 * kMargin};
}

void GroupBand::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    if (chips_.isEmpty()) {
        painter.setPen(palette().color(QPalette::BrightText));
        painter.drawText(rect().adjusted(kMargin + kPadding / 2, 0, -kMargin, 0),
                         Qt::AlignVCenter | Qt::AlignLeft, kCaption);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < chips_.size(); ++i)
        paintChip(painter, chips_[i], chipRect(i));
}

void GroupBand::paintChip(QPainter& painter, const Chip& chip, const QRect& rect) const {
    painter.setPen(palette().color(QPalette::Shadow));
    painter.setBrush(palette().color(QPalette::Button));
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
    painter.setPen(palette().color(QPalette::ButtonText));
    const QRect text = rect.adjusted(kPadding, 0, -kPadding, 0);
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft, chip.caption);
    if (!hasArrow(chip.tag)) return;
    // A small triangle: up for ascending, down for descending.
    const qreal x = text.right() - kArrowWidth + 1;
    const qreal y = rect.center().y() + 0.5;
    const qreal half = kArrowWidth / 2.0;
    const bool up = chip.tag == u" ASC";
    QPainterPath arrow;
    arrow.moveTo(x, up ? y + half / 2 : y - half / 2);
    arrow.lineTo(x + kArrowWidth, up ? y + half / 2 : y - half / 2);
    arrow.lineTo(x + half, up ? y - half / 2 : y + half / 2);
    arrow.closeSubpath();
    painter.fillPath(arrow, palette().color(QPalette::ButtonText));
}

void GroupBand::dragEnterEvent(QDragEnterEvent* event) {
    if (acceptedColumn(event->mimeData()) >= 0) event->acceptProposedAction();
}

void GroupBand::dragMoveEvent(QDragMoveEvent* event) {
    if (acceptedColumn(event->mimeData()) >= 0)
        event->acceptProposedAction();
    else
        event->ignore();
}

void GroupBand::dropEvent(QDropEvent* event) {
    const int column = acceptedColumn(event->mimeData());
    if (column < 0) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    emit columnDropped(column, positionAt(event->position().toPoint().x()));
}

void GroupBand::mouseMoveEvent(QMouseEvent* event) {
    const bool overChip = chipAt(event->position().toPoint()) >= 0;
    setCursor(overChip ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void GroupBand::mouseReleaseEvent(QMouseEvent* event) {
    const int chip = chipAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && chip >= 0) emit chipClicked(chips_[chip].column);
}
