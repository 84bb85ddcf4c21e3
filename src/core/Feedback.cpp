#include "core/Feedback.h"

#include <cstdio>

namespace core {

QList<MsgBoxResult> buttonsOf(int style) {
    switch (style & 0x0F) {
    case vbOKCancel:
        return {vbOK, vbCancel};
    case vbAbortRetryIgnore:
        return {vbAbort, vbRetry, vbIgnore};
    case vbYesNoCancel:
        return {vbYes, vbNo, vbCancel};
    case vbYesNo:
        return {vbYes, vbNo};
    case vbRetryCancel:
        return {vbRetry, vbCancel};
    default:
        return {vbOK};
    }
}

namespace {

void writeLine(const QString& text) {
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

} // namespace

MsgBoxResult defaultButtonOf(int style) {
    const QList<MsgBoxResult> buttons = buttonsOf(style);
    const qsizetype index = (style & 0x300) / vbDefaultButton2;
    // A default past the last button leaves the first one in focus.
    return index < buttons.size() ? buttons[index] : buttons.front();
}

void StandardErrorFeedback::showMessage(const QString& message, const QString& banner) {
    writeLine(banner.isEmpty() ? message : banner + QStringLiteral(": ") + message);
}

int StandardErrorFeedback::messageBox(const QString& text, const QString& title, int style) {
    writeLine(title.isEmpty() ? text : title + QStringLiteral(": ") + text);
    return defaultButtonOf(style);
}

} // namespace core
