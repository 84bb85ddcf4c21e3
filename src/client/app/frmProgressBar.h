#pragma once

// A small always-on-top window with one progress bar, for work that has no view of its own.

#include <QDialog>

class QProgressBar;

class frmProgressBar : public QDialog {
    Q_OBJECT
public:
    explicit frmProgressBar(QWidget* parent = nullptr);

    QProgressBar* ProgressBar() const { return bar_; }
    // Moves the bar to `percent` and shows the number followed by " %" on it.
    void setPercent(int percent);

private:
    QProgressBar* bar_;
};
