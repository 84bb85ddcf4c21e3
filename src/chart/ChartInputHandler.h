#pragma once

// The mouse on the chart: the left button drags the view round, Escape puts a drag back where it
// started, a double-click returns to the opening view, and the bar under a still pointer shows its
// value. The graph's own handler turns the view with the right button and zooms with the wheel;
// this one replaces it, so the left button does what people expect of a chart they grab.

#include <QAbstract3DInputHandler>
#include <QPoint>

namespace chart {

// The view's three angles: a turn about the upright axis, a roll of the picture and the height
// of the eye above the floor, in degrees. The camera has the turn (xRotation) and the height
// (yRotation) but no roll: the roll is always 0, which is also where the reset puts it.
struct ViewAngles {
    float rotation = 45.0f;
    float roll = 0.0f;
    float elevation = 45.0f;
};

// The view the chart opens with and a double-click returns to; the zoom is far enough back that
// the labels of every row fit beside the bars.
inline constexpr ViewAngles kOpeningAngles{};
inline constexpr float kOpeningZoom = 72.0f;

ViewAngles fncViewAngles(const Q3DCamera& camera);
void subSetViewAngles(Q3DCamera& camera, ViewAngles angles);
void subResetView(Q3DCamera& camera);

class ChartInputHandler : public QAbstract3DInputHandler {
    Q_OBJECT
public:
    explicit ChartInputHandler(QObject* parent = nullptr);

    void mousePressEvent(QMouseEvent* event, const QPoint& mousePos) override;
    void mouseMoveEvent(QMouseEvent* event, const QPoint& mousePos) override;
    void mouseReleaseEvent(QMouseEvent* event, const QPoint& mousePos) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

    bool dragging() const { return dragging_; }
    // Puts the view back at the angles the drag began with and ends it; false when no drag runs.
    bool cancelDrag();

private:
    bool dragging_ = false;
    QPoint dragStart_;
    ViewAngles anglesAtStart_;
};

} // namespace chart
