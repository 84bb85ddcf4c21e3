#pragma once

// The view every report starts from: Fixed Reports, Power Search criteria and the Daily Summary,
// one tab each, with the date range shared by the first two. Its controls stay disabled until a
// full connect enables them and runs subInitForm.
//
// The view's procedures are spread over several files by subject: frmPowerSearch.cpp (the view,
// its controls and their behaviours), frmPowerSearchQuery.cpp (the query text and the run),
// frmPowerSearchDates.cpp (the date ranges), frmPowerSearchSaved.cpp (saved searches) and
// frmPowerSearchFixed.cpp (the Fixed Reports list and run).

#include "core/SearchCriteria.h"
#include "recordset/Recordset.h"

#include <QString>
#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTabWidget;
class QBoxLayout;
class DateField;
namespace client {
class ViewHost;
}

class frmPowerSearch : public QWidget {
    Q_OBJECT
public:
    explicit frmPowerSearch(client::ViewHost& host, QWidget* parent = nullptr);
    ~frmPowerSearch() override;

    // Called by the full connect once the lookups are loaded and the controls enabled.
    void subInitForm();
    // Closes the view for the program (at exit, "Close All"); the user's own close is refused.
    void unload();

    // Criteria.
    void subResetCriteria();
    // Marks the criteria as no longer those of a saved search (unless a restore is under way).
    void subMarkUnsaved();

    // The criteria the controls hold, and the controls set to hold the given criteria.
    core::SearchCriteria fncCriteria() const;
    void subApplyCriteria(const core::SearchCriteria& criteria);

    // Query text, built from the controls; the WHERE, time, GROUP and ORDER builders add title
    // pieces to mstrSearchTitle.
    QString fncSelectClause() const;
    QString fncFromClause() const;
    QString fncWhereClause();
    QString fncTimeCriteria();
    QString fncGroupClause();
    QString fncOrderClause();
    void subAddToTitle(const QString& piece);
    void subRunPowerSearch();

    // Date ranges.
    void optDateTimeRange_Click(int index);
    QString fncDateRangeText() const;
    void subEnableCustomRange();
    void subDisableCustomRange();
    // xDay less its weekday's distance from Sunday (Sunday is day 1 whatever the locale); the time
    // of day is kept.
    static double fncGetPreviousSunday(double xDay);
    // The present moment the ranges and the target date start from; tests fix it. Returns the
    // previous function; an empty one restores the system clock.
    using NowFunction = std::function<double()>;
    static NowFunction setNowFunction(NowFunction now);
    static double fncNow();

    // Saved searches.
    void subLoadSavedSearches();
    void subRestoreSearch(std::int32_t id, const std::shared_ptr<rs::Recordset>& records);
    void cmdSaveQuery_Click();
    void cmdDeleteQuery_Click();
    // Seam for tests: answers Save Search's input box (prompt, caption, default text) instead of
    // asking. Returns the previous handler; an empty handler restores the real input box.
    using InputBoxHandler = std::function<QString(const QString& prompt, const QString& title,
                                                  const QString& defaultText)>;
    static InputBoxHandler setInputBoxHandler(InputBoxHandler handler);

    // Fixed Reports.
    void subLoadFixedReports();
    void subRunFixedReport();

    // cmdRun: runs what the selected tab offers.
    void cmdRun_Click();

    // State.
    QString mstrSearchTitle;
    bool mblnBusy = false;
    bool mblnRestoring = false;
    std::shared_ptr<rs::Recordset> grsPowerSearches;

    // Controls, named as the view's code names them.
    QTabWidget* tabReports = nullptr;
    std::array<QWidget*, 3> elaTab{};
    QListWidget* lstFixedReports = nullptr;
    QCheckBox* chkLimitToCritical = nullptr;
    QGroupBox* fraSearchType = nullptr;
    std::array<QRadioButton*, 3> optSearchType{};
    QComboBox* cboItem = nullptr;
    QComboBox* cboAction = nullptr;
    QCheckBox* chkNotActionCode = nullptr;
    QComboBox* cboClerk = nullptr;
    QComboBox* cboRegister = nullptr;
    QComboBox* cboModifier = nullptr;
    QLineEdit* txtPrice = nullptr;
    QSpinBox* spnValue = nullptr;
    QCheckBox* chkAbsValue = nullptr;
    QGroupBox* fraSavedSearches = nullptr;
    QComboBox* cboReportTitle = nullptr;
    QPushButton* cmdSaveQuery = nullptr;
    QPushButton* cmdDeleteQuery = nullptr;
    QGroupBox* elaInterval = nullptr;
    std::array<QRadioButton*, 10> optDateTimeRange{};
    DateField* fdtStartTime = nullptr;
    DateField* fdtEndTime = nullptr;
    DateField* fdtDailySummary = nullptr;
    QPushButton* cmdRun = nullptr;
    QPushButton* cmdReset = nullptr;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Building the view (frmPowerSearch.cpp).
    void subBuildFixedReportsTab();
    void subBuildPowerSearchTab();
    void subBuildDailySummaryTab();
    void subBuildInterval();
    void subConnectBehaviours();
    // The view's fixed size: what its largest tab needs, and never less than designed.
    QSize fncFittedViewSize();
    QComboBox* fncAddLookup(const QString& name);
    // Binds a lookup to its combo; nullptr leaves the combo without a list.
    void subBindLookup(QComboBox* combo, const std::shared_ptr<rs::Recordset>& records);
    // Sizes every shown column of the combo's drop-down to its contents.
    void subFitColumns(QComboBox* combo);
    // The register list shows the numbers only.
    void subHideRegisterDetails();
    // Sets the saved-search box's text and clears its selection.
    void subSetReportTitleText(const QString& text);

    // Event handlers.
    void tabReports_Click(int index);
    void cboReportTitle_Click(int index);
    void txtPrice_LostFocus();
    void spnValue_Change(int steps);
    void fdtStartTime_Click();
    void fdtEndTime_Click();
    void fdtDailySummary_Click();
    // Tab 2's Generate Report: opens the Daily Summary view for the target date.
    void subOpenDailySummary();

    // The date dialog for one field: the picked moment, or nothing when it was cancelled.
    std::optional<double> fncPickDate(const QString& banner, double value, bool hideClock);

    client::ViewHost& host_;
    bool unloading_ = false;
    QSize viewSize_; // fixed: the designed size, or what the system font needs when more
    // Where the shared date controls and Generate Report sit on each tab.
    std::array<QBoxLayout*, 2> intervalSlot_{};
    std::array<QBoxLayout*, 3> runSlot_{};
};
