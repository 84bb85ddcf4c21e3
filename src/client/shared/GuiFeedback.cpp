#include "shared/GuiFeedback.h"

#include "shared/modShared.h"

#include <QApplication>

namespace client {

void GuiFeedback::beginBusy() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

void GuiFeedback::endBusy() {
    QApplication::restoreOverrideCursor();
}

void GuiFeedback::showMessage(const QString& message, const QString& banner) {
    modShared::subShowMessage(message, banner);
}

int GuiFeedback::messageBox(const QString& text, const QString& title, int style) {
    return modShared::fncMessageBox(text, title, style);
}

void GuiFeedback::playAsterisk() {
    modShared::subPlayAsterisk();
}

} // namespace client
