#include "reports/frmReportOutput.h"

#include "app/AppGlobals.h"
#include "app/modShared.h"
#include "reports/ReportGrid.h"
#include "reports/modQueries.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStatusBar>

using namespace Qt::Literals::StringLiterals;

frmReportOutput::frmReportOutput(QWidget* parent)
    : QWidget(parent), grid_(new ReportGrid(this)), eframe_(new QWidget(this)),
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

    // Chart, Export and Print take their actions from the chart, export and printing code.
    connect(cmdAutoSize_, &QPushButton::clicked, this, &frmReportOutput::cmdAutoSize_Click);
    connect(cmdDVRSearch_, &QPushButton::clicked, this, &frmReportOutput::cmdDVRSearch_Click);
    connect(cmdExit_, &QPushButton::clicked, this, &frmReportOutput::cmdExit_Click);
    connect(grid_, &ReportGrid::groupColumnDropped, this,
            &frmReportOutput::DataList_GroupColumnDropped);
    connect(grid_, &ReportGrid::groupHeadClicked, this, &frmReportOutput::DataList_GroupHeadClick);
    connect(grid_, &ReportGrid::rowDoubleClicked, this, [this] { subDVRSearch(); });
    resize(sizeHint());
}

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
    const vb::Variant now = vb::Variant::date(vb::now());
    mstrGenerated = vb::format(now, u"Short Date"_s) + u' ' + vb::format(now, u"HH:nn:ss"_s);
    setWindowTitle(mstrReportTitle.isEmpty() ? u"Tillsight Report"_s : mstrReportTitle);
    grid_->setRecordset(mrsRecordset);
    modQueries::subFormatColumns(*grid_, mrsRecordset);
    if (mrsRecordset) subShowRecordCount();
    cmdChart_->setEnabled(fncIsChartable(mrsRecordset));
    subApplyGroupFirstN();

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
    QString sortText;
    for (int column : grid_->groupColumns()) {
        if (!sortText.isEmpty()) sortText += u", "_s;
        sortText += u'[' + grid_->dataField(column) + u']' + grid_->columnTag(column);
    }
    grid_->sortRecordset(sortText);
}

void frmReportOutput::DataList_GroupColumnDropped(int column) {
    grid_->setColumnTag(column, u" ASC"_s);
    subApplyGroupSort();
}

void frmReportOutput::DataList_GroupHeadClick(int column) {
    grid_->setColumnTag(column, grid_->columnTag(column) == u" ASC" ? u" DESC"_s : u" ASC"_s);
    subApplyGroupSort();
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

// The search itself comes with the video viewer link.
void frmReportOutput::subDVRSearch() {}

// Where the video viewer link is made for a DVR-capable view: for the text-command method the
// send timer (disarmed, 500 ms), for the standard method the IPC client, connected at once.
void frmReportOutput::subPrepareDVRLink() {}

// Where that link is closed at unload, by the method copied at load: the socket for the text
// command, the IPC client's session for the standard method.
void frmReportOutput::subCloseDVRLink() {}

void frmReportOutput::cmdExit_Click() {
    // Inside the main window the frame closes, and with it the view.
    if (auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget()))
        frame->close();
    else
        close();
}

void frmReportOutput::closeEvent(QCloseEvent* event) {
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
