#pragma once

// The band above the report grid that takes column headers dragged into it. Each grouped column
// shows in it as a chip with its sort direction; a click on a chip asks for that column's sort to
// toggle. Without groups it shows how to use it.

#include <QList>
#include <QString>
#include <QWidget>

class GridHeader;
class QMimeData;

class GroupBand : public QWidget {
    Q_OBJECT
public:
    static const QString kCaption;

    struct Chip {
        int column = 0;
        QString caption;
        QString tag; // "", " ASC" or " DESC"
    };

    // Drags are read through the header, which alone knows its own columns.
    explicit GroupBand(const GridHeader* header, QWidget* parent = nullptr);

    void setChips(const QList<Chip>& chips);
    const QList<Chip>& chips() const { return chips_; }
    QRect chipRect(int position) const;
    // The column a drag carries when the band would take it; -1 otherwise (another grid's
    // header, a column already grouped, anything else).
    int acceptedColumn(const QMimeData* data) const;
    // Where a column dropped at x would go among the chips.
    int positionAt(int x) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void columnDropped(int column, int position);
    void chipClicked(int column);

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int chipAt(const QPoint& pos) const;
    int chipHeight() const;
    void paintChip(QPainter& painter, const Chip& chip, const QRect& rect) const;

    const GridHeader* header_;
    QList<Chip> chips_;
};
