#pragma once

// The non-modal message view: one shared instance, always on top while it is open. Banner and
// Message are read when the view opens; values set while it is open wait for the next opening.

#include <QDialog>

class QLabel;
class QPushButton;

class frmKestrelMessage : public QDialog {
    Q_OBJECT
public:
    // The shared instance, made on first use (and again after someone deleted it).
    static frmKestrelMessage* instance();

    QString Banner() const { return banner_; }
    void setBanner(const QString& banner) { banner_ = banner; }
    QString Message() const { return message_; }
    void setMessage(const QString& message) { message_ = message; }
    // The window the view opens over, so that it never hides behind it; it goes with that
    // window. Takes effect at the next opening.
    void setOwner(QWidget* owner);

    // The text the label shows now (what the user reads).
    QString shownMessage() const;

    void setVisible(bool visible) override;

private:
    frmKestrelMessage();
    void load();
    void unload();

    QString banner_;
    QString message_;
    QLabel* lblMessage_;
    QPushButton* cmdOK_;
};
