#pragma once

// What the core needs from whoever shows its work: a sign that a long operation is under way, and
// a place for messages and questions. On screen these are the hourglass, the message view and
// message boxes; a program with no display supplies its own.

#include <QList>
#include <QString>

namespace core {

// Button codes and style flags of a message box, numbered as the classic runtime numbers them.
// The low four bits choose the buttons, the next three the icon, the next two the default button.
inline namespace msgbox {
enum MsgBoxStyle : int {
    vbOKOnly = 0,
    vbOKCancel = 1,
    vbAbortRetryIgnore = 2,
    vbYesNoCancel = 3,
    vbYesNo = 4,
    vbRetryCancel = 5,
    vbCritical = 16,
    vbQuestion = 32,
    vbExclamation = 48,
    vbInformation = 64,
    vbDefaultButton1 = 0,
    vbDefaultButton2 = 256,
    vbDefaultButton3 = 512,
};
enum MsgBoxResult : int {
    vbOK = 1,
    vbCancel = 2,
    vbAbort = 3,
    vbRetry = 4,
    vbIgnore = 5,
    vbYes = 6,
    vbNo = 7
};
} // namespace msgbox

// The buttons of a message box of `style`, left to right.
QList<MsgBoxResult> buttonsOf(int style);
// The button it has in focus when it opens: what pressing Enter answers.
MsgBoxResult defaultButtonOf(int style);

class BusyIndicator {
public:
    virtual ~BusyIndicator() = default;
    // Calls nest: the sign goes when every begin has had its end.
    virtual void beginBusy() = 0;
    virtual void endBusy() = 0;
};

class MessageSink {
public:
    virtual ~MessageSink() = default;
    // A message that needs no answer, under a banner naming where it came from.
    virtual void showMessage(const QString& message, const QString& banner) = 0;
    // A message box with the classic style codes; returns the button pressed.
    virtual int messageBox(const QString& text, const QString& title, int style) = 0;
    // The short notice sound that accompanies the link's events.
    virtual void playAsterisk() = 0;
};

// For a program with no display: messages go to standard error, and every question is answered
// with the default button of its box, as a user pressing Enter would.
class StandardErrorFeedback : public BusyIndicator, public MessageSink {
public:
    void beginBusy() override {}
    void endBusy() override {}
    void showMessage(const QString& message, const QString& banner) override;
    int messageBox(const QString& text, const QString& title, int style) override;
    void playAsterisk() override {}
};

// Busy for as long as it lives, so every way out of a scope ends the sign.
class BusyScope {
public:
    explicit BusyScope(BusyIndicator& indicator) : indicator_(indicator) { indicator_.beginBusy(); }
    ~BusyScope() { indicator_.endBusy(); }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    BusyIndicator& indicator_;
};

} // namespace core
