#pragma once

// A result set's chart as 3-D bars: the records along the front, one row of bars per series
// behind them, each series in a colour of its own, the values upright. The same object drives
// the view's window and the image a program without a window writes.

#include "chart/ChartData.h"

#include <QImage>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

class Q3DBars;
class QBar3DSeries;

namespace chart {

class ChartInputHandler;

// The chart's header: the title, or the program's name for a chart without one.
QString fncHeaderText(const QString& title);

// The part of a chart of this size that holds the bars: a margin of 1,000 twips on every side,
// counted at 15 twips to the pixel whatever the screen (67 pixels, rounded half to even). The
// header sits in the top margin.
QRect fncChartArea(QSize chartSize);

// At most `most` of the labels, evenly spread, the others blank: a label per bar of a thousand
// rows would print over its neighbours.
QStringList fncThinnedLabels(const QStringList& labels, int most);

class BarChart : public QObject {
    Q_OBJECT
public:
    // Styles the graph and gives it our input handler; the graph outlives this object.
    explicit BarChart(Q3DBars& graph, QObject* parent = nullptr);

    void setData(const ChartData& data);
    const ChartData& data() const { return data_; }

    Q3DBars& graph() const { return graph_; }
    QBar3DSeries& series() const { return *series_; }
    ChartInputHandler& input() const { return *input_; }

    // The chart of this size as an image: the header over the bars drawn as now seen.
    QImage image(QSize chartSize, const QString& header) const;

protected:
    // Escape reaches the graph's window, not the handler: it cancels a drag there.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void subStyleGraph();
    void subLabelSelection(const QPoint& bar);

    Q3DBars& graph_;
    QBar3DSeries* series_;
    ChartInputHandler* input_;
    ChartData data_;
};

// The header over the plot, on the chart's background; `plot` fills the chart area.
QImage fncChartImage(QSize chartSize, const QString& header, const QImage& plot);

// The chart of `data` drawn without a window on screen (OpenGL is still needed).
QImage fncRenderChart(const ChartData& data, const QString& title, QSize chartSize);

} // namespace chart
