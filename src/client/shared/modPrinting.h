#pragma once

// The printing every view shares: the page setup that lasts for the run, a printer of its own for
// each job (a failed job leaves nothing behind for the next), the print preview, and PDF files
// where no printer is installed.

#include <QPageLayout>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class QPrinter;
class QWidget;

namespace modPrinting {

// Paints every page of a job onto the printer, starting each page after the first with
// newPage(). A preview calls it again whenever it redraws.
using PaintPages = std::function<void(QPrinter& printer)>;

// The page setup the next job starts from: the system locale's default until a page setup is
// confirmed.
QPageLayout fncPageLayout();
void subSetPageLayout(const QPageLayout& layout);

// A new printer on the kept page setup, turned to `orientation` when one is given; the kept setup
// itself is not changed, so the next job is back on it. Writes PDF where no printer is installed.
std::unique_ptr<QPrinter>
fncPrinter(std::optional<QPageLayout::Orientation> orientation = std::nullopt);

// The page setup dialog on a new printer. OK keeps the page setup for the next jobs and returns
// the printer; Cancel returns none and keeps nothing.
std::unique_ptr<QPrinter> fncPageSetup(QWidget* parent);

// Prints the pages: with `preview`, in a preview window captioned `caption` from which the user
// prints; else straight to the printer. Where no printer is installed, printing saves the pages
// as a PDF file the user names, told why; a Cancel there prints nothing. Raises 75 (Path/File
// access error) when the PDF file cannot be written and 482 (Printer error) when the printer
// fails the job; a failure while a preview is drawn closes the preview and raises the same way.
void subPrint(QPrinter& printer, const PaintPages& paint, bool preview, const QString& caption,
              QWidget* parent);

// Seams for tests. Each returns the previous handler (override); an empty handler restores the
// dialog, and none restores the look-up of installed printers.
//
// The page setup dialog: true for OK. It may change the printer's page layout as the user would.
using PageSetupHandler = std::function<bool(QPrinter& printer)>;
PageSetupHandler setPageSetupHandler(PageSetupHandler handler);
// The preview window: it may "print" by painting onto the printer.
using PreviewHandler =
    std::function<void(QPrinter& printer, const QString& caption, const PaintPages& paint)>;
PreviewHandler setPreviewHandler(PreviewHandler handler);
// Whether a printer is installed. The PDF file's name is asked through modSaveAs, whose name
// handler answers for it.
std::optional<bool> setPrintersInstalled(std::optional<bool> installed);

} // namespace modPrinting
