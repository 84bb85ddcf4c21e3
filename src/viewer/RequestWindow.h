#pragma once

// The window a person watches: the latest request in large type (camera, moment, recorder, and
// the method it came by) above the list of every request so far, newest last.

#include "viewer/ViewerRequest.h"

#include <QWidget>

class QLabel;
class QTreeWidget;

namespace viewer {

class RequestWindow : public QWidget {
    Q_OBJECT
public:
    // endpoints: where the viewer listens, shown at the foot of the window.
    explicit RequestWindow(const QString& endpoints, QWidget* parent = nullptr);

    // Shows the request as the latest and brings the window to the front.
    void showRequest(const ViewerRequest& request);

private:
    QLabel* headline_;
    QLabel* details_;
    QTreeWidget* list_;
};

} // namespace viewer
