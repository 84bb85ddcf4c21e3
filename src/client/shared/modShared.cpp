#include "shared/modShared.h"

#include "core/AppGlobals.h"
#include "settings/modIni.h"
#include "shared/frmKestrelMessage.h"
#include "vb/VbError.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace modShared {

namespace {

MessageBoxHandler& messageBoxHandler() {
    static MessageBoxHandler handler;
    return handler;
}

SoundHandler& asteriskHandler() {
    static SoundHandler handler;
    return handler;
}

UrlHandler& mailLinkHandler() {
    static UrlHandler handler;
    return handler;
}

constexpr int kIconMask = 0x70;

struct ButtonCode {
    QMessageBox::StandardButton button;
    int code;
};

constexpr std::array kButtonCodes{
    ButtonCode{QMessageBox::Ok, vbOK},         ButtonCode{QMessageBox::Cancel, vbCancel},
    ButtonCode{QMessageBox::Abort, vbAbort},   ButtonCode{QMessageBox::Retry, vbRetry},
    ButtonCode{QMessageBox::Ignore, vbIgnore}, ButtonCode{QMessageBox::Yes, vbYes},
    ButtonCode{QMessageBox::No, vbNo},
};

QMessageBox::StandardButton buttonOf(int code) {
    for (const ButtonCode& entry : kButtonCodes)
        if (entry.code == code) return entry.button;
    return QMessageBox::Ok;
}

QMessageBox::Icon iconOf(int style) {
    switch (style & kIconMask) {
    case vbCritical:
        return QMessageBox::Critical;
    case vbQuestion:
        return QMessageBox::Question;
    case vbExclamation:
        return QMessageBox::Warning;
    case vbInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

int codeOf(int button) {
    for (const ButtonCode& entry : kButtonCodes)
        if (entry.button == button) return entry.code;
    return vbCancel; // closed without a button: only possible where Cancel is offered
}

// The box sizes itself to its text alone; a short text under a long title would cut the title.
void makeRoomForTitle(QMessageBox& box) {
    auto* grid = qobject_cast<QGridLayout*>(box.layout());
    if (!grid) return;
    grid->addItem(new QSpacerItem(fncTitleBarWidth(box.windowTitle()), 0), grid->rowCount(), 0, 1,
                  grid->columnCount());
}

int showMessageBox(const QString& text, const QString& title, int style) {
    QMessageBox box(iconOf(style), title, text, QMessageBox::NoButton, fncOwnerWindow());
    makeRoomForTitle(box);
    for (core::MsgBoxResult code : core::buttonsOf(style))
        box.addButton(buttonOf(code));
    box.setDefaultButton(buttonOf(core::defaultButtonOf(style)));
    return codeOf(box.exec());
}

void setStaysOnTop(QWidget* view, bool onTop) {
    // Only a window has a layer; a view living inside another window has none of its own.
    if (!view || !view->isWindow()) return;
    if (view->windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) return;
    const Qt::WindowFlags flags = view->windowFlags() ^ Qt::WindowStaysOnTopHint;
    if (view->isVisible() && view->windowHandle()) {
        // Changing the widget's flags would hide and re-create its window; telling the window
        // system directly keeps the window where it is, as it is.
        view->overrideWindowFlags(flags);
        view->windowHandle()->setFlags(flags);
        return;
    }
    // A hidden window is re-created on its next show anyway; only a window that has been on
    // screen has a place worth keeping.
    const bool placed = view->testAttribute(Qt::WA_WState_Created);
    const QRect geometry = view->geometry();
    view->setWindowFlags(flags);
    if (placed) view->setGeometry(geometry);
}

void selectAll(QWidget* control) {
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
        edit->setSelection(0, static_cast<int>(edit->text().size()));
    } else if (auto* combo = qobject_cast<QComboBox*>(control)) {
        if (combo->lineEdit()) selectAll(combo->lineEdit());
    } else if (auto* spin = qobject_cast<QAbstractSpinBox*>(control)) {
        spin->selectAll();
    } else if (auto* text = qobject_cast<QTextEdit*>(control)) {
        text->selectAll();
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(control)) {
        plain->selectAll();
    }
}

} // namespace

void subShowMessage(const QString& message, const QString& banner) {
    frmKestrelMessage* view = frmKestrelMessage::instance();
    // Only a closed view moves: an open one stays where the user sees it.
    if (!view->isVisible()) view->setOwner(fncOwnerWindow());
    view->setBanner(banner);
    view->setMessage(message);
    view->show();
}

int fncMessageBox(const QString& text, const QString& title, int style) {
    const QString shownTitle = title.isEmpty() ? core::applicationTitle() : title;
    if (messageBoxHandler()) return messageBoxHandler()(text, shownTitle, style);
    return showMessageBox(text, shownTitle, style);
}

QWidget* fncOwnerWindow() {
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    if (QWidget* active = QApplication::activeWindow()) return active;
    // The program may not have the focus (another program's window was clicked last); its
    // windows still need their boxes in front of them.
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->isVisible() && !window->windowFlags().testFlag(Qt::ToolTip) &&
            window->windowType() != Qt::Popup)
            return window;
    return nullptr;
}

