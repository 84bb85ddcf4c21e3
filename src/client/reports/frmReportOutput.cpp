#include "reports/frmReportOutput.h"

#include "core/AppGlobals.h"
#include "core/modError.h"
#include "dvr/DvrMethod.h"
#include "output/ExportWriters.h"
#include "output/OpenedReport.h"
#include "output/ReportPages.h"
#include "output/clsExcel.h"
#include "reports/GridBody.h"
#include "reports/GridHeader.h"
#include "reports/ReportGrid.h"
#include "reports/frmExportFormat.h"
#include "reports/modQueries.h"
#include "shared/ViewHost.h"
#include "shared/frmProgressBar.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "shared/modShared.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

QString textOrEmpty(const rs::Recordset& table, QStringView field) {
    const vb::Variant value = table.field(field).value();
    return value.isNull() ? QString() : vb::cstr(value);
}

// The formats of frmExportFormat's Selection: the Save As settings of each, and for the two the
// grid writes from what it shows, its writer. The spreadsheet is built from the result set.
struct ExportFormat {
    QStringView selection;
    modSaveAs::SaveAsFormat saveAs;
    bool (*gridWrite)(const output::ShownReport& report, const QString& path);
};

const ExportFormat* exportFormatFor(const QString& selection) {
    static const std::array<ExportFormat, 3> formats{{
        {u"1", {u"Text File|*.txt"_s, u".txt"_s}, &output::writeDelimitedText},
        {u"2", {u"HTML File|*.htm"_s, u".htm"_s}, &output::writeHtmlTable},
        {u"3", {u"Excel Spreadsheet|*.xls"_s, u".xls"_s}, nullptr},
    }};
    const auto found = std::find_if(formats.begin(), formats.end(), [&](const ExportFormat& f) {
        return f.selection == selection;
    });
    return found == formats.end() ? nullptr : &*found;
}

// Disabled for as long as it lives.
class DisabledScope {
public:
    explicit DisabledScope(std::initializer_list<QWidget*> widgets) : widgets_(widgets) {
        for (QWidget* widget : widgets_)
            widget->setEnabled(false);
    }
    ~DisabledScope() {
        for (QWidget* widget : widgets_)
            widget->setEnabled(true);
    }
    DisabledScope(const DisabledScope&) = delete;
    DisabledScope& operator=(const DisabledScope&) = delete;

private:
    std::vector<QWidget*> widgets_;
};

} // namespace

// The assignment at the table's current row, or none when its camera is not set.
std::optional<dvr::CameraAssignment> frmReportOutput::fncCameraAt(const rs::Recordset& table) {
    if (table.field(u"Camera").isNull()) return std::nullopt;
    dvr::CameraAssignment assignment;
    assignment.camera = vb::cint(table.field(u"Camera").value());
    assignment.dvrAddress = textOrEmpty(table, u"DVRAddress");
    assignment.userName = textOrEmpty(table, u"UserName");
    assignment.password = textOrEmpty(table, u"Password");
    return assignment;
}

