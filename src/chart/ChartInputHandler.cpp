#include "chart/ChartInputHandler.h"

#include <Q3DCamera>
#include <Q3DScene>
#include <QMouseEvent>

namespace chart {

namespace {

// A drag across a third of a typical chart turns it a quarter round.
constexpr float kDegreesPerPixel = 0.3f;

} // namespace

ViewAngles fncViewAngles(const Q3DCamera& camera) {
    return {camera.xRotation(), 0.0f, camera.yRotation()};
}

void subSetViewAngles(Q3DCamera& camera, ViewAngles angles) {
    camera.setXRotation(angles.rotation);
    camera.setYRotation(angles.elevation);
}

void subResetView(Q3DCamera& camera) {
    subSetViewAngles(camera, kOpeningAngles);
    camera.setZoomLevel(kOpeningZoom);
}

ChartInputHandler::ChartInputHandler(QObject* parent) : QAbstract3DInputHandler(parent) {}

void ChartInputHandler::mousePressEvent(QMouseEvent* event, const QPoint& mousePos) {
    if (event->button() != Qt::LeftButton || !scene()) return;
    dragging_ = true;
    dragStart_ = mousePos;
    anglesAtStart_ = fncViewAngles(*scene()->activeCamera());
    setInputView(InputViewOnPrimary);
}

void ChartInputHandler::mouseMoveEvent(QMouseEvent* event, const QPoint& mousePos) {
    setInputPosition(mousePos);
    if (!scene()) return;
    if (!dragging_) {
        // A still pointer over a bar selects it, and the selected bar shows its label and value.
        if (event->buttons() == Qt::NoButton) scene()->setSelectionQueryPosition(mousePos);
        return;
    }
    if (!(event->buttons() & Qt::LeftButton)) return;
    const QPoint moved = mousePos - dragStart_;
    ViewAngles angles = anglesAtStart_;
    angles.rotation += float(moved.x()) * kDegreesPerPixel;
    angles.elevation += float(moved.y()) * kDegreesPerPixel;
    subSetViewAngles(*scene()->activeCamera(), angles);
}

void ChartInputHandler::mouseReleaseEvent(QMouseEvent* event, const QPoint& mousePos) {
    Q_UNUSED(mousePos);
    if (event->button() == Qt::LeftButton) dragging_ = false;
}

void ChartInputHandler::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !scene()) return;
    dragging_ = false;
    subResetView(*scene()->activeCamera());
}

void ChartInputHandler::wheelEvent(QWheelEvent* event) {
    // The view's distance is chosen for its labels; the wheel leaves it.
    event->ignore();
}

bool ChartInputHandler::cancelDrag() {
    if (!dragging_ || !scene()) return false;
    dragging_ = false;
    subSetViewAngles(*scene()->activeCamera(), anglesAtStart_);
    return true;
}

} // namespace chart
