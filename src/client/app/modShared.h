#pragma once

// The small procedures every view shares: status panels, the message view, message boxes, the
// asterisk sound, always-on-top placement, select-all on focus and mail links.

#include "recordset/Recordset.h"
#include "vb/Strings.h"

#include <QString>
#include <functional>
#include <memory>

class QDialog;
class QPushButton;
class QWidget;

namespace modShared {

// Button codes and style flags of a message box, numbered as the classic runtime numbers them.
// The low four bits choose the buttons, the next three the icon, the next two the default button.
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

// Empty text hides the panel and clears its tooltip; other text shows the panel with the text
// and one trailing blank, the tooltip without it.
void subSetStatusPanel(const QString& key, const QString& text);

// Message first, banner second: the order callers have always used.
void subShowMessage(const QString& message, const QString& banner);

// An empty title becomes the application title. Returns the button pressed.
int fncMessageBox(const QString& text, const QString& title, int style);

// The platform's "information" sound, not waited for.
void subPlayAsterisk();
// In and out of the always-on-top layer; the window keeps its place and size.
void subFormOnTop(QWidget* view);
void subFormNotOnTop(QWidget* view);
// Selects the whole text of the focused box. A box reached this way becomes a tab stop.
void subSelectAllText();
// Opens the mail program on "mailto:" with blanks and line breaks of the subject and body
// percent-encoded; the address is passed as it is.
void subSendMailLink(QWidget* owner, const QString& address, QString subject, QString body);

using rs::fncHasRecords;
// The small views' common frame: `body` over a lone default "OK" button (named cmdOK) that
// accepts the dialog. Returns the button.
QPushButton* layOutWithOkButton(QDialog* dialog, QWidget* body);

using vb::fncReplace;

// Seams for tests: what a message box answers, and what is done with the asterisk sound and a
// mail link. Each returns the previous handler; an empty handler restores the real behaviour.
using MessageBoxHandler = std::function<int(const QString& text, const QString& title, int style)>;
MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler);
using SoundHandler = std::function<void()>;
SoundHandler setAsteriskHandler(SoundHandler handler);
using UrlHandler = std::function<void(const QString& url)>;
UrlHandler setMailLinkHandler(UrlHandler handler);

} // namespace modShared
