#pragma once

// The small procedures every view shares: the message view, message boxes, the asterisk sound,
// always-on-top placement, enabling a view's controls, select-all on focus and mail links.

#include "core/Feedback.h"
#include "recordset/Recordset.h"
#include "vb/Strings.h"

#include <QSize>
#include <QString>
#include <functional>
#include <memory>

class QDialog;
class QLineEdit;
class QPushButton;
class QWidget;

namespace modShared {

// The message box's codes are the core's, so a view and the core ask alike.
using namespace core::msgbox;

// Message first, banner second: the order callers have always used.
void subShowMessage(const QString& message, const QString& banner);

// An empty title becomes the application title. Shown over fncOwnerWindow(), so a window
// manager keeps it in front of that window (always-on-top ones included). Returns the button
// pressed.
int fncMessageBox(const QString& text, const QString& title, int style);

// The window a box or dialog opened now belongs over: the modal dialog in front, else the
// active window, else the first visible window. None only while no window is shown.
QWidget* fncOwnerWindow();

// The smallest width that shows `title` whole in a title bar, with room for the icon and the
// window buttons beside it.
int fncTitleBarWidth(const QString& title);
// The size a view or dialog drawn for `designed` needs with this system's font: at least the
// designed size, what its layout needs and what its title needs.
QSize fncFittedSize(const QWidget* view, QSize designed);

// The hourglass pointer. It is one setting, as the screen's pointer is: an hourglass left by a
// failed step is replaced, not stacked, so the next step that ends well clears it with one
// restore.
void subShowHourglass();

// The language's run-time error box: "Run-time error 'N':", a blank line and the description,
// under the application title with the critical icon.
void subShowRunTimeError(int number, const QString& description);

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

// Makes the box a password box that shows each character as "*", whatever the style's own mark.
void subMaskAsPassword(QLineEdit* box);

// Enables or disables every control of the view; a control that refuses is skipped.
void subEnableControls(QWidget* view, bool enabled);

using rs::fncHasRecords;
// Writes an option dialog's setting to the settings file. The setting already holds for this run;
// when the file cannot take it the user is told as the run-time tells of an error, and the program
// goes on, since nothing else is lost by it.
void subSaveOption(const QString& section, const QString& key, const QString& value);

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
