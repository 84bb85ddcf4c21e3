#pragma once

// The About view: the application title and the program's version, on top of every window.

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);

    // The text as made, line breaks as carriage return and line feed.
    QString aboutText() const;

private:
    void fillText();

    QString text_;
    QPlainTextEdit* txtAbout_;
    QPushButton* cmdOK_;
};
