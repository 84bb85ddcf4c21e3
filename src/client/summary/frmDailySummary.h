#pragma once

// The Daily Summary view: one day's summary document in a browser, printed, exported as an HTML
// file, and its day's counts or each clerk's averages charted. Opened, never modal, from the
// search view's Daily Summary tab; several may be open, each with a summary of its own. The
// summary is built once, as the view loads.

#include <QWidget>
#include <memory>

class QPushButton;
class QTextBrowser;
class clsDailySummary;

namespace client {
class ViewHost;
}

class frmDailySummary : public QWidget {
    Q_OBJECT
public:
    // The host (never none) gives the session the summary is built on and opens the charts.
    explicit frmDailySummary(client::ViewHost* host, QWidget* parent = nullptr);
    ~frmDailySummary() override;

    // Set before the view loads; a date before 1900 (none given) becomes yesterday at this time.
    double ReportDate() const { return mdtReportDate; }
    void setReportDate(double date) { mdtReportDate = date; }

    // Builds the summary and shows its document, with the hourglass up meanwhile. Showing an
    // unloaded view loads it first.
    void subLoad();

    // None before the view loads and after it closes.
    const clsDailySummary* summary() const { return summary_.get(); }
    QTextBrowser* Web() const { return web_; }

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QPushButton* addButton(const QString& name, const QString& caption);
    void subShowDocument();
    void cmdPrint_Click();
    void cmdExport_Click();
    void cmdChartCounts_Click();
    void cmdChartAvgByClerk_Click();

    client::ViewHost& host_;
    std::unique_ptr<clsDailySummary> summary_;
    double mdtReportDate = 0;

    QTextBrowser* web_;
    QWidget* eframe_;
};
