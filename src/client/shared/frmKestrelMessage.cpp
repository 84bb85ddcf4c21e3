#include "shared/frmKestrelMessage.h"

#include "core/AppGlobals.h"
#include "shared/modShared.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDesignedWidth = 320;

} // namespace

frmKestrelMessage* frmKestrelMessage::instance() {
    static QPointer<frmKestrelMessage> shared;
    if (!shared) shared = new frmKestrelMessage();
    return shared;
}

frmKestrelMessage::frmKestrelMessage() : lblMessage_(new QLabel(u"Error"_s, this)) {
    setObjectName(u"frmKestrelMessage"_s);
    lblMessage_->setObjectName(u"lblMessage"_s);
    lblMessage_->setWordWrap(true);
    lblMessage_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    cmdOK_ = modShared::layOutWithOkButton(this, lblMessage_);
    setModal(false);
    setMinimumWidth(kDesignedWidth);
}

void frmKestrelMessage::setOwner(QWidget* owner) {
    if (owner == this || owner == parentWidget()) return;
    setParent(owner, windowFlags());
}

QString frmKestrelMessage::shownMessage() const {
    return lblMessage_->text();
}

// Opening and closing happen here rather than in show and hide events: placing the window on
// top changes its flags, which must happen while it is hidden, before the window system sees it.
void frmKestrelMessage::setVisible(bool visible) {
    if (visible == isVisible()) {
        QDialog::setVisible(visible);
        return;
    }
    if (visible) {
        load();
        QDialog::setVisible(true);
    } else {
        QDialog::setVisible(false);
        unload();
    }
}

void frmKestrelMessage::load() {
    modShared::subFormOnTop(this);
    setWindowTitle(banner_.isEmpty() ? core::applicationTitle() : banner_);
    lblMessage_->setText(message_);
    resize(modShared::fncFittedSize(this, sizeHint()));
}

void frmKestrelMessage::unload() {
    modShared::subFormNotOnTop(this);
    banner_.clear();
    message_.clear();
}
