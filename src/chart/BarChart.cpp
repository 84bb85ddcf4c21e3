#include "chart/BarChart.h"

#include "chart/ChartInputHandler.h"
#include "vb/Convert.h"

#include <Q3DBars>
#include <Q3DCamera>
#include <Q3DScene>
#include <Q3DTheme>
#include <QBar3DSeries>
#include <QBarDataProxy>
#include <QCategory3DAxis>
#include <QKeyEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QValue3DAxis>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace chart {

namespace {

constexpr double kTwipsPerPixel = 15.0;
constexpr double kMarginTwips = 1000.0;
// Seen at the opening angles, a side of a chart in a window of common size reads with 30
// labels at most; beyond that every other label (or more) is left out, and the bar under the
// pointer still names its row in full.
constexpr int kMostLabels = 30;

int fncPixels(double twips) {
    return int(vb::roundHalfEven(twips / kTwipsPerPixel));
}

// Colours far apart on the wheel, one per series, in series order.
QList<QColor> fncSeriesColours(int count) {
    QList<QColor> colours;
    for (int i = 0; i < count; ++i)
        colours << QColor::fromHsv(int(i * 137.508) % 360, 170, 225);
    return colours;
}

// The graph draws its labels at a size that follows the font and spaces its bars by their
// number: the more bars along a side, the smaller the type, so neighbours do not run together.
QFont fncLabelFont(int mostLabels) {
    QFont font(u"DejaVu Sans"_s);
    font.setPointSize(std::clamp(360 / std::max(mostLabels, 1), 10, 30));
    return font;
}

// The records run along the front (the graph's columns), the series one behind the other (its
// rows): a chart has more records than series, and the front is the longer side.
QBarDataArray* fncBarRows(const ChartData& data) {
    auto* rows = new QBarDataArray;
    rows->reserve(data.columns);
    for (int series = 0; series < data.columns; ++series) {
        auto* bars = new QBarDataRow(data.rows);
        for (int record = 0; record < data.rows; ++record)
            (*bars)[record].setValue(float(data.value(record, series)));
        rows->append(bars);
    }
    return rows;
}

// Bars as deep as wide put many records beside few series on a long thin floor, whose short side
// has no room for its labels: deeper bars bring the floor toward twice as long as deep.
float fncBarThickness(const ChartData& data) {
    if (data.rows == 0) return 1.0f;
    return std::clamp(2.0f * float(data.columns) / float(data.rows), 0.25f, 1.0f);
}

QStringList fncPadded(QStringList labels, int count) {
    while (labels.size() < count)
        labels << QString();
    return labels;
}

} // namespace

QString fncHeaderText(const QString& title) {
    return title.isEmpty() ? u"Tillsight Chart"_s : title;
}

QRect fncChartArea(QSize chartSize) {
    const int margin = fncPixels(kMarginTwips);
    const double chartWidth = chartSize.width() * kTwipsPerPixel;
    const double chartHeight = chartSize.height() * kTwipsPerPixel;
    return {margin, margin, fncPixels(chartWidth - 2 * kMarginTwips),
            fncPixels(chartHeight - 2 * kMarginTwips)};
}

QStringList fncThinnedLabels(const QStringList& labels, int most) {
    if (labels.size() <= most) return labels;
    const qsizetype step = (labels.size() + most - 1) / most;
    QStringList thinned;
    thinned.reserve(labels.size());
    for (qsizetype i = 0; i < labels.size(); ++i)
        thinned << (i % step == 0 ? labels[i] : QString());
    return thinned;
}

BarChart::BarChart(Q3DBars& graph, QObject* parent)
    : QObject(parent), graph_(graph), series_(new QBar3DSeries),
      input_(new ChartInputHandler(&graph)) {
    subStyleGraph();
    graph_.addSeries(series_);
    graph_.setActiveInputHandler(input_);
    graph_.installEventFilter(this);
    connect(series_, &QBar3DSeries::selectedBarChanged, this, &BarChart::subLabelSelection);
}

void BarChart::subStyleGraph() {
    Q3DTheme* theme = graph_.activeTheme();
    theme->setType(Q3DTheme::ThemeQt);
    theme->setWindowColor(Qt::white);
    theme->setBackgroundColor(QColor(0xf2, 0xf2, 0xf2));
    theme->setLabelBackgroundEnabled(false);
    theme->setColorStyle(Q3DTheme::ColorStyleUniform);
    graph_.setShadowQuality(QAbstract3DGraph::ShadowQualityNone);
    graph_.setSelectionMode(QAbstract3DGraph::SelectionItem);
    // Names lie flat, out from their bars, so long ones never cross their neighbours; the
    // numbers turn toward the eye.
    graph_.columnAxis()->setTitleVisible(true);
    graph_.valueAxis()->setLabelAutoRotation(90.0f);
    graph_.valueAxis()->setLabelFormat(u"%.0f"_s);
    subResetView(*graph_.scene()->activeCamera());
}

void BarChart::setData(const ChartData& data) {
    data_ = data;
    series_->dataProxy()->resetArray(fncBarRows(data), data.seriesLabels,
                                     fncPadded(data.rowLabels, data.rows));
    series_->setRowColors(fncSeriesColours(data.columns));
    graph_.setBarThickness(fncBarThickness(data));
    graph_.columnAxis()->setTitle(data.firstAxisTitle);
    graph_.columnAxis()->setLabels(
        fncThinnedLabels(fncPadded(data.rowLabels, data.rows), kMostLabels));
    graph_.rowAxis()->setTitle(QString());
    graph_.rowAxis()->setLabels(fncThinnedLabels(data.seriesLabels, kMostLabels));
    graph_.valueAxis()->setTitle(QString());
    graph_.activeTheme()->setFont(
        fncLabelFont(std::min(kMostLabels, std::max(data.rows, data.columns))));
}

void BarChart::subLabelSelection(const QPoint& bar) {
    if (bar == QBar3DSeries::invalidSelectionPosition()) return;
    const int series = bar.x();
    const int record = bar.y();
    const QString label = record < data_.rowLabels.size() ? data_.rowLabels[record] : QString();
    // The names are written out whole here: the axis may show only every tenth of them.
    series_->setItemLabelFormat(label + u", "_s + data_.seriesLabels.value(series) + u": "_s +
                                vb::doubleToText(data_.value(record, series)));
}

bool BarChart::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && input_->cancelDrag())
        return true;
    return QObject::eventFilter(watched, event);
}

QImage BarChart::image(QSize chartSize, const QString& header) const {
    const QRect area = fncChartArea(chartSize);
    return fncChartImage(chartSize, header, graph_.renderToImage(0, area.size()));
}

QImage fncChartImage(QSize chartSize, const QString& header, const QImage& plot) {
    QImage image(chartSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    const QRect area = fncChartArea(chartSize);
    painter.drawImage(area, plot);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(area.top() / 3);
    font.setBold(true);
    // A long report title shrinks to the width rather than losing both its ends.
    const int room = chartSize.width() * 19 / 20;
    const int wide = QFontMetrics(font).horizontalAdvance(header);
    if (wide > room) font.setPixelSize(std::max(8, font.pixelSize() * room / wide));
    painter.setFont(font);
    painter.drawText(QRect(0, 0, chartSize.width(), area.top()), Qt::AlignCenter, header);
    return image;
}

QImage fncRenderChart(const ChartData& data, const QString& title, QSize chartSize) {
    Q3DBars graph;
    BarChart chart(graph);
    chart.setData(data);
    graph.resize(fncChartArea(chartSize).size());
    return chart.image(chartSize, fncHeaderText(title));
}

} // namespace chart
