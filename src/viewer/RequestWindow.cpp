#include "viewer/RequestWindow.h"

#include "dvr/DvrIpcProtocol.h"

#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace viewer {

namespace {

enum Column { Received, Via, Camera, Moment, Address, User, Password, Command, ColumnCount };

// Texts from a client may hold tabs and line breaks; shown escaped they stay on one line and
// nothing is hidden.
QString visible(const QString& text) {
    return dvr::ipc::escapeField(text);
}

QString headlineOf(const ViewerRequest& request) {
    return u"Camera %1  \u2014  %2"_s.arg(request.camera).arg(displayMoment(request.moment));
}

QString detailsOf(const ViewerRequest& request) {
    if (request.method == Method::Dvms)
        return u"DVMS command \u201c%1\u201d"_s.arg(QString::fromLatin1(request.command));
    return u"Standard IPC \u2022 DVR %1 \u2022 user %2 \u2022 %3"_s.arg(
        request.dvrAddress.isEmpty() ? u"(none)"_s : visible(request.dvrAddress),
        request.userName.isEmpty() ? u"(none)"_s : visible(request.userName),
        request.passwordGiven ? u"password given"_s : u"no password"_s);
}

QStringList cellsOf(const ViewerRequest& request) {
    QStringList cells(ColumnCount);
    cells[Received] = QDateTime::currentDateTime().toString(u"hh:mm:ss"_s);
    cells[Via] = methodName(request.method);
    cells[Camera] = QString::number(request.camera);
    cells[Moment] = displayMoment(request.moment);
    cells[Address] = visible(request.dvrAddress);
    cells[User] = visible(request.userName);
    if (request.method == Method::Standard)
        cells[Password] = request.passwordGiven ? u"given"_s : u"none"_s;
    cells[Command] = QString::fromLatin1(request.command);
    return cells;
}

QLabel* scaledLabel(const QString& text, double scale, bool bold) {
    auto* label = new QLabel(text);
    // A client's text is shown as it is, never read as markup.
    label->setTextFormat(Qt::PlainText);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(bold);
    label->setFont(font);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

RequestWindow::RequestWindow(const QString& endpoints, QWidget* parent)
    : QWidget(parent), headline_(scaledLabel(u"Waiting for a request"_s, 2.0, true)),
      details_(scaledLabel(u"No camera has been asked for yet."_s, 1.2, false)),
      list_(new QTreeWidget) {
    setWindowTitle(u"Tillsight Viewer"_s);
    list_->setColumnCount(ColumnCount);
    list_->setHeaderLabels({u"Received"_s, u"Via"_s, u"Camera"_s, u"Moment"_s, u"DVR address"_s,
                            u"User"_s, u"Password"_s, u"Command"_s});
    list_->setRootIsDecorated(false);
    list_->setAlternatingRowColors(true);
    list_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(headline_);
    layout->addWidget(details_);
    layout->addWidget(list_, 1);
    layout->addWidget(scaledLabel(endpoints, 1.0, false));
    resize(900, 420);
}

void RequestWindow::showRequest(const ViewerRequest& request) {
    headline_->setText(headlineOf(request));
    details_->setText(detailsOf(request));
    auto* item = new QTreeWidgetItem(list_, cellsOf(request));
    list_->setCurrentItem(item);
    list_->scrollToItem(item);
    showNormal();
    raise();
    activateWindow();
}

} // namespace viewer
