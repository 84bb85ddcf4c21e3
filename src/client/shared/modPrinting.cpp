#include "shared/modPrinting.h"

#include "output/ReportPages.h"

#include "shared/modSaveAs.h"
#include "shared/modShared.h"
#include "vb/VbError.h"

#include <QAction>
#include <QLocale>
#include <QMarginsF>
#include <QPageSetupDialog>
#include <QPageSize>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace modPrinting {

namespace {

std::optional<QPageLayout>& keptLayout() {
    static std::optional<QPageLayout> layout;
    return layout;
}

PageSetupHandler& pageSetupHandler() {
    static PageSetupHandler handler;
    return handler;
}

PreviewHandler& previewHandler() {
    static PreviewHandler handler;
    return handler;
}

std::optional<bool>& printersInstalledOverride() {
    static std::optional<bool> installed;
    return installed;
}

bool printersInstalled() {
    if (printersInstalledOverride()) return *printersInstalledOverride();
    return !QPrinterInfo::availablePrinters().isEmpty();
}

QWidget* ownerOr(QWidget* parent) {
    return parent ? parent : modShared::fncOwnerWindow();
}

// A printer the system could not finish the job on ends in the Error state; nothing else tells.
void paintJob(QPrinter& printer, const PaintPages& paint) {
    paint(printer);
    if (printer.printerState() != QPrinter::Error) return;
    if (printer.outputFormat() == QPrinter::PdfFormat) vb::raise(vb::err::PathFileAccessError);
    vb::raise(vb::err::PrinterError);
}

// With no printer, the pages go to a PDF file; the dialog says why it asks. False on Cancel.
bool printToPdf(QPrinter& printer, const PaintPages& paint) {
    const modSaveAs::SaveAsFormat pdf{u"PDF File|*.pdf"_s, u".pdf"_s,
                                      u"No Printer Installed - Save the Pages as PDF"_s};
    const std::optional<QString> path = modSaveAs::fncSaveAs(pdf);
    if (!path) return false;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(*path);
    paintJob(printer, paint);
    return true;
}

bool confirmedPageSetup(QPrinter& printer, QWidget* parent) {
    if (pageSetupHandler()) return pageSetupHandler()(printer);
    QPageSetupDialog dialog(&printer, ownerOr(parent));
    return dialog.exec() == QDialog::Accepted;
}

// On this platform the preview's Print opens the print dialog, whose file choice neither adds
// ".pdf" nor asks before replacing a file. Without a printer, Print asks for the PDF file as
// printing straight does. Should the action not be found, the print dialog still offers a file.
void printPreviewToPdf(QPrintPreviewDialog& dialog, const std::function<void()>& print) {
    const QString caption = QPrintPreviewDialog::tr("Print");
    for (QAction* action : dialog.findChildren<QAction*>()) {
        if (action->text() != caption) continue;
        action->disconnect(&dialog);
        QObject::connect(action, &QAction::triggered, &dialog, print);
    }
}

// A failure inside the dialog's event loop cannot pass through it: it closes the dialog and is
// raised once the dialog has gone.
void showPreview(QPrinter& printer, const PaintPages& paint, const QString& caption,
                 QWidget* parent) {
    QPrintPreviewDialog dialog(&printer, ownerOr(parent));
    dialog.setWindowTitle(caption);
    std::exception_ptr failure;
    const auto guarded = [&](const std::function<void()>& step) {
        try {
            step();
        } catch (...) {
            if (!failure) failure = std::current_exception();
            QMetaObject::invokeMethod(&dialog, &QDialog::reject, Qt::QueuedConnection);
        }
    };
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                     [&](QPrinter* target) { guarded([&] { paintJob(*target, paint); }); });
    if (!printersInstalled()) {
        printPreviewToPdf(dialog, [&] {
            guarded([&] {
                if (printToPdf(printer, paint)) dialog.accept();
            });
        });
    }
    dialog.exec();
    if (failure) std::rethrow_exception(failure);
}

} // namespace

QPageLayout fncPageLayout() {
    return keptLayout().value_or(output::fncDefaultPageLayout());
}

void subSetPageLayout(const QPageLayout& layout) {
    keptLayout() = layout;
}

std::unique_ptr<QPrinter> fncPrinter(std::optional<QPageLayout::Orientation> orientation) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    if (!printersInstalled()) printer->setOutputFormat(QPrinter::PdfFormat);
    QPageLayout layout = fncPageLayout();
    if (orientation) layout.setOrientation(*orientation);
    printer->setPageLayout(layout);
    return printer;
}

std::unique_ptr<QPrinter> fncPageSetup(QWidget* parent) {
    std::unique_ptr<QPrinter> printer = fncPrinter();
    if (!confirmedPageSetup(*printer, parent)) return nullptr;
    subSetPageLayout(printer->pageLayout());
    return printer;
}

void subPrint(QPrinter& printer, const PaintPages& paint, bool preview, const QString& caption,
              QWidget* parent) {
    if (preview && previewHandler()) {
        previewHandler()(printer, caption, paint);
    } else if (preview) {
        showPreview(printer, paint, caption, parent);
    } else if (printersInstalled()) {
        paintJob(printer, paint);
    } else {
        printToPdf(printer, paint);
    }
}

PageSetupHandler setPageSetupHandler(PageSetupHandler handler) {
    return std::exchange(pageSetupHandler(), std::move(handler));
}

PreviewHandler setPreviewHandler(PreviewHandler handler) {
    return std::exchange(previewHandler(), std::move(handler));
}

std::optional<bool> setPrintersInstalled(std::optional<bool> installed) {
    return std::exchange(printersInstalledOverride(), installed);
}

} // namespace modPrinting
