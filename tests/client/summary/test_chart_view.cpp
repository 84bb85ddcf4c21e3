#include "app/frmMain.h"
#include "chart/BarChart.h"
#include "chart/ChartInputHandler.h"
#include "core/AppGlobals.h"
#include "reports/frmReportOutput.h"
#include "settings/SettingsPath.h"
#include "shared/modPrinting.h"
#include "shared/modSaveAs.h"
#include "summary/frmChart.h"
#include "support/PdfText.h"

#include "recordset/RecordsetTestData.h"
#include "support/GuiTestSupport.h"
#include "support/PdfText.h"

#include <Q3DBars>
#include <Q3DCamera>
#include <Q3DScene>
#include <QBar3DSeries>
#include <QBarDataProxy>
#include <QCategory3DAxis>
#include <QDir>
#include <QImageReader>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QValue3DAxis>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::lng;
using rstest::null;

namespace {

// A Daily Summary counts table: a clerk per row, a count per code, Null where a clerk never used
// a code.
std::shared_ptr<rs::Recordset> codeCounts() {
    return rstest::makeRecordset({{"Clerk", AdoType::VarWChar, 40},
                                  {"SALE", AdoType::Integer},
                                  {"VOID", AdoType::Integer},
                                  {"NOSALE", AdoType::Integer}},
                                 {{"Smith, Ann", lng(120), lng(3), null()},
                                  {"Ng, Vi", lng(95), null(), lng(7)},
                                  {"Lee, Bo", lng(40), lng(1), lng(2)}});
}

class ChartView : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        settingsFile_ =
            std::make_unique<settings::SettingsFileOverride>(dir_.filePath(u"tillsight.ini"_s));
        main_ = new frmMain;
        main_->resize(1000, 800);
        main_->show();
    }
    void TearDown() override {
        delete main_;
        settingsFile_.reset();
        GuiTest::TearDown();
    }

    frmChart* openedChart() const {
        for (QMdiSubWindow* window : main_->mdiArea()->subWindowList())
            if (auto* view = qobject_cast<frmChart*>(window->widget())) return view;
        return nullptr;
    }
    QTemporaryDir dir_;
    std::unique_ptr<settings::SettingsFileOverride> settingsFile_;
    frmMain* main_ = nullptr;
};

// The report's Chart button hands its title and its very set to a new chart view. The records
// run along the front, the codes one behind the other.
TEST_F(ChartView, ReportChartButtonChartsTheReportsSet) {
    const auto counts = codeCounts();
    auto* report = new frmReportOutput(main_);
    report->setReportTitle(u"Code Counts by Clerk"_s);
    report->setRecordset(counts);
    main_->showChild(report);
    report->findChild<QPushButton*>(u"cmdChart"_s)->click();

    frmChart* view = openedChart();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->windowTitle(), u"Code Counts by Clerk"_s);
    EXPECT_EQ(view->Recordset().get(), counts.get());
    EXPECT_EQ(view->chtChart()->toolTip(), u"Click and drag to rotate. Double-click to reset."_s);
    Q3DBars& graph = view->chart().graph();
    EXPECT_EQ(graph.columnAxis()->title(), u"Clerk"_s);
    EXPECT_EQ(graph.columnAxis()->labels(),
              (QStringList{u"Smith, Ann"_s, u"Ng, Vi"_s, u"Lee, Bo"_s}));
    EXPECT_EQ(graph.rowAxis()->labels(), (QStringList{u"SALE"_s, u"VOID"_s, u"NOSALE"_s}));
    EXPECT_EQ(graph.rowAxis()->title(), QString());
    EXPECT_EQ(graph.valueAxis()->title(), QString());
    const QBarDataProxy& proxy = *view->chart().series().dataProxy();
    ASSERT_EQ(proxy.rowCount(), 3);
    EXPECT_EQ(proxy.itemAt(0, 1)->value(), 95.0f); // SALE of Ng, Vi
    EXPECT_EQ(proxy.itemAt(1, 1)->value(), 0.0f);  // VOID of Ng, Vi: Null
    EXPECT_EQ(proxy.itemAt(2, 2)->value(), 2.0f);  // NOSALE of Lee, Bo
}

TEST_F(ChartView, UntitledAndOneColumnSetsChartAsWellAsTheyCan) {
    main_->subShowChart(QString(),
                        rstest::makeRecordset({{"Clerk", AdoType::VarWChar}}, {{"Ann"}, {"Bob"}}));
    frmChart* view = openedChart();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->windowTitle(), u"Tillsight Chart"_s);
    EXPECT_EQ(view->chart().series().dataProxy()->rowCount(), 0) << "no series";
    EXPECT_TRUE(boxes.isEmpty());
}

// The count is 16 bits: the run-time's overflow box, no view, and the program goes on.
TEST_F(ChartView, MoreThan32767RowsShowTheOverflowAndOpenNothing) {
    rs::RecordsetBuilder builder;
    builder.addField(u"Clerk"_s, AdoType::VarWChar);
    builder.addField(u"SALE"_s, AdoType::Integer);
    for (int i = 0; i < 32768; ++i)
        builder.appendRow(std::vector<vb::Variant>{vb::Variant(u"c"_s), lng(i % 100)});
    main_->subShowChart(u"Big"_s, builder.finish());
    EXPECT_EQ(openedChart(), nullptr);
    EXPECT_EQ(boxes, QStringList{u"Tillsight Network Client|Run-time error '6':\n\nOverflow|16"_s});
}

