// The printing every view shares: page setup kept between jobs, preview or straight printing, and
// PDF files where no printer is installed, read back by a PDF reader nobody here wrote.

#include "output/ReportPages.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "vb/VbError.h"

#include "PrintingTest.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLocale>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

using testsupport::pdfText;
using testsupport::PrintingTest;

TEST_F(PrintingTest, TheFirstPageSetupIsTheLocalesPaperUpright) {
    for (const auto& [locale, paper] :
         {std::pair{u"en_US"_s, QPageSize::Letter}, std::pair{u"en_GB"_s, QPageSize::A4},
          std::pair{u"de_DE"_s, QPageSize::A4}}) {
        const QPageLayout layout = output::fncDefaultPageLayout(QLocale(locale));
        EXPECT_EQ(layout.pageSize().id(), paper) << locale.toStdString();
        EXPECT_EQ(layout.orientation(), QPageLayout::Portrait);
        EXPECT_GT(layout.margins().left(), 0);
    }
}

TEST_F(PrintingTest, OnlyAConfirmedPageSetupHoldsForTheNextJob) {
    onSetup = [](QPrinter& printer) {
        printer.setPageOrientation(QPageLayout::Landscape);
        return false;
    };
    EXPECT_EQ(modPrinting::fncPageSetup(nullptr), nullptr);
    EXPECT_EQ(modPrinting::fncPageLayout().orientation(), QPageLayout::Portrait);

    onSetup = [](QPrinter& printer) {
        printer.setPageOrientation(QPageLayout::Landscape);
        return true;
    };
    const std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(nullptr);
    ASSERT_NE(printer, nullptr);
    EXPECT_EQ(printer->pageLayout().orientation(), QPageLayout::Landscape);
    onSetup = [](QPrinter&) { return false; };
    modPrinting::fncPageSetup(nullptr);
    EXPECT_EQ(setupOrientations.back(), QPageLayout::Landscape) << "the next job opens on it";
    EXPECT_EQ(modPrinting::fncPrinter()->pageLayout().pageSize().id(), QPageSize::Letter);
}

TEST_F(PrintingTest, ATurnedPrinterLeavesTheKeptPageSetupAsItWas) {
    const std::unique_ptr<QPrinter> turned = modPrinting::fncPrinter(QPageLayout::Landscape);
    EXPECT_EQ(turned->pageLayout().orientation(), QPageLayout::Landscape);
    EXPECT_EQ(modPrinting::fncPrinter()->pageLayout().orientation(), QPageLayout::Portrait);
}

TEST_F(PrintingTest, ThePreviewTakesTheCaptionAndPrintsOnThePrinterOfThePageSetup) {
    const std::unique_ptr<QPrinter> previewed = printerWritingTo(path(u"previewed.pdf"_s));
    modPrinting::subPrint(*previewed, paint, true, u"Voids"_s, nullptr);
    EXPECT_EQ(previews, QStringList{u"Voids"_s});
    EXPECT_TRUE(pdfText(path(u"previewed.pdf"_s)).contains(u"Voids page 2"_s));

    const std::unique_ptr<QPrinter> straight = printerWritingTo(path(u"straight.pdf"_s));
    modPrinting::subPrint(*straight, paint, false, u"Voids"_s, nullptr);
    EXPECT_EQ(previews.size(), 1) << "no preview";
    EXPECT_EQ(paints, 2);
    const QString text = pdfText(path(u"straight.pdf"_s));
    EXPECT_TRUE(text.contains(u"Voids page 1"_s) && text.contains(u"Voids page 2"_s))
        << text.toStdString();
    EXPECT_TRUE(nameCaptions.isEmpty()) << "a printer is installed";
}

