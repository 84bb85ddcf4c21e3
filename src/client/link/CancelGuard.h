#pragma once

// Keeps the user to the Cancel while the link waits for the site: the link lets input through
// then, and this filter, installed on the whole application for the wait, swallows every key,
// click and wheel turn but Escape and a click on the Cancel button, both of which cancel. Nothing
// else can start (a second search, a menu, a window closed under the wait).

#include "sitelink/SiteLink.h"

#include <QObject>
#include <QPointer>

class QAbstractButton;

class CancelGuard : public QObject, public sitelink::InputGuard {
    Q_OBJECT
public:
    // The button is enabled only while a wait lasts.
    CancelGuard(QAbstractButton* cancelButton, QObject* parent);

    void beginWait(sitelink::SiteLink& link) override;
    void endWait(sitelink::SiteLink& link) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void cancel();
    bool swallows(QObject* watched, QEvent* event);

    QAbstractButton* cancelButton_;
    QPointer<sitelink::SiteLink> link_;
    int waits_ = 0; // a wait may begin inside another (a timer's call during a read)
};
