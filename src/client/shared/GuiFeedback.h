#pragma once

// The core's feedback on screen: the hourglass while it works, its messages in the message view
// and its questions in message boxes, through the shared procedures (and so through their seams).

#include "core/Feedback.h"

namespace client {

class GuiFeedback : public core::BusyIndicator, public core::MessageSink {
public:
    void beginBusy() override;
    void endBusy() override;
    void showMessage(const QString& message, const QString& banner) override;
    int messageBox(const QString& text, const QString& title, int style) override;
    void playAsterisk() override;
};

} // namespace client