frmReportOutput::frmReportOutput(client::ViewHost* host, QWidget* parent)
    : QWidget(parent), host_(host), grid_(new ReportGrid(this)), eframe_(new QWidget(this)),
      statusBar_(new QStatusBar(this)), panel1_(new QLabel(statusBar_)) {
    setObjectName(u"frmReportOutput"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    eframe_->setObjectName(u"Eframe"_s);
    auto* buttons = new QHBoxLayout(eframe_);
    buttons->setContentsMargins(4, 4, 4, 4);
    cmdChart_ = addButton(u"cmdChart"_s, u"Chart"_s);
    cmdExport_ = addButton(u"cmdExport"_s, u"Export"_s);
    cmdPrint_ = addButton(u"cmdPrint"_s, u"Print"_s);
    cmdAutoSize_ = addButton(u"cmdAutoSize"_s, u"Autosize"_s,
                             u"Click once for min widths, again for equal widths"_s);
    cmdDVRSearch_ = addButton(u"cmdDVRSearch"_s, u"DVR Search"_s,
                              u"Click button or dbl click grid for DVR search"_s);
    buttons->addStretch(1);
    cmdExit_ = addButton(u"cmdExit"_s, u"Exit"_s);

    statusBar_->setObjectName(u"StatusBar"_s);
    statusBar_->setSizeGripEnabled(false);
    panel1_->setObjectName(u"Panel1"_s);
    statusBar_->addWidget(panel1_, 1);

    connect(cmdChart_, &QPushButton::clicked, this, &frmReportOutput::cmdChart_Click);
    connect(cmdPrint_, &QPushButton::clicked, this, &frmReportOutput::cmdPrint_Click);
    connect(cmdExport_, &QPushButton::clicked, this, &frmReportOutput::cmdExport_Click);
    connect(cmdAutoSize_, &QPushButton::clicked, this, &frmReportOutput::cmdAutoSize_Click);
    connect(cmdDVRSearch_, &QPushButton::clicked, this, &frmReportOutput::cmdDVRSearch_Click);
    connect(cmdExit_, &QPushButton::clicked, this, &frmReportOutput::cmdExit_Click);
    connect(grid_, &ReportGrid::groupColumnDropped, this,
            &frmReportOutput::DataList_GroupColumnDropped);
    connect(grid_, &ReportGrid::groupHeadClicked, this, &frmReportOutput::DataList_GroupHeadClick);
    connect(grid_, &ReportGrid::rowDoubleClicked, this, [this] { subDVRSearch(); });
    // However small it is made, the view shows its buttons and status line whole.
    setMinimumSize(eframe_->minimumSizeHint().width(),
                   eframe_->sizeHint().height() + statusBar_->sizeHint().height());
    resize(sizeHint());
}

frmReportOutput::~frmReportOutput() = default;

QPushButton* frmReportOutput::addButton(const QString& name, const QString& caption,
                                        const QString& toolTip) {
    auto* button = new QPushButton(caption, eframe_);
    button->setObjectName(name);
    button->setToolTip(toolTip);
    button->setAutoDefault(false);
    eframe_->layout()->addWidget(button);
    return button;
}

void frmReportOutput::setRecordset(std::shared_ptr<rs::Recordset> records) {
    mrsRecordset = std::move(records);
}

void frmReportOutput::setReportTitle(const QString& title) {
    mstrReportTitle = title;
}

void frmReportOutput::setReg2CamTable(const std::shared_ptr<rs::Recordset>& table) {
    mrsReg2Cam = table ? table->clone() : nullptr;
}

QString frmReportOutput::statusText() const {
    return panel1_->text();
}

bool frmReportOutput::fncIsChartable(const std::shared_ptr<rs::Recordset>& records) {
    if (!rs::fncHasRecords(records) || records->fieldCount() < 2) return false;
    for (int i = 1; i < records->fieldCount(); ++i) {
        switch (records->field(i).type()) {
        case rs::AdoType::Char:
        case rs::AdoType::WChar:
        case rs::AdoType::VarWChar:
            return false;
        default:
            break;
        }
    }
    return true;
}

void frmReportOutput::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!mblnLoaded) formLoad();
}

// Nothing here is caught: a set or grid that fails while the view opens ends the program.
void frmReportOutput::formLoad() {
    mstrGenerated = output::fncGeneratedText(vb::now());
    setWindowTitle(output::fncReportCaption(mstrReportTitle));
    grid_->setRecordset(mrsRecordset);
    modQueries::subFormatColumns(*grid_, mrsRecordset);
    if (mrsRecordset) subShowRecordCount();
    cmdChart_->setEnabled(fncIsChartable(mrsRecordset));
    subApplyGroupFirstN();
    // Opens fitted, as Autosize's first click would leave it; the toggle stays for that click.
    modQueries::subAutoSizeColumns(*grid_, false);

    mblnDVRCapable = rs::fncHasRecords(mrsRecordset) && mrsRecordset->fieldCount() >= 2 &&
                     mrsRecordset->field(0).name() == u"Date" &&
                     mrsRecordset->field(1).name() == u"Time";
    mblnLoaded = true;
    mintDVRMethod = gDVRMethod;
    if (mblnDVRCapable)
        subPrepareDVRLink();
    else
        cmdDVRSearch_->hide();
}

void frmReportOutput::subShowRecordCount() {
    const bool empty = mrsRecordset->bof() && mrsRecordset->eof();
    cmdExport_->setEnabled(!empty);
    cmdPrint_->setEnabled(!empty);
    if (empty) {
        panel1_->setText(u"Records: 0 "_s);
        return;
    }
    mrsRecordset->moveLast();
    panel1_->setText(u"Records: "_s + QString::number(mrsRecordset->recordCount()) + u' ');
    mrsRecordset->moveFirst();
}

void frmReportOutput::subApplyGroupFirstN() {
    for (int i = 0; i < mintGroupFirstN; ++i)
        grid_->addGroupColumn(i, i);
    subApplyGroupSort();
}

void frmReportOutput::subApplyGroupSort() {
    QList<std::pair<QString, QString>> groups;
    for (int column : grid_->groupColumns())
        groups.append({grid_->dataField(column), grid_->columnTag(column)});
    grid_->sortRecordset(output::groupSortText(groups));
}

