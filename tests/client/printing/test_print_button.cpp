// The report view's Print button: the grid as the user left it on paper, through page setup and,
// as the option says at that moment, the preview. Pages are read back with pdftotext.

#include "core/AppGlobals.h"
#include "reports/GridBody.h"
#include "reports/ReportGrid.h"
#include "reports/frmReportOutput.h"

#include "PrintingTest.h"
#include "recordset/RecordsetTestData.h"
#include "support/PdfText.h"

#include <QPushButton>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;

namespace {

class PrintButton : public testsupport::PrintingTest {
protected:
    void SetUp() override {
        PrintingTest::SetUp();
        previousPreview_ = gEnablePreview;
        // Sales of three clerks, out of clerk order; grouped by clerk with Ann's group folded.
        view_ = new frmReportOutput();
        view_->setReportTitle(u"Voids"_s);
        view_->setRecordset(rstest::makeRecordset(
            {{"Clerk", AdoType::VarWChar, 20}, {"Item", AdoType::VarWChar, 40}},
            {{"Zoe", "Scone"}, {"Ann", "Tea"}, {"Bob", "Fish & Chips"}, {"Ann", "Cake"}}));
        view_->setGroupFirstN(1);
        view_->show();
        GridBody& body = *view_->DataList()->body();
        body.setFocus();
        body.setCurrentIndex(body.indexAtLine(0));
        QTest::keyClick(&body, Qt::Key_Left);
    }
    void TearDown() override {
        delete view_;
        gEnablePreview = previousPreview_;
        PrintingTest::TearDown();
    }

    void clickPrint() {
        QTest::mouseClick(view_->findChild<QPushButton*>(u"cmdPrint"_s), Qt::LeftButton);
    }

    frmReportOutput* view_ = nullptr;

private:
    bool previousPreview_ = false;
};

TEST_F(PrintButton, PrintsTheGridAsShownUnderItsTitleWithPageNumberAndOpeningTime) {
    gEnablePreview = false;
    const QString file = path(u"voids.pdf"_s);
    onSetup = [file](QPrinter& printer) {
        printer.setOutputFileName(file);
        return true;
    };
    clickPrint();
    EXPECT_TRUE(previews.isEmpty());

    const auto pages = testsupport::pdfPages(file);
    ASSERT_EQ(pages.size(), 1u);
    const testsupport::PdfPage& page = pages[0];
    const testsupport::PdfWord* title = page.find(u"Voids"_s);
    ASSERT_TRUE(title);
    EXPECT_NEAR(title->centre(), page.width / 2, 2);
    const QStringList footer = page.lineOf(u"Generated"_s);
    const QStringList expected =
        QStringList{u"1"_s, u"Generated"_s} + view_->Generated().split(u' ');
    EXPECT_EQ(footer, expected);
    EXPECT_EQ(page.lineOf(u"Item"_s), (QStringList{u"Clerk"_s, u"Item"_s}));
    const QString text = testsupport::pdfLayoutPages(file).join(QString());
    // Ann's group folded: its line prints, its rows do not; the groups in the grid's order.
    EXPECT_TRUE(text.contains(u"Clerk: Ann (2 rows)"_s)) << text.toStdString();
    EXPECT_FALSE(text.contains(u"Cake"_s));
    EXPECT_LT(text.indexOf(u"Clerk: Ann"_s), text.indexOf(u"Fish & Chips"_s));
    EXPECT_LT(text.indexOf(u"Fish & Chips"_s), text.indexOf(u"Scone"_s));
}

TEST_F(PrintButton, CancelledPageSetupPrintsNothingAndThePreviewOptionIsReadAtEachPrint) {
    gEnablePreview = true;
    onSetup = [](QPrinter&) { return false; };
    clickPrint();
    EXPECT_TRUE(previews.isEmpty());
    EXPECT_TRUE(QDir(dir.path()).isEmpty());

    const QString file = path(u"preview.pdf"_s);
    onSetup = [file](QPrinter& printer) {
        printer.setOutputFileName(file);
        return true;
    };
    clickPrint();
    EXPECT_EQ(previews, QStringList{u"Voids"_s});
    EXPECT_TRUE(testsupport::pdfText(file).contains(u"Scone"_s));

    gEnablePreview = false;
    QFile::remove(file);
    clickPrint();
    EXPECT_EQ(previews.size(), 1) << "printed straight, without a preview";
    EXPECT_TRUE(testsupport::pdfText(file).contains(u"Generated"_s));
}

} // namespace