TEST_F(PrintingTest, WithNoPrinterThePagesGoToAPdfFileTheUserNames) {
    modPrinting::setPrintersInstalled(false);
    std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(nullptr);
    ASSERT_NE(printer, nullptr);
    EXPECT_EQ(printer->outputFormat(), QPrinter::PdfFormat);

    modPrinting::subPrint(*printer, paint, false, u"Voids"_s, nullptr); // Cancel
    EXPECT_EQ(paints, 0);
    EXPECT_TRUE(QDir(dir.path()).isEmpty());

    printer = modPrinting::fncPageSetup(nullptr);
    names << path(u"voids"_s);
    modPrinting::subPrint(*printer, paint, false, u"Voids"_s, nullptr);
    ASSERT_EQ(nameCaptions.size(), 2);
    EXPECT_TRUE(nameCaptions[0].contains(u"No Printer Installed"_s) &&
                nameCaptions[0].contains(u"PDF"_s))
        << nameCaptions[0].toStdString();
    const QString text = pdfText(path(u"voids.pdf"_s));
    EXPECT_TRUE(text.contains(u"Voids page 1"_s) && text.contains(u"Voids page 2"_s))
        << text.toStdString();
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(PrintingTest, APdfFileThatCannotBeWrittenIsRaisedNotLost) {
    modPrinting::setPrintersInstalled(false);
    ASSERT_TRUE(QDir(dir.path()).mkdir(u"taken.pdf"_s));
    const std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(nullptr);
    names << path(u"taken.pdf"_s);
    answer = modShared::vbYes; // replace it
    try {
        modPrinting::subPrint(*printer, paint, false, u"Voids"_s, nullptr);
        ADD_FAILURE() << "nothing raised";
    } catch (const vb::VbError& error) {
        EXPECT_EQ(error.number(), vb::err::PathFileAccessError);
    }
}

// The real preview window, answered by the test once it is up. A window still up after a while
// is closed, and the test fails rather than hang.
class PreviewWindowTest : public PrintingTest {
protected:
    void SetUp() override {
        PrintingTest::SetUp();
        modPrinting::setPreviewHandler(nullptr);
        QTimer::singleShot(5000, &watch_, [this] {
            while (QWidget* modal = QApplication::activeModalWidget()) {
                stayedUp_ = true;
                modal->close();
            }
        });
    }
    void TearDown() override {
        EXPECT_FALSE(stayedUp_) << "a window stayed up";
        PrintingTest::TearDown();
    }

    // Runs `step` on the preview window when it is shown; records its caption.
    void whenShown(std::function<void(QPrintPreviewDialog&)> step) {
        QTimer::singleShot(0, [this, step = std::move(step)] {
            auto* preview = qobject_cast<QPrintPreviewDialog*>(QApplication::activeModalWidget());
            if (!preview) return;
            previews << preview->windowTitle();
            step(*preview);
        });
    }

private:
    QObject watch_;
    bool stayedUp_ = false;
};

TEST_F(PreviewWindowTest, WithNoPrinterItsPrintSavesTheShownPagesAsAPdf) {
    modPrinting::setPrintersInstalled(false);
    const std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(nullptr);
    names << path(u"preview.pdf"_s);
    whenShown([](QPrintPreviewDialog& preview) {
        for (QAction* action : preview.findChildren<QAction*>())
            if (action->text() == QPrintPreviewDialog::tr("Print")) action->trigger();
    });
    modPrinting::subPrint(*printer, paint, true, u"Voids"_s, nullptr);
    EXPECT_EQ(previews, QStringList{u"Voids"_s});
    EXPECT_EQ(nameCaptions.size(), 1);
    const QString text = pdfText(path(u"preview.pdf"_s));
    EXPECT_TRUE(text.contains(u"Voids page 1"_s) && text.contains(u"Voids page 2"_s))
        << text.toStdString();
}

TEST_F(PreviewWindowTest, AFailureWhileItDrawsClosesItAndIsRaised) {
    const std::unique_ptr<QPrinter> printer = modPrinting::fncPageSetup(nullptr);
    const modPrinting::PaintPages failing = [](QPrinter&) { vb::raise(vb::err::Overflow); };
    try {
        modPrinting::subPrint(*printer, failing, true, u"Voids"_s, nullptr);
        ADD_FAILURE() << "nothing raised";
    } catch (const vb::VbError& error) {
        EXPECT_EQ(error.number(), vb::err::Overflow);
    }
}

} // namespace
