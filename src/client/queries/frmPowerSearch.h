#pragma once

// The view every report starts from: Fixed Reports, Power Search criteria and the Daily Summary,
// one tab each. Its controls stay disabled until a full connect enables them.

#include <QWidget>

class QPushButton;
class QTabWidget;

class frmPowerSearch : public QWidget {
    Q_OBJECT
public:
    explicit frmPowerSearch(QWidget* parent = nullptr);

    // Called by the full connect once the lookups are loaded.
    void subInitForm();
    // Closes the view for the program (at exit, "Close All"); the user's own close is refused.
    void unload();

    QTabWidget* tabReports() const { return tabReports_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QTabWidget* tabReports_;
    QPushButton* cmdRun_;
    QPushButton* cmdReset_;
    bool unloading_ = false;
};
