#include "reports/frmReportOutput.h"

#include "app/AppGlobals.h"
#include "app/modShared.h"
#include "link/modError.h"
#include "reports/DvrIpcClient.h"
#include "reports/ReportGrid.h"
#include "reports/modQueries.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStatusBar>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

// gDVRMethod: 1 sends text commands over TCP; anything else is the standard IPC method, the
// default, so a stray value in the settings file still finds the viewer.
constexpr std::int16_t kDvmsMethod = 1;
constexpr quint16 kDefaultDvmsPort = 5111;
// The first tick arms, the second sends: the viewer gets about a second to accept.
constexpr int kSendDelayMs = 500;

quint16& dvmsPortSetting() {
    static quint16 port = 0;
    return port;
}

QString& viewerIpcNameSetting() {
    static QString name;
    return name;
}

quint16 dvmsPort() {
    return dvmsPortSetting() != 0 ? dvmsPortSetting() : kDefaultDvmsPort;
}

QString viewerIpcName() {
    return viewerIpcNameSetting().isEmpty() ? reports::dvrIpc::defaultServerName()
                                            : viewerIpcNameSetting();
}

// "history,2003,03,28,14,05,09,02": the moment, then the camera with at least two digits.
QString fncDVMSCommand(double when, std::int16_t camera) {
    return u"history,"_s + vb::formatDate(when, u"yyyy,mm,dd,hh,nn,ss"_s) + u',' +
           vb::format(vb::Variant(camera), u"00"_s);
}

QString textOrEmpty(const rs::Recordset& table, QStringView field) {
    const vb::Variant value = table.field(field).value();
    return value.isNull() ? QString() : vb::cstr(value);
}

} // namespace

struct frmReportOutput::CameraAssignment {
    QString dvrAddress;
    QString userName;
    QString password;
    std::int16_t camera = 0;
};

// The assignment at the table's current row, or none when its camera is not set.
std::optional<frmReportOutput::CameraAssignment>
frmReportOutput::fncCameraAt(const rs::Recordset& table) {
    if (table.field(u"Camera").isNull()) return std::nullopt;
    CameraAssignment assignment;
    assignment.camera = vb::cint(table.field(u"Camera").value());
    assignment.dvrAddress = textOrEmpty(table, u"DVRAddress");
    assignment.userName = textOrEmpty(table, u"UserName");
    assignment.password = textOrEmpty(table, u"Password");
    return assignment;
}

void frmReportOutput::setDvmsPort(quint16 port) {
    dvmsPortSetting() = port;
}

void frmReportOutput::setViewerIpcName(const QString& name) {
    viewerIpcNameSetting() = name;
}

frmReportOutput::frmReportOutput(QWidget* parent)
    : QWidget(parent), grid_(new ReportGrid(this)), eframe_(new QWidget(this)),
      statusBar_(new QStatusBar(this)), panel1_(new QLabel(statusBar_)),
      WinsockDVR_(new QTcpSocket(this)), TimerDelay_(new QTimer(this)) {
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
    WinsockDVR_->setObjectName(u"WinsockDVR"_s);
    TimerDelay_->setObjectName(u"TimerDelay"_s);
    connect(TimerDelay_, &QTimer::timeout, this, &frmReportOutput::TimerDelay_Timer);
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

// Any failure (no "Reg" column, a register, date or time that does not convert, a failing viewer
// call) goes to the site's log and ends the search; the assignment filter then stays as it was
// set.
void frmReportOutput::subDVRSearch() {
    if (!mblnLoaded || !mblnDVRCapable) return;
    try {
        subShowRowCamera();
        // Every creator of a view with Date and Time columns passes the table; one that does not
        // gets the message and this failure.
        if (!mrsReg2Cam) throw vb::VbError(91, u"Object variable or With block variable not set"_s);
        mrsReg2Cam->setFilter(QString());
    } catch (const vb::VbError& error) {
        modError::subLogError(error, u"frmReportOutput"_s, u"subDVRSearch"_s);
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
            subShowCamera(*assignment, when);
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

void frmReportOutput::subShowCamera(const CameraAssignment& assignment, double when) {
    if (mintDVRMethod == kDvmsMethod) {
        mstrDVRCommand = fncDVMSCommand(when, assignment.camera);
        subSendDVRCommand();
    } else {
        // Asked even when the session did not open at load; the client then has nobody to tell.
        objDVR->ShowHistory(assignment.dvrAddress, assignment.userName, assignment.password,
                            assignment.camera, when);
    }
}

// The viewer never answers and socket trouble is never reported: a command that is lost is asked
// for again by the user's next search.
void frmReportOutput::subSendDVRCommand() {
    switch (WinsockDVR_->state()) {
    case QAbstractSocket::ConnectedState:
        WinsockDVR_->write(mstrDVRCommand.toLatin1());
        break;
    case QAbstractSocket::ConnectingState:
        // A search while the last one still waits for its connection gives up on both.
        WinsockDVR_->abort();
        mblnSendArmed = false;
        break;
    default:
        subConnectDVRSocket();
        mblnSendArmed = false;
        TimerDelay_->start();
        break;
    }
}

void frmReportOutput::subConnectDVRSocket() {
    // A socket busy looking up or closing cannot start another connect; that failure is silent
    // like any other here.
    if (WinsockDVR_->state() != QAbstractSocket::UnconnectedState) return;
    WinsockDVR_->connectToHost(u"127.0.0.1"_s, dvmsPort());
}

// The tick after a connect request arms; the next sends whatever state the socket is in by then
// and stops the timer, so a failed connection is retried once but the command is not resent.
void frmReportOutput::TimerDelay_Timer() {
    if (mblnSendArmed) {
        subSendDVRCommand();
        TimerDelay_->stop();
    }
    mblnSendArmed = !mblnSendArmed;
}

// The text-command method connects at the first search; the standard method opens its session
// now, and a view whose viewer did not answer stays usable for everything else.
void frmReportOutput::subPrepareDVRLink() {
    if (mintDVRMethod == kDvmsMethod) {
        mblnSendArmed = false;
        TimerDelay_->stop();
        TimerDelay_->setInterval(kSendDelayMs);
        return;
    }
    objDVR = std::make_unique<reports::DvrIpcClient>(viewerIpcName());
    if (!objDVR->OpenSession())
        modShared::fncMessageBox(u"Cannot connect to Kestrel IPC server."_s, QString(),
                                 modShared::vbOKOnly);
}

// By the method copied at load, whatever the program-wide setting has become since.
void frmReportOutput::subCloseDVRLink() {
    if (mintDVRMethod == kDvmsMethod) {
        TimerDelay_->stop();
        if (WinsockDVR_->state() != QAbstractSocket::UnconnectedState) WinsockDVR_->close();
        return;
    }
    objDVR->CloseSession();
}

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