void frmReportOutput::DataList_GroupColumnDropped(int column) {
    grid_->setColumnTag(column, u" ASC"_s);
    subApplyGroupSort();
}

void frmReportOutput::DataList_GroupHeadClick(int column) {
    grid_->setColumnTag(column, grid_->columnTag(column) == u" ASC" ? u" DESC"_s : u" ASC"_s);
    subApplyGroupSort();
}

// Every failure ends the export silently: a cancelled dialog, a file that cannot be written, a
// grid that fails. The spreadsheet export reports its own failures.
void frmReportOutput::cmdExport_Click() {
    if (!modShared::fncHasRecords(mrsRecordset)) return;
    const ExportFormat* format = exportFormatFor(frmExportFormat::fncAskFormat());
    if (!format || (!format->gridWrite && !host_)) return;
    try {
        const std::optional<QString> path = modSaveAs::fncSaveAs(format->saveAs);
        if (!path) return;
        if (format->gridWrite)
            subWriteGridExport(format->gridWrite, *path);
        else
            subExportSpreadsheet(*path);
    } catch (...) {
    }
}

// A failure after the hourglass was shown leaves it showing until some later action resets it,
// as the client has always done.
void frmReportOutput::subWriteGridExport(bool (*write)(const output::ShownReport&, const QString&),
                                         const QString& path) {
    modShared::subShowHourglass();
    const output::ShownReport report{*grid_->groupingModel(), grid_->displayColumns(),
                                     windowTitle()};
    if (write(report, path)) QApplication::restoreOverrideCursor();
}

// The progress events let the user's events run, so until the file is written the buttons and
// the grid are disabled (a re-sort would reorder the rows being copied) and a close waits.
void frmReportOutput::subExportSpreadsheet(const QString& path) {
    objXL = std::make_unique<clsExcel>(host_->session(), this);
    connect(objXL.get(), &clsExcel::OnPercentChange, this, &frmReportOutput::objXL_OnPercentChange);
    {
        const DisabledScope exporting{eframe_, grid_};
        objXL->subCreateExcel(mrsRecordset, path);
    }
    objXL.reset();
    if (std::exchange(mblnUnloadAfterExport, false)) subUnload();
}

void frmReportOutput::objXL_OnPercentChange(int& PercentDone) {
    if (PercentDone == 0) {
        delete progress_;
        return;
    }
    if (!progress_) progress_ = new frmProgressBar(this);
    if (PercentDone < 100) {
        progress_->setPercent(PercentDone);
        progress_->show();
        QCoreApplication::processEvents();
        return;
    }
    progress_->ProgressBar()->setValue(100);
    progress_->setCaption(
        u"Finalizing spreadsheet. Please be patient, this can take a very long time."_s);
    // No events run during the save, so the text is painted now.
    progress_->repaint();
}

// The grid as shown on paper: its lines with groups folded as the user left them, its columns in
// display order at their widths (screen pixels taken at the grid's resolution), its formats.
output::PrintedReport frmReportOutput::fncPrintedReport() const {
    const GridBody& body = *grid_->body();
    const double toPoints = 72.0 / body.logicalDpiX();
    QList<double> widths;
    const QList<int> columns = grid_->displayColumns();
    for (const int column : columns)
        widths.append(grid_->columnWidth(column) * toPoints);
    return {*grid_->groupingModel(),
            body.rowLayout(),
            columns,
            widths,
            output::fncPageHeader(mstrReportTitle),
            output::fncPageFooter(mstrGenerated),
            body.font(),
            output::fncPageHeaderFont(body.header()->font()),
            body.indentation() * toPoints};
}

// The page setup first (Cancel prints nothing); then the preview or the printer, as the printing
// option says at this moment. Any failure is logged and ends the print.
void frmReportOutput::cmdPrint_Click() {
    if (!modShared::fncHasRecords(mrsRecordset)) return;
    try {
        const std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(this);
        if (!printer) return;
        const output::PrintedReport report = fncPrintedReport();
        modPrinting::subPrint(
            *printer,
            [&report](QPrinter& device) {
                if (!output::ReportPages(report, device).print(device))
                    vb::raise(vb::err::PrinterError);
            },
            gEnablePreview, mstrReportTitle, this);
    } catch (const vb::VbError& error) {
        if (host_)
            modError::subLogError(host_->session(), error, u"frmReportOutput"_s,
                                  u"cmdPrint_Click"_s);
    }
}

// The chart view shares the set and keeps it; this view keeps no reference to the chart.
void frmReportOutput::cmdChart_Click() {
    if (host_ && rs::fncHasRecords(mrsRecordset))
        host_->subShowChart(mstrReportTitle, mrsRecordset);
}

