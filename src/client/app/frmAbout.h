#pragma once

// The About view: the application title and the program's version, on top of every window.

#include <QDialog>

class QPlainTextEdit;
class QPushButton;
namespace core {
class Session;
}

class frmAbout : public QDialog {
    Q_OBJECT
public:
    // A failure while the text is made goes to the session's log, when there is a session.
    explicit frmAbout(core::Session* session = nullptr, QWidget* parent = nullptr);

    // The text as made, line breaks as carriage return and line feed.
    QString aboutText() const;

private:
    void fillText();

    core::Session* session_;
    QString text_;
    QPlainTextEdit* txtAbout_;
    QPushButton* cmdOK_;
};
