#pragma once

// The chart view: one result set as 3-D bars the user turns with the mouse, saves as a bitmap and
// prints. Opened, never modal, from a report view and from the Daily Summary; each opener makes a
// new view, sets ChartTitle and Recordset, and shows it. The chart is filled once, as it loads.

#include "chart/ChartData.h"
#include "recordset/Recordset.h"

#include <QImage>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <memory>

class Q3DBars;
class QLabel;
class QPushButton;
namespace chart {
class BarChart;
}

namespace client {
class ViewHost;
}

class frmChart : public QWidget {
    Q_OBJECT
public:
    // The host is where the view logs its failures; a view without one logs nothing.
    explicit frmChart(client::ViewHost* host = nullptr, QWidget* parent = nullptr);
    ~frmChart() override;

    QString ChartTitle() const { return mstrChartTitle; }
    void setChartTitle(const QString& title) { mstrChartTitle = title; }
    // Shared with the opener, never copied; released when the view closes.
    const std::shared_ptr<rs::Recordset>& Recordset() const { return mrsRecordset; }
    void setRecordset(std::shared_ptr<rs::Recordset> records) { mrsRecordset = std::move(records); }

    // Fills the chart from Recordset, from its first row.
    void subChartCreate();

    // What the view does as it loads: caption, counts, data. A set of more than 32,767 rows
    // overflows the count: the run-time's box for error 6 is shown and false returned, and the
    // view must then not be shown. Showing an unloaded view loads it first.
    bool fncLoad();

    // The chart as it is now seen: header, margins and bars.
    QImage chartImage() const;

    QSize sizeHint() const override { return {720, 540}; }

    chart::BarChart& chart() const { return *chart_; }
    QWidget* chtChart() const { return chtChart_; }
    QWidget* plotArea() const { return plot_; }

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void cmdPrint_Click();

private:
    QPushButton* addButton(const QString& name, const QString& caption);
    void subResize();
    void cmdExport_Click();

    std::shared_ptr<rs::Recordset> mrsRecordset;
    QString mstrChartTitle;
    chart::ChartShape shape_;
    bool mblnLoaded = false;

    QWidget* chtChart_;
    QLabel* lblHeader_;
    Q3DBars* graph_;
    QWidget* plot_;
    chart::BarChart* chart_;
    QWidget* eframe_;
    QPushButton* cmdPrint_;
    client::ViewHost* host_ = nullptr;
    QPushButton* cmdExport_;
    QPushButton* cmdExit_;
};
