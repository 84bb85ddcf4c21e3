#pragma once

// The child view that shows one result set in a grid: every report, search result and the
// remote log opens one. The user groups and sorts by dragging column headers into the band, sizes
// the columns, and goes on from a row to its video. The view never changes the rows; it only
// re-sorts the set it was given.

#include "recordset/Recordset.h"

#include <QPointer>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <memory>
#include <optional>

class QLabel;
class QPushButton;
class QStatusBar;
class ReportGrid;
class clsExcel;
class frmProgressBar;

namespace client {
class ViewHost;
}
namespace output {
struct PrintedReport;
}
namespace dvr {
class DvrMethod;
struct CameraAssignment;
} // namespace dvr
namespace output {
struct ShownReport;
}

class frmReportOutput : public QWidget {
    Q_OBJECT
public:
    // The host is where the view logs its failures, finds the video viewer and the session a
    // spreadsheet export works through; a view without one logs nothing, reaches the viewer where
    // it listens by default and exports no spreadsheet.
    explicit frmReportOutput(client::ViewHost* host = nullptr, QWidget* parent = nullptr);
    ~frmReportOutput() override;

    // Set by the creator before the view is first shown; the view reads them as it opens.
    const std::shared_ptr<rs::Recordset>& Recordset() const { return mrsRecordset; }
    void setRecordset(std::shared_ptr<rs::Recordset> records);
    QString ReportTitle() const { return mstrReportTitle; }
    void setReportTitle(const QString& title);
    // The view keeps a clone of its own, which the DVR search filters; the creator's table never
    // changes.
    void setReg2CamTable(const std::shared_ptr<rs::Recordset>& table);
    std::int16_t GroupFirstN() const { return mintGroupFirstN; }
    void setGroupFirstN(std::int16_t count) { mintGroupFirstN = count; }

    // A set with rows and at least two fields, none after the first of them text (type codes
    // 129, 130 and 202; other texts pass).
    static bool fncIsChartable(const std::shared_ptr<rs::Recordset>& records);

    // Sorts the set by the grouped columns in group order, each with its tag:
    // "[Date] ASC, [Clerk] ASC"; a column with an empty tag gives "[Reg]".
    void subApplyGroupSort();

    QSize sizeHint() const override { return {760, 480}; }

    ReportGrid* DataList() const { return grid_; }
    // Status panel 1: the record count.
    QString statusText() const;
    // When the view opened: short date, a blank, "HH:nn:ss".
    QString Generated() const { return mstrGenerated; }

protected:
    // The DVR search for the grid's current row. The button checks that a row is current first;
    // a double-click on a row does not.
    virtual void subDVRSearch();

    bool dvrCapable() const { return mblnDVRCapable; }
    std::int16_t dvrMethod() const { return mintDVRMethod; }
    const std::shared_ptr<rs::Recordset>& reg2CamTable() const { return mrsReg2Cam; }

    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QPushButton* addButton(const QString& name, const QString& caption,
                           const QString& toolTip = QString());
    void formLoad();
    void subShowRecordCount();
    void subApplyGroupFirstN();
    // The link to the local video viewer, by mintDVRMethod: made at load for a DVR-capable view,
    // closed at unload.
    void subPrepareDVRLink();
    void subCloseDVRLink();
    void subResize();

    static std::optional<dvr::CameraAssignment> fncCameraAt(const rs::Recordset& table);
    void subShowRowCamera();
    // Raises 3021 for a row the set does not have (no current row is one).
    double fncTransactionTime(std::size_t row) const;

    void cmdChart_Click();
    void cmdExport_Click();
    void cmdPrint_Click();
    output::PrintedReport fncPrintedReport() const;
    void subWriteGridExport(bool (*write)(const output::ShownReport&, const QString&),
                            const QString& path);
    void subExportSpreadsheet(const QString& path);
    void objXL_OnPercentChange(int& PercentDone);
    void cmdAutoSize_Click();
    void cmdDVRSearch_Click();
    void cmdExit_Click();
    void subUnload();
    void DataList_GroupColumnDropped(int column);
    void DataList_GroupHeadClick(int column);

    std::shared_ptr<rs::Recordset> mrsRecordset;
    QString mstrReportTitle;
    std::shared_ptr<rs::Recordset> mrsReg2Cam;
    std::int16_t mintGroupFirstN = 0;

    QString mstrGenerated;
    bool mblnLoaded = false;
    bool mblnDVRCapable = false;
    std::int16_t mintDVRMethod = 0;
    bool mblnEqualWidths = false;
    std::unique_ptr<dvr::DvrMethod> objDVR;
    // The running spreadsheet export and its progress view; a close asked for meanwhile waits
    // for the file.
    std::unique_ptr<clsExcel> objXL;
    QPointer<frmProgressBar> progress_;
    bool mblnUnloadAfterExport = false;

    client::ViewHost* host_;

    ReportGrid* grid_;
    QWidget* eframe_;
    QPushButton* cmdChart_;
    QPushButton* cmdExport_;
    QPushButton* cmdPrint_;
    QPushButton* cmdAutoSize_;
    QPushButton* cmdDVRSearch_;
    QPushButton* cmdExit_;
    QStatusBar* statusBar_;
    QLabel* panel1_;
};
