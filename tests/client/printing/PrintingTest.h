#pragma once

// Printing with every dialog answered by the test: page setup (confirmed on a PDF file of the
// test's own, or cancelled), the preview, and the PDF file name where no printer is installed.

#include "output/ReportPages.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"

#include "support/GuiTestSupport.h"

#include <QLocale>
#include <QPainter>
#include <QPrinter>
#include <QProcess>
#include <QTemporaryDir>

namespace testsupport {

using namespace Qt::Literals::StringLiterals;

// What a PDF reader finds written in the file; empty when it cannot read it.
inline QString pdfText(const QString& path) {
    QProcess reader;
    reader.start(u"pdftotext"_s, {path, u"-"_s});
    if (!reader.waitForFinished() || reader.exitCode() != 0) return {};
    return QString::fromUtf8(reader.readAllStandardOutput());
}

class PrintingTest : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        ASSERT_TRUE(dir.isValid());
        previousLayout_ = modPrinting::fncPageLayout();
        modPrinting::subSetPageLayout(output::fncDefaultPageLayout(QLocale(u"en_US"_s)));
        previousInstalled_ = modPrinting::setPrintersInstalled(true);
        previousSetup_ = modPrinting::setPageSetupHandler([this](QPrinter& printer) {
            setupOrientations.push_back(printer.pageLayout().orientation());
            return onSetup(printer);
        });
        previousPreview_ =
            modPrinting::setPreviewHandler([this](QPrinter& printer, const QString& caption,
                                                  const modPrinting::PaintPages& paint) {
                previews << caption;
                paint(printer);
            });
        previousName_ = modSaveAs::setNameHandler([this](const modSaveAs::SaveAsFormat& format) {
            nameCaptions << format.caption;
            return names.isEmpty() ? std::nullopt : std::optional<QString>(names.takeFirst());
        });
    }

    void TearDown() override {
        modPrinting::subSetPageLayout(previousLayout_);
        modPrinting::setPrintersInstalled(previousInstalled_);
        modPrinting::setPageSetupHandler(previousSetup_);
        modPrinting::setPreviewHandler(previousPreview_);
        modSaveAs::setNameHandler(previousName_);
        GuiTest::TearDown();
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    // Page setup confirmed on the printer's own settings, as a printer the test can read back: a
    // PDF file of its own.
    std::unique_ptr<QPrinter> printerWritingTo(const QString& file) {
        onSetup = [file](QPrinter& printer) {
            printer.setOutputFileName(file);
            return true;
        };
        return modPrinting::fncPageSetup(nullptr);
    }

    // Two pages, each naming itself, so a reader can tell both were printed.
    const modPrinting::PaintPages paint = [this](QPrinter& printer) {
        ++paints;
        QPainter painter;
        if (!painter.begin(&printer)) return;
        painter.drawText(100, 100, u"Voids page 1"_s);
        printer.newPage();
        painter.drawText(100, 100, u"Voids page 2"_s);
    };

    QTemporaryDir dir;
    std::function<bool(QPrinter&)> onSetup = [](QPrinter&) { return true; };
    std::vector<QPageLayout::Orientation> setupOrientations; // as each page setup opened
    QStringList previews;                                    // the caption of each preview
    QStringList names;        // what the user types in the PDF file dialog, one per showing
    QStringList nameCaptions; // the caption of each file dialog shown
    int paints = 0;

private:
    QPageLayout previousLayout_;
    std::optional<bool> previousInstalled_;
    modPrinting::PageSetupHandler previousSetup_;
    modPrinting::PreviewHandler previousPreview_;
    modSaveAs::NameHandler previousName_;
};

} // namespace testsupport
