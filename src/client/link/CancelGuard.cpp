#include "link/CancelGuard.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QShortcutEvent>

CancelGuard::CancelGuard(QAbstractButton* cancelButton, QObject* parent)
    : QObject(parent), cancelButton_(cancelButton) {
    cancelButton_->setEnabled(false);
    connect(cancelButton_, &QAbstractButton::clicked, this, &CancelGuard::cancel);
}

void CancelGuard::beginWait(sitelink::SiteLink& link) {
    if (waits_++ > 0) return;
    link_ = &link;
    qApp->installEventFilter(this);
    cancelButton_->setEnabled(true);
}

void CancelGuard::endWait(sitelink::SiteLink&) {
    if (--waits_ > 0) return;
    qApp->removeEventFilter(this);
    cancelButton_->setEnabled(false);
    link_ = nullptr;
}

void CancelGuard::cancel() {
    if (link_) link_->Cancel();
}

bool CancelGuard::eventFilter(QObject* watched, QEvent* event) {
    return swallows(watched, event) || QObject::eventFilter(watched, event);
}

bool CancelGuard::swallows(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) cancel();
        return true;
    case QEvent::Shortcut:
        if (static_cast<QShortcutEvent*>(event)->key() == QKeySequence(Qt::Key_Escape)) cancel();
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        // A window hands a click on to the widget under it, where it is judged again.
        return watched->isWidgetType() && watched != cancelButton_;
    case QEvent::Close:
        // The window manager's close would take the window away under the wait.
        return event->spontaneous();
    case QEvent::KeyRelease:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::InputMethod:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return true;
    default:
        return false;
    }
}
