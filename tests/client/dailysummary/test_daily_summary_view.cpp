// The Daily Summary view on copies of the demo site, its charts asked of a host that records them
// instead of drawing, its printer and file names answered by the test.

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "core/clsDailySummary.h"
#include "dvr/DvrMethod.h"
#include "shared/GuiFeedback.h"
#include "shared/ViewHost.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "sitelink/SiteLink.h"
#include "summary/frmDailySummary.h"
#include "vb/DateTime.h"

#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"
#include "support/PdfText.h"
#include "support/SiteFilesTest.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPointer>
#include <QPrinter>
#include <QPushButton>
#include <QTextBrowser>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const double kFriday = vb::dateSerial(2003, 3, 28);
const QString kFridayTitle = u"Daily Summary Report - Friday, March 28, 2003"_s;

class RecordingHost : public client::ViewHost {
public:
    struct Chart {
        QString title;
        std::shared_ptr<rs::Recordset> records;
    };

    core::Session& session() override { return session_; }
    void subSetStatusPanel(const QString&, const QString&) override {}
    void subShowReport(const client::ReportRequest&) override {}
    void subShowChart(const QString& title,
                      const std::shared_ptr<rs::Recordset>& records) override {
        charts.push_back({title, records});
    }
    void subShowDailySummary(double) override {}
    void subConnected() override {}
    dvr::Endpoints dvrEndpoints() const override { return {}; }

    std::vector<Chart> charts;

private:
    client::GuiFeedback feedback_;
    core::Session session_{&feedback_, &feedback_};
};

class DailySummaryView : public testsupport::SiteFilesTest<testsupport::GuiTest> {
protected:
    void SetUp() override {
        SiteFilesTest::SetUp();
        demoCopy_ = dir_.filePath(u"demo.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, demoCopy_));
        previousName_ = modSaveAs::setNameHandler([this](const modSaveAs::SaveAsFormat& format) {
            formats << format.filter + u'|' + format.defaultExtension;
            return name;
        });
        previousPrinters_ = modPrinting::setPrintersInstalled(false);
    }

    void TearDown() override {
        delete view_;
        host_.session().TillsightLink().Disconnect();
        gConnected = false;
        gEnablePreview = false;
        modPrinting::setPrintersInstalled(previousPrinters_);
        modSaveAs::setNameHandler(previousName_);
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
        SiteFilesTest::TearDown();
    }

    // A view of `date` on `site` (the demo copy unless named), loaded and shown.
    frmDailySummary& open(double date, const QString& site = {}) {
        EXPECT_TRUE(host_.session().fncConnect(site.isEmpty() ? demoCopy_ : site, 0));
        view_ = new frmDailySummary(&host_);
        view_->setReportDate(date);
        view_->subLoad();
        view_->show();
        return *view_;
    }

    void click(const char16_t* button) {
        view_->findChild<QPushButton*>(QString::fromUtf16(button))->click();
    }

    QByteArray fileBytes(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    RecordingHost host_;
    QPointer<frmDailySummary> view_;
    QString demoCopy_;
    std::optional<QString> name; // what the user names in the save dialog; none cancels
    QStringList formats;         // "filter|extension" of each save dialog

private:
    modSaveAs::NameHandler previousName_;
    std::optional<bool> previousPrinters_;
};

} // namespace

TEST_F(DailySummaryView, ShowsTheSummaryBuiltAsItLoadsWithTheBrowserAboveTheButtons) {
    frmDailySummary& view = open(kFriday);
    ASSERT_NE(view.summary(), nullptr);
    EXPECT_EQ(view.windowTitle(), kFridayTitle);
    EXPECT_EQ(view.summary()->ReportDate(), kFriday);
    EXPECT_GE(view.width(), 600);
    EXPECT_GE(view.height(), 575);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr) << "the hourglass stays up";

