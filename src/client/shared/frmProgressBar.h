#pragma once

// A small always-on-top window with one progress bar, for work that has no view of its own (the
// report view's spreadsheet export).

#include <QDialog>

class QProgressBar;

class frmProgressBar : public QDialog {
    Q_OBJECT
public:
    explicit frmProgressBar(QWidget* parent = nullptr);

    QProgressBar* ProgressBar() const { return bar_; }
    // Moves the bar to `percent` and shows the number followed by " %" on it.
    void setPercent(int percent);
    // The text shown on the bar.
    void setCaption(const QString& caption);

private:
    QProgressBar* bar_;
};
