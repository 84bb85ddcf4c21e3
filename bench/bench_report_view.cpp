#include "BenchSales.h"

#include "reports/GridBody.h"
#include "reports/GridHeader.h"
#include "reports/GroupBand.h"
#include "reports/ReportGrid.h"
#include "reports/frmReportOutput.h"
#include "reports/modQueries.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMimeData>
#include <QMouseEvent>
#include <benchmark/benchmark.h>

// The report output view over a million sales lines of ten columns, as the user meets it: from
// showing the view to its grid's first paint, a header dropped into the group band (one level,
// then a second), a click on a group header that re-sorts, each until the grid has painted the
// result; Autosize's fit; and the heap the view adds to the Recordset's own.
namespace {

using namespace benchsales;
using namespace Qt::Literals::StringLiterals;

constexpr int kClerk = 7;
constexpr int kAction = 9;

// Notes the first paint of the widget it watches.
class PaintProbe : public QObject {
public:
    explicit PaintProbe(QWidget* widget) : widget_(widget) { widget->installEventFilter(this); }
    ~PaintProbe() override { widget_->removeEventFilter(this); }
    // Runs events until the paint has been handled: the filter sees it just before it is.
    void wait() {
        while (!painted_)
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) painted_ = true;
        return false;
    }

private:
    QWidget* widget_;
    bool painted_ = false;
};

QWidget* gridViewport(frmReportOutput& view) {
    return view.DataList()->body()->viewport();
}

// A view over its own clone, so each run starts unsorted; shown and painted once.
std::unique_ptr<frmReportOutput> openView() {
    auto view = std::make_unique<frmReportOutput>();
    view->setAttribute(Qt::WA_DeleteOnClose, false);
    view->setReportTitle(u"Sales"_s);
    view->setRecordset(sales()->clone());
    PaintProbe probe(gridViewport(*view));
    view->show();
    probe.wait();
    return view;
}

void dropHeader(frmReportOutput& view, int column) {
    GroupBand* band = view.DataList()->groupBand();
    std::unique_ptr<QMimeData> data(view.DataList()->body()->header()->columnMimeData(column));
    const QPoint at(band->width() - 2, 5);
    QDragEnterEvent enter(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(band, &enter);
    QDropEvent drop(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(band, &drop);
}

void clickChip(frmReportOutput& view, int position) {
    GroupBand* band = view.DataList()->groupBand();
    const QPointF at = band->chipRect(position).center();
    for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, at, band->mapToGlobal(at), Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(band, &event);
    }
}

// Times one action on a fresh view, from the action until the grid has painted its outcome.
template <typename Prepare, typename Act>
void timeOnView(benchmark::State& state, Prepare prepare, Act act) {
    for (auto _ : state) {
        auto view = openView();
        prepare(*view);
        PaintProbe probe(gridViewport(*view));
        QElapsedTimer timer;
        timer.start();
        act(*view);
        probe.wait();
        state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9);
        state.counters["lines"] = view->DataList()->body()->lineCount();
    }
}

void BM_ShowToFirstPaint(benchmark::State& state) {
    for (auto _ : state) {
        auto view = std::make_unique<frmReportOutput>();
        view->setAttribute(Qt::WA_DeleteOnClose, false);
        view->setRecordset(sales()->clone());
        PaintProbe probe(gridViewport(*view));
        QElapsedTimer timer;
        timer.start();
        view->show();
        probe.wait();
        state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    }
}

void BM_GroupByOne(benchmark::State& state) {
    timeOnView(
        state, [](frmReportOutput&) {}, [](frmReportOutput& view) { dropHeader(view, kClerk); });
}

void BM_GroupBySecond(benchmark::State& state) {
    timeOnView(
        state, [](frmReportOutput& view) { dropHeader(view, kClerk); },
        [](frmReportOutput& view) { dropHeader(view, kAction); });
}

void BM_ResortByGroupHeader(benchmark::State& state) {
    timeOnView(
        state,
        [](frmReportOutput& view) {
            dropHeader(view, kClerk);
            dropHeader(view, kAction);
        },
        [](frmReportOutput& view) { clickChip(view, 0); });
}

// Autosize's fit of all ten columns to every one of the million rows' texts: each column's
// distinct texts, the extremes of its numbers and the distinct days and times of its stamps.
void BM_FitEveryColumn(benchmark::State& state) {
    auto view = openView();
    ReportGrid& grid = *view->DataList();
    for (auto _ : state) {
        modQueries::subAutoSizeColumns(grid, false);
        benchmark::DoNotOptimize(grid.columnWidth(0));
    }
    state.counters["columns"] = grid.columnCount();
}

// The heap the view holds beyond the Recordset: when it has opened, and grouped by two columns
// (the grouping sorts the set, whose sort order then counts as the view's).
void BM_ViewMemory(benchmark::State& state) {
    const double records = static_cast<double>(sales()->memoryBytes());
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        auto view = openView();
        const double opened = static_cast<double>(heapInUse() - before);
        dropHeader(*view, kClerk);
        dropHeader(*view, kAction);
        PaintProbe probe(gridViewport(*view));
        probe.wait();
        const double grouped = static_cast<double>(heapInUse() - before);
        state.counters["recordsetBytes"] = records;
        state.counters["openedBytes"] = opened;
        state.counters["groupedBytes"] = grouped;
        state.counters["openedShare"] = opened / records;
        state.counters["groupedShare"] = grouped / records;
    }
}

} // namespace

BENCHMARK(BM_ShowToFirstPaint)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(BM_GroupByOne)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(BM_GroupBySecond)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(BM_ResortByGroupHeader)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(BM_FitEveryColumn)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ViewMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    sales();    // built once, outside every timing
    openView(); // and the first view's set-up of fonts and styles
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
