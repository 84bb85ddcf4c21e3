#include "summary/frmChart.h"

#include "chart/BarChart.h"
#include "core/AppGlobals.h"
#include "core/modError.h"
#include "shared/ViewHost.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "shared/modShared.h"
#include "vb/VbError.h"

#include <Q3DBars>
#include <QCursor>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPrinter>
#include <QPushButton>
#include <QToolTip>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kHint = u"Click and drag to rotate. Double-click to reset."_s;

} // namespace

frmChart::frmChart(client::ViewHost* host, QWidget* parent)
    : QWidget(parent), chtChart_(new QWidget(this)), lblHeader_(new QLabel(chtChart_)),
      graph_(new Q3DBars), plot_(QWidget::createWindowContainer(graph_, chtChart_)),
      chart_(new chart::BarChart(*graph_, this)), eframe_(new QWidget(this)) {
    host_ = host;
    setObjectName(u"frmChart"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    chtChart_->setObjectName(u"chtChart"_s);
    chtChart_->setToolTip(kHint);
    chtChart_->setAutoFillBackground(true);
    chtChart_->setPalette(QPalette(Qt::black, Qt::white));
    lblHeader_->setAlignment(Qt::AlignCenter);
    lblHeader_->setWordWrap(true);
    QFont header = lblHeader_->font();
    header.setBold(true);
    header.setPointSizeF(header.pointSizeF() * 1.5);
    lblHeader_->setFont(header);
    plot_->setToolTip(kHint);
    graph_->installEventFilter(this);

    eframe_->setObjectName(u"Eframe"_s);
    auto* buttons = new QHBoxLayout(eframe_);
    buttons->setContentsMargins(4, 4, 4, 4);
    cmdPrint_ = addButton(u"cmdPrint"_s, u"Print"_s);
    cmdExport_ = addButton(u"cmdExport"_s, u"Export"_s);
    buttons->addStretch(1);
    cmdExit_ = addButton(u"cmdExit"_s, u"Exit"_s);
    connect(cmdPrint_, &QPushButton::clicked, this, &frmChart::cmdPrint_Click);
    connect(cmdExport_, &QPushButton::clicked, this, &frmChart::cmdExport_Click);
    connect(cmdExit_, &QPushButton::clicked, this, &QWidget::close);
    setMinimumSize(eframe_->minimumSizeHint().width(), eframe_->sizeHint().height() * 4);
    resize(sizeHint());
}

frmChart::~frmChart() = default;

QPushButton* frmChart::addButton(const QString& name, const QString& caption) {
    auto* button = new QPushButton(caption, eframe_);
    button->setObjectName(name);
    button->setAutoDefault(false);
    eframe_->layout()->addWidget(button);
    return button;
}

bool frmChart::fncLoad() {
    mblnLoaded = true;
    const QString header = chart::fncHeaderText(mstrChartTitle);
    setWindowTitle(header);
    lblHeader_->setText(header);
    try {
        // The opener always passes a set; without one the count fails as it always has.
        if (!mrsRecordset) vb::raise(vb::err::ObjectNotSet);
        shape_ = chart::fncChartShape(*mrsRecordset);
    } catch (const vb::VbError& error) {
        // The view does not open, and the program goes on: the report it came from stays.
        modShared::subShowRunTimeError(error.number(), error.description());
        return false;
    }
    subChartCreate();
    return true;
}

void frmChart::subChartCreate() {
    chart_->setData(chart::fncChartData(*mrsRecordset, shape_));
}

void frmChart::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!mblnLoaded && !fncLoad())
        QMetaObject::invokeMethod(window(), &QWidget::close, Qt::QueuedConnection);
}

void frmChart::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (!isMinimized()) subResize();
}

void frmChart::subResize() {
    const int buttonsHeight = eframe_->sizeHint().height();
    eframe_->setGeometry(0, height() - buttonsHeight, width(), buttonsHeight);
    chtChart_->setGeometry(0, 0, width(), std::max(0, height() - buttonsHeight));
    const QRect area = chart::fncChartArea(chtChart_->size());
    lblHeader_->setGeometry(0, 0, chtChart_->width(), area.top());
    plot_->setGeometry(area);
}

bool frmChart::eventFilter(QObject* watched, QEvent* event) {
    // The graph is a window of its own, to which a widget's tooltip never comes: the hint is shown
    // as the pointer enters it.
    if (watched == graph_ && event->type() == QEvent::Enter)
        QToolTip::showText(QCursor::pos(), kHint, plot_);
    return QWidget::eventFilter(watched, event);
}

QImage frmChart::chartImage() const {
    return chart_->image(chtChart_->size(), lblHeader_->text());
}

void frmChart::cmdExport_Click() {
    const modSaveAs::SaveAsFormat bitmap{.filter = u"BMP Files (*.BMP)|*.BMP"_s,
                                         .defaultExtension = u".BMP"_s,
                                         .initialName = u"*.BMP"_s};
    const std::optional<QString> path = modSaveAs::fncSaveAs(bitmap);
    // A cancel or a file that cannot be written ends the export without a word.
    if (path) chartImage().save(*path, "BMP");
}

// Landscape for this job only: the page setup kept for the run stays as it was. The chart as shown
// is scaled to the page, its shape kept. Failures are logged and end the print.
void frmChart::cmdPrint_Click() {
    try {
        const std::unique_ptr<QPrinter> printer = modPrinting::fncPrinter(QPageLayout::Landscape);
        const QImage image = chartImage();
        modPrinting::subPrint(
            *printer,
            [&image](QPrinter& device) {
                QPainter painter;
                if (!painter.begin(&device)) vb::raise(vb::err::PrinterError);
                const QRect page = device.pageLayout().paintRectPixels(device.resolution());
                QRect target(QPoint(0, 0), image.size().scaled(page.size(), Qt::KeepAspectRatio));
                target.moveCenter(QPoint(page.width() / 2, page.height() / 2));
                painter.drawImage(target, image);
            },
            gEnablePreview, windowTitle(), this);
    } catch (const vb::VbError& error) {
        if (host_)
            modError::subLogError(host_->session(), error, u"frmChart"_s, u"cmdPrint_click"_s);
    }
}

void frmChart::closeEvent(QCloseEvent* event) {
    mrsRecordset.reset();
    QWidget::closeEvent(event);
}