int fncTitleBarWidth(const QString& title) {
    // Window managers draw titles in a font of their own, often bold; the icon and the three
    // buttons are each about as wide as the bar is high.
    QFont font = QApplication::font();
    font.setBold(true);
    const QFontMetrics metrics(font);
    const int buttonWidth = metrics.height() + 10;
    return metrics.horizontalAdvance(title) + 4 * buttonWidth + 16;
}

QSize fncFittedSize(const QWidget* view, QSize designed) {
    QSize needed = designed.expandedTo(view->minimumSizeHint());
    needed.setWidth(std::max(needed.width(), fncTitleBarWidth(view->windowTitle())));
    return needed;
}

void subShowHourglass() {
    if (QApplication::overrideCursor())
        QApplication::changeOverrideCursor(Qt::WaitCursor);
    else
        QApplication::setOverrideCursor(Qt::WaitCursor);
}

void subShowRunTimeError(int number, const QString& description) {
    fncMessageBox(u"Run-time error '%1':\n\n%2"_s.arg(number).arg(description),
                  core::applicationTitle(), vbCritical);
}

void subPlayAsterisk() {
    if (asteriskHandler())
        asteriskHandler()();
    else
        QApplication::beep();
}

void subEnableControls(QWidget* view, bool enabled) {
    if (!view) return;
    for (QWidget* control : view->findChildren<QWidget*>())
        control->setEnabled(enabled);
}

void subMaskAsPassword(QLineEdit* box) {
    box->setEchoMode(QLineEdit::Password);
    box->setStyleSheet(u"lineedit-password-character: 42"_s); // "*"
}

void subFormOnTop(QWidget* view) {
    setStaysOnTop(view, true);
}

void subFormNotOnTop(QWidget* view) {
    setStaysOnTop(view, false);
}

void subSelectAllText() {
    QWidget* control = QApplication::focusWidget();
    if (!control || !control->isVisible()) return;
    if (!(control->focusPolicy() & Qt::TabFocus))
        control->setFocusPolicy(
            static_cast<Qt::FocusPolicy>(control->focusPolicy() | Qt::TabFocus));
    selectAll(control);
}

void subSendMailLink(QWidget* owner, const QString& address, QString subject, QString body) {
    Q_UNUSED(owner); // the platform's mail program opens on its own
    body = fncReplace(body, u" "_s, u"%20"_s);
    body = fncReplace(body, u"\r\n"_s, u"%0D%0A"_s);
    subject = fncReplace(subject, u" "_s, u"%20"_s);
    const QString link = u"mailto:"_s + address + u"?subject="_s + subject + u"&body="_s + body;
    if (mailLinkHandler())
        mailLinkHandler()(link);
    else
        QDesktopServices::openUrl(QUrl::fromEncoded(link.toUtf8()));
}

MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler) {
    return std::exchange(messageBoxHandler(), std::move(handler));
}

SoundHandler setAsteriskHandler(SoundHandler handler) {
    return std::exchange(asteriskHandler(), std::move(handler));
}

UrlHandler setMailLinkHandler(UrlHandler handler) {
    return std::exchange(mailLinkHandler(), std::move(handler));
}

void subSaveOption(const QString& section, const QString& key, const QString& value) {
    try {
        settings::subWriteIniString(section, key, value, settings::fncIniFile());
    } catch (const vb::VbError& error) {
        subShowRunTimeError(error.number(), error.description());
    }
}

QPushButton* layOutWithOkButton(QDialog* dialog, QWidget* body) {
    auto* ok = new QPushButton(QStringLiteral("OK"), dialog);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    auto* buttons = new QDialogButtonBox(dialog);
    buttons->addButton(ok, QDialogButtonBox::AcceptRole);
    auto* layout = new QVBoxLayout(dialog);
    layout->addWidget(body, 1);
    layout->addWidget(buttons);
    return ok;
}

} // namespace modShared
