#pragma once

// The report grid's column header: sizes its sections as any header does, and lets a column be
// dragged out of it into the group band. Columns never move: each column shows the field of its
// own number, and the formats rely on that.

#include <QHeaderView>
#include <QPoint>

class QMimeData;

class GridHeader : public QHeaderView {
    Q_OBJECT
public:
    explicit GridHeader(QWidget* parent = nullptr);

    // What a dragged column carries: the column number, and which grid it came from, so that a
    // header dropped on another report's band is refused.
    static constexpr const char* kMimeType = "application/x-tillsight-grid-column";
    QMimeData* columnMimeData(int column) const;
    // The column a drag from this header carries; -1 for anything else.
    int columnOf(const QMimeData* data) const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool onResizeHandle(const QPoint& pos) const;
    void startColumnDrag(int column);

    int pressedColumn_ = -1;
    QPoint pressPos_;
};
