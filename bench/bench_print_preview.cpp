#include "BenchSales.h"

#include "core/AppGlobals.h"
#include "reports/frmReportOutput.h"
#include "shared/modPrinting.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPushButton>
#include <QTimer>
#include <benchmark/benchmark.h>

// The Print button with previews on, over 10,000 sales lines grouped by clerk: from the click
// (page setup confirmed at once) to the preview window showing its pages, every page laid out.
namespace {

using namespace benchsales;
using namespace Qt::Literals::StringLiterals;

constexpr std::size_t kRows = 10'000;

// Once the preview window is up with its pages, notes the time and closes it.
void closeWhenShown(const QElapsedTimer& clock, double& seconds, int& pages) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, &clock, &seconds, &pages] {
        auto* dialog = qobject_cast<QPrintPreviewDialog*>(QApplication::activeModalWidget());
        const auto* preview = dialog ? dialog->findChild<QPrintPreviewWidget*>() : nullptr;
        if (!preview || preview->pageCount() == 0 || !dialog->isVisible()) return;
        seconds = double(clock.nsecsElapsed()) / 1e9;
        pages = preview->pageCount();
        poll->deleteLater();
        dialog->reject();
    });
    poll->start(0);
}

void BM_PreviewOpens(benchmark::State& state) {
    frmReportOutput view;
    view.setAttribute(Qt::WA_DeleteOnClose, false);
    view.setReportTitle(u"Sales"_s);
    view.setRecordset(buildSales(Columns::All, kRows));
    view.setGroupFirstN(1);
    view.resize(1200, 700);
    view.show();
    QCoreApplication::processEvents();
    gEnablePreview = true;
    modPrinting::setPrintersInstalled(false);
    modPrinting::setPageSetupHandler([](QPrinter&) { return true; });
    auto* print = view.findChild<QPushButton*>(u"cmdPrint"_s);
    int pages = 0;
    for (auto _ : state) {
        double seconds = 0;
        QElapsedTimer clock;
        closeWhenShown(clock, seconds, pages);
        clock.start();
        print->click();
        state.SetIterationTime(seconds);
    }
    state.counters["pages"] = pages;
}

} // namespace

BENCHMARK(BM_PreviewOpens)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