// Left drag turns, Escape puts the drag back, a double-click returns to 45, 0, 45.
TEST_F(ChartView, DragTurnsEscapeCancelsDoubleClickResets) {
    main_->subShowChart(u"Counts"_s, codeCounts());
    frmChart* view = openedChart();
    ASSERT_NE(view, nullptr);
    QWindow* window = &view->chart().graph();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    Q3DCamera& camera = *view->chart().graph().scene()->activeCamera();
    const auto angles = [&camera] {
        const chart::ViewAngles a = chart::fncViewAngles(camera);
        return std::tuple(a.rotation, a.roll, a.elevation);
    };
    ASSERT_EQ(angles(), std::tuple(45.0f, 0.0f, 45.0f));

    const auto drag = [window](QPoint to) {
        QTest::mousePress(window, Qt::LeftButton, {}, {100, 100});
        QTest::mouseMove(window, to);
    };
    drag({160, 80});
    QTest::mouseRelease(window, Qt::LeftButton, {}, {160, 80});
    const auto turned = angles();
    EXPECT_NE(std::get<0>(turned), 45.0f);
    EXPECT_NE(std::get<2>(turned), 45.0f);

    drag({40, 120});
    EXPECT_NE(angles(), turned);
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_EQ(angles(), turned);
    QTest::mouseRelease(window, Qt::LeftButton, {}, {40, 120});
    EXPECT_EQ(angles(), turned) << "the drag ended at Escape";

    QTest::mouseDClick(window, Qt::LeftButton, {}, {100, 100});
    EXPECT_EQ(angles(), std::tuple(45.0f, 0.0f, 45.0f));
}

// The chart sits above the buttons, its bars inside a 1,000-twip margin, and exports as a real
// bitmap of what is shown; a cancel writes nothing and says nothing.
TEST_F(ChartView, ResizesWithinItsMarginAndExportsABitmap) {
    main_->subShowChart(u"Counts"_s, codeCounts());
    frmChart* view = openedChart();
    ASSERT_NE(view, nullptr);
    view->resize(900, 600);
    const QWidget* buttons = view->findChild<QWidget*>(u"Eframe"_s);
    EXPECT_EQ(view->chtChart()->geometry(), QRect(0, 0, 900, 600 - buttons->height()));
    EXPECT_EQ(buttons->geometry().top(), 600 - buttons->height());
    EXPECT_EQ(view->plotArea()->geometry(), chart::fncChartArea(view->chtChart()->size()));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view->chart().graph()));

    QStringList asked;
    std::optional<QString> typed = dir_.filePath(u"counts"_s);
    const auto previous = modSaveAs::setNameHandler([&](const modSaveAs::SaveAsFormat& format) {
        asked << format.filter + u'|' + format.defaultExtension + u'|' + format.initialName;
        return std::exchange(typed, std::nullopt);
    });
    auto* exportButton = view->findChild<QPushButton*>(u"cmdExport"_s);
    exportButton->click();
    exportButton->click(); // cancelled
    modSaveAs::setNameHandler(previous);

    EXPECT_EQ(asked, QStringList(2, u"BMP Files (*.BMP)|*.BMP|.BMP|*.BMP"_s));
    QImageReader reader(dir_.filePath(u"counts.BMP"_s));
    EXPECT_EQ(reader.format(), "bmp");
    const QImage saved = reader.read();
    EXPECT_EQ(saved.size(), view->chtChart()->size());
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files), QStringList{u"counts.BMP"_s});
    EXPECT_TRUE(boxes.isEmpty());
    // The bars were drawn: the chart area is not the blank of its margin.
    const QRect area = chart::fncChartArea(saved.size());
    QSet<QRgb> colours;
    for (int y = area.top(); y <= area.bottom(); y += 4)
        for (int x = area.left(); x <= area.right(); x += 4)
            colours.insert(saved.pixel(x, y));
    EXPECT_GT(colours.size(), 20);
}

// Landscape for the chart's job only; without a printer the page goes to the PDF the user names,
// and with previews on the preview comes first, under the view's caption.
TEST_F(ChartView, PrintsTheChartOnALandscapePageAndKeepsThePageSetup) {
    main_->subShowChart(u"Counts"_s, codeCounts());
    frmChart* view = openedChart();
    ASSERT_NE(view, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view->chart().graph()));
    const QPageLayout kept = modPrinting::fncPageLayout();
    const auto installed = modPrinting::setPrintersInstalled(false);
    QStringList previews;
    const auto preview = modPrinting::setPreviewHandler(
        [&](QPrinter& printer, const QString& caption, const modPrinting::PaintPages& paint) {
            previews << caption;
            paint(printer);
        });
    std::optional<QString> typed = dir_.filePath(u"chart"_s);
    const auto names = modSaveAs::setNameHandler(
        [&](const modSaveAs::SaveAsFormat&) { return std::exchange(typed, std::nullopt); });
    const bool option = gEnablePreview;

    gEnablePreview = false;
    view->findChild<QPushButton*>(u"cmdPrint"_s)->click();
    const auto pages = testsupport::pdfPages(dir_.filePath(u"chart.pdf"_s));
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_GT(pages[0].width, pages[0].height);
    EXPECT_EQ(modPrinting::fncPageLayout().orientation(), kept.orientation());
    EXPECT_TRUE(previews.isEmpty());

    gEnablePreview = true;
    typed = dir_.filePath(u"previewed"_s);
    view->findChild<QPushButton*>(u"cmdPrint"_s)->click();
    EXPECT_EQ(previews, QStringList{view->windowTitle()});

    gEnablePreview = option;
    modSaveAs::setNameHandler(names);
    modPrinting::setPreviewHandler(preview);
    modPrinting::setPrintersInstalled(installed);
}

} // namespace