    // The browser holds the summary's document as it reads, no file or address behind it.
    QTextDocument expected;
    expected.setHtml(view.summary()->HTML());
    EXPECT_EQ(view.Web()->toPlainText(), expected.toPlainText());
    EXPECT_TRUE(view.Web()->toPlainText().contains(kFridayTitle));
    EXPECT_TRUE(view.Web()->source().isEmpty());

    const QWidget* eframe = view.findChild<QWidget*>(u"Eframe"_s);
    for (const QSize size : {QSize(800, 700), QSize(500, 400)}) {
        view.resize(size);
        EXPECT_EQ(view.Web()->geometry(),
                  QRect(0, 0, view.width(), view.height() - eframe->height()));
        EXPECT_EQ(eframe->geometry().bottom(), view.height() - 1);
    }
}

TEST_F(DailySummaryView, WithoutADateItSummarisesYesterdayAtThisTime) {
    const double before = vb::now();
    frmDailySummary& view = open(0);
    EXPECT_GE(view.ReportDate(), before - 1);
    EXPECT_LE(view.ReportDate(), vb::now() - 1);
    EXPECT_EQ(view.summary()->ReportDate(), view.ReportDate());
}

// One byte per character in the Western code page, "?" for a character it lacks, no mark before
// and nothing after; a second export to the name replaces the file.
TEST_F(DailySummaryView, ExportWritesTheDocumentsTextAsItIs) {
    sqlite3* site = nullptr;
    ASSERT_EQ(sqlite3_open(demoCopy_.toUtf8().constData(), &site), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(site,
                           "UPDATE tblActors SET fldActorlName = 'Ren\xc3\xa9\xe2\x82\xac\xce\xa9' "
                           "WHERE idfActorID = (SELECT min(idfActorID) FROM tblActors)",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(site);
    frmDailySummary& view = open(kFriday);
    const QString html = view.summary()->HTML();
    ASSERT_TRUE(html.contains(u"Ren\u00e9\u20ac\u03a9, "_s));

    name = dir_.filePath(u"summary.htm"_s);
    answer = modShared::vbYes; // to replacing the file
    QFile old(*name);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(html.size() + 100, 'x'));
    old.close();
    for (int round = 0; round < 2; ++round)
        click(u"cmdExport");
    EXPECT_EQ(formats, QStringList(2, u"HTML File|*.htm|.htm"_s));
    EXPECT_EQ(boxes.size(), 2) << "asked before replacing";
    const QByteArray bytes = fileBytes(*name);
    EXPECT_EQ(bytes.size(), html.size());
    EXPECT_TRUE(bytes.startsWith("<html>\r\n<head>\r\n<title>"));
    EXPECT_TRUE(bytes.endsWith("</body>\r\n</html>"));
    EXPECT_TRUE(bytes.contains("<TD NOWRAP>Ren\xe9\x80?, "));
    EXPECT_EQ(QString::fromLatin1(bytes).remove(u"\xe9\x80?"_s),
              QString(html).remove(u"\u00e9\u20ac\u03a9"_s));

    QFile::remove(*std::exchange(name, std::nullopt));
    click(u"cmdExport");
    EXPECT_EQ(formats.size(), 3);
    EXPECT_FALSE(QFile::exists(dir_.filePath(u"summary.htm"_s))) << "a cancel writes nothing";
}

// No printer here: printing straight asks for a PDF file; with previews on, the preview shows
// the document under the view's caption and nothing is asked.
TEST_F(DailySummaryView, PrintGoesStraightToPaperOrToThePreview) {
    open(kFriday);
    name = dir_.filePath(u"printed.pdf"_s);
    click(u"cmdPrint");
    EXPECT_EQ(formats, QStringList{u"PDF File|*.pdf|.pdf"_s});
    const QString printed = testsupport::pdfLayoutPages(*name).join(u' ').simplified();
    EXPECT_TRUE(printed.contains(kFridayTitle)) << printed.left(300).toStdString();
    EXPECT_TRUE(printed.contains(u"each clerk had these counts of each action code"_s));

    gEnablePreview = true;
    QStringList previews;
    const auto previous = modPrinting::setPreviewHandler(
        [&previews](QPrinter&, const QString& caption, const modPrinting::PaintPages&) {
            previews << caption;
        });
    click(u"cmdPrint");
    modPrinting::setPreviewHandler(previous);
    EXPECT_EQ(previews, QStringList{kFridayTitle});
    EXPECT_EQ(formats.size(), 1);
    EXPECT_TRUE(boxes.isEmpty());
}

TEST_F(DailySummaryView, AFailedExportLeavesTheHourglassUntilOneEndsWell) {
    open(kFriday);
    ASSERT_TRUE(QDir(dir_.path()).mkdir(u"taken.htm"_s));
    answer = modShared::vbYes;
    name = dir_.filePath(u"taken.htm"_s);
    click(u"cmdExport");
    click(u"cmdExport");
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    name = dir_.filePath(u"fine.htm"_s);
    click(u"cmdExport");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(QFile::exists(*name));
}

// Before the view has loaded its browser holds nothing to print.
TEST_F(DailySummaryView, PrintOfAnEmptyBrowserSaysSo) {
    view_ = new frmDailySummary(&host_);
    click(u"cmdPrint");
    EXPECT_EQ(boxes, QStringList{u"Tillsight Network Client|No contents of  Webbrowser|0"_s});
    EXPECT_TRUE(formats.isEmpty());
}

TEST_F(DailySummaryView, ChartButtonsHandOverTheSummarysOwnSets) {
    frmDailySummary& view = open(kFriday);
    click(u"cmdChartCounts");
    click(u"cmdChartAvgByClerk");
    ASSERT_EQ(host_.charts.size(), 2u);
    EXPECT_EQ(host_.charts[0].title, u"Code Counts by Clerk for 3/28/2003"_s);
    EXPECT_EQ(host_.charts[0].records, view.summary()->CountsTable());
    EXPECT_EQ(host_.charts[1].title,
              u"Average Code Counts per Day by Clerk 2/26/2003 00:00 - 3/28/2003 00:00 "_s);
    EXPECT_EQ(host_.charts[1].records, view.summary()->AvgByClerkTable());
    EXPECT_EQ(view.findChildren<QPushButton*>().size(), 5) << "no button for the overall table";
}

TEST_F(DailySummaryView, ChartButtonsWithoutDataDoNothing) {
    open(kFriday + 1); // a Saturday: no trade that day, the 30 days before it full
    click(u"cmdChartCounts");
    EXPECT_TRUE(host_.charts.empty());
    click(u"cmdChartAvgByClerk");
    EXPECT_EQ(host_.charts.size(), 1u);

    delete view_;
    host_.session().TillsightLink().Disconnect();
    host_.charts.clear();
    open(kFriday, sitePath_); // a site without data
    click(u"cmdChartCounts");
    click(u"cmdChartAvgByClerk");
    EXPECT_TRUE(host_.charts.empty());
    EXPECT_TRUE(boxes.isEmpty());
}

// What the user sees: the document drawn in the browser. TILLSIGHT_GRAB names a PNG file to keep.
TEST_F(DailySummaryView, DocumentIsDrawnInTheBrowser) {
    frmDailySummary& view = open(kFriday);
    view.resize(600, 575);
    const QImage image = view.grab().toImage();
    if (const QString keep = qEnvironmentVariable("TILLSIGHT_GRAB"); !keep.isEmpty())
        image.save(keep);
    const QRect browser = view.Web()->viewport()->geometry().translated(view.Web()->pos());
    int dark = 0;
    for (int y = browser.top(); y < browser.bottom(); ++y)
        for (int x = browser.left(); x < browser.right(); ++x)
            dark += qGray(image.pixel(x, y)) < 96;
    EXPECT_GT(dark, 500) << "the browser shows no text";
}
