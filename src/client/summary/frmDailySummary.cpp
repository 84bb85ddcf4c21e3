#include "summary/frmDailySummary.h"

#include "core/AppGlobals.h"
#include "core/Feedback.h"
#include "core/Session.h"
#include "core/clsDailySummary.h"
#include "output/PrintedDocument.h"
#include "shared/ViewHost.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "shared/modShared.h"
#include "vb/Cp1252.h"
#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/VbError.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPrinter>
#include <QPushButton>
#include <QSaveFile>
#include <QTextBrowser>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

namespace {

// The view was drawn 9000 by 8625 twips, at 15 twips to the pixel.
constexpr int kTwipsPerPixel = 15;
constexpr QSize kDesignedSize(9000 / kTwipsPerPixel, 8625 / kTwipsPerPixel);

} // namespace

frmDailySummary::frmDailySummary(client::ViewHost* host, QWidget* parent)
    : QWidget(parent), host_(*host), web_(new QTextBrowser(this)), eframe_(new QWidget(this)) {
    setObjectName(u"frmDailySummary"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    web_->setObjectName(u"Web"_s);
    // The document is filled in place; nothing in it leads anywhere.
    web_->setOpenLinks(false);

    eframe_->setObjectName(u"Eframe"_s);
    auto* buttons = new QHBoxLayout(eframe_);
    buttons->setContentsMargins(4, 4, 4, 4);
    connect(addButton(u"cmdPrint"_s, u"Print"_s), &QPushButton::clicked, this,
            &frmDailySummary::cmdPrint_Click);
    connect(addButton(u"cmdChartAvgByClerk"_s, u"Chart Avg by Clerk"_s), &QPushButton::clicked,
            this, &frmDailySummary::cmdChartAvgByClerk_Click);
    connect(addButton(u"cmdChartCounts"_s, u"Chart Counts"_s), &QPushButton::clicked, this,
            &frmDailySummary::cmdChartCounts_Click);
    connect(addButton(u"cmdExport"_s, u"Export"_s), &QPushButton::clicked, this,
            &frmDailySummary::cmdExport_Click);
    buttons->addStretch(1);
    connect(addButton(u"cmdExit"_s, u"Exit"_s), &QPushButton::clicked, this, &QWidget::close);
    setMinimumSize(eframe_->minimumSizeHint().width(), eframe_->sizeHint().height() * 4);
    resize(modShared::fncFittedSize(this, kDesignedSize));
}

frmDailySummary::~frmDailySummary() = default;

QPushButton* frmDailySummary::addButton(const QString& name, const QString& caption) {
    auto* button = new QPushButton(caption, eframe_);
    button->setObjectName(name);
    button->setAutoDefault(false);
    eframe_->layout()->addWidget(button);
    return button;
}

void frmDailySummary::subLoad() {
    summary_ = std::make_unique<clsDailySummary>(host_.session());
    const core::BusyScope busy(host_.session().busy());
    if (mdtReportDate < vb::dateSerial(1900, 1, 1))
        mdtReportDate = vb::dateAdd(vb::Interval::Day, -1, vb::now());
    summary_->setSessionIndex(host_.session().SessionIndex());
    summary_->setReportDate(mdtReportDate);
    setWindowTitle(summary_->Title());
    // Sized once the caption is known, so that the title bar shows it whole.
    resize(modShared::fncFittedSize(this, kDesignedSize));
    subShowDocument();
}

void frmDailySummary::subShowDocument() {
    web_->clear();
    output::subKeepCellsOnOneLine(*web_->document());
    if (!summary_->HTML().isEmpty()) web_->setHtml(summary_->HTML());
}

void frmDailySummary::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!summary_) subLoad();
}

void frmDailySummary::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (isMinimized()) return;
    const int buttonsHeight = eframe_->sizeHint().height();
    web_->setGeometry(0, 0, width(), std::max(0, height() - buttonsHeight));
    eframe_->setGeometry(0, height() - buttonsHeight, width(), buttonsHeight);
}

void frmDailySummary::closeEvent(QCloseEvent* event) {
    summary_.reset();
    QWidget::closeEvent(event);
}

// Failures are ignored: a print that fails leaves the view as it was, without a word.
void frmDailySummary::cmdPrint_Click() {
    if (!summary_ || web_->document()->isEmpty()) {
        modShared::fncMessageBox(u"No contents of  Webbrowser"_s, QString(), modShared::vbOKOnly);
        return;
    }
    try {
        const std::unique_ptr<QPrinter> printer = modPrinting::fncPrinter();
        modPrinting::subPrint(
            *printer,
            [this](QPrinter& device) { output::subPrintDocument(summary_->HTML(), device); },
            gEnablePreview, windowTitle(), this);
    } catch (const vb::VbError&) {
    }
}

// The document's own text, one byte per character, as sites' scripts read it; a cancel or a file
// that cannot be replaced ends the export without a word. A failure after the hourglass is shown
// leaves it showing until a later export ends well, as the client's exports always have.
void frmDailySummary::cmdExport_Click() {
    if (!summary_) return;
    const std::optional<QString> path = modSaveAs::fncSaveAs({u"HTML File|*.htm"_s, u".htm"_s});
    if (!path) return;
    modShared::subShowHourglass();
    // Written beside the file and moved over it whole: a failed export leaves the old one.
    QSaveFile file(*path);
    const QByteArray bytes = vb::encodeCp1252(summary_->HTML());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return;
    QApplication::restoreOverrideCursor();
}

void frmDailySummary::cmdChartCounts_Click() {
    if (!summary_ || !rs::fncHasRecords(summary_->CountsTable())) return;
    // The month/day/year title has always been replaced by the caption's short date before the
    // chart showed it.
    QString title = u"Code Counts by Clerk for "_s + vb::formatDate(mdtReportDate, u"mm/dd/yyyy"_s);
    title = summary_->CountsChartCaption();
    host_.subShowChart(title, summary_->CountsTable());
}

void frmDailySummary::cmdChartAvgByClerk_Click() {
    if (!summary_ || !rs::fncHasRecords(summary_->AvgByClerkTable())) return;
    host_.subShowChart(summary_->AvgByClerkChartCaption(), summary_->AvgByClerkTable());
}