void frmReportOutput::cmdAutoSize_Click() {
    modQueries::subAutoSizeColumns(*grid_, mblnEqualWidths);
    mblnEqualWidths = !mblnEqualWidths;
}

void frmReportOutput::cmdDVRSearch_Click() {
    if (grid_->currentRow() < 0) {
        modShared::fncMessageBox(u"You must select a transaction to view"_s, QString(),
                                 modShared::vbOKOnly);
        return;
    }
    subDVRSearch();
}

// Any failure (no "Reg" column, a register, date or time that does not convert, a failing viewer
// call) goes to the site's log and ends the search; the assignment filter then stays as it was
// set.
void frmReportOutput::subDVRSearch() {
    if (!mblnLoaded || !mblnDVRCapable) return;
    try {
        subShowRowCamera();
        // Every creator of a view with Date and Time columns passes the table; one that does not
        // gets the message and this failure.
        if (!mrsReg2Cam) vb::raise(vb::err::ObjectNotSet);
        mrsReg2Cam->setFilter(QString());
    } catch (const vb::VbError& error) {
        if (host_)
            modError::subLogError(host_->session(), error, u"frmReportOutput"_s, u"subDVRSearch"_s);
    }
}

// Narrows the assignment table to the current row's register and asks the viewer for that
// camera at the row's moment; a register without a camera, or no assignments at all, is told.
void frmReportOutput::subShowRowCamera() {
    if (rs::fncHasRecords(mrsReg2Cam)) {
        const auto row = std::size_t(grid_->currentRow());
        const double when = fncTransactionTime(row);
        const std::int32_t reg =
            vb::clng(mrsRecordset->valueAt(row, mrsRecordset->field(u"Reg").index()));
        mrsReg2Cam->setFilter(u"Register = "_s + QString::number(reg));
        const auto assignment =
            rs::fncHasRecords(mrsReg2Cam) ? fncCameraAt(*mrsReg2Cam) : std::nullopt;
        if (assignment) {
            objDVR->showHistory(*assignment, when);
            return;
        }
    }
    modShared::fncMessageBox(u"There is no camera associated with the selected register."_s,
                             u"No Associated Camera"_s,
                             modShared::vbInformation | modShared::vbOKOnly);
}

// The row's date and time cells as text, joined and read back: whatever types the report gave
// them, the moment comes out to the second.
double frmReportOutput::fncTransactionTime(std::size_t row) const {
    const auto cell = [&](int column) { return mrsRecordset->valueAt(row, column); };
    return vb::cdate(vb::Variant(vb::format(cell(0), u"yyyy/mm/dd"_s) + u' ' +
                                 vb::format(cell(1), u"HH:nn:ss"_s)));
}

// The text-command method connects at the first search; the standard method opens its session
// now, and a view whose viewer did not answer stays usable for everything else.
void frmReportOutput::subPrepareDVRLink() {
    objDVR =
        dvr::makeDvrMethod(mintDVRMethod, host_ ? host_->dvrEndpoints() : dvr::Endpoints(), this);
    if (!objDVR->open())
        modShared::fncMessageBox(u"Cannot connect to Kestrel IPC server."_s, QString(),
                                 modShared::vbOKOnly);
}

// By the method made at load, whatever the program-wide setting has become since.
void frmReportOutput::subCloseDVRLink() {
    objDVR->close();
}

void frmReportOutput::cmdExit_Click() {
    subUnload();
}

void frmReportOutput::subUnload() {
    // Inside the main window the frame closes, and with it the view.
    if (auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget()))
        frame->close();
    else
        close();
}

void frmReportOutput::closeEvent(QCloseEvent* event) {
    if (objXL && objXL->busy()) {
        mblnUnloadAfterExport = true;
        event->ignore();
        return;
    }
    mrsRecordset.reset();
    grid_->setRecordset(nullptr);
    mrsReg2Cam.reset();
    mintGroupFirstN = 0;
    if (mblnLoaded && mblnDVRCapable) subCloseDVRLink();
    event->accept();
}

void frmReportOutput::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    subResize();
}

void frmReportOutput::subResize() {
    auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget());
    if (isMinimized() || (frame && frame->isMinimized())) return;
    const int top = eframe_->sizeHint().height();
    const int bottom = statusBar_->sizeHint().height();
    eframe_->setGeometry(0, 0, width(), top);
    statusBar_->setGeometry(0, height() - bottom, width(), bottom);
    // A view made very small leaves the grid no height rather than a negative one.
    grid_->setGeometry(0, top, width(), std::max(0, height() - top - bottom));
}
