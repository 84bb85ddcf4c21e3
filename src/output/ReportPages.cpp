#include "output/ReportPages.h"

#include "output/ColumnFit.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPageSize>
#include <QPagedPaintDevice>
#include <QPainter>
#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace output {

namespace {

// Smaller than this, a printed report is no longer read but deciphered.
constexpr double kSmallestReadablePoints = 6.5;
// Room around a cell's text, in points.
constexpr double kCellPadding = 2;
const QColor kRuleColour(160, 160, 160);
const QColor kHeaderFill(225, 225, 225);
const QColor kGroupFill(240, 240, 240);

double pointSizeOf(const QFont& font) {
    // A font set in pixels is taken at the screen's usual 96 pixels per inch.
    return font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72.0 / 96.0;
}

QFont scaled(const QFont& font, double scale) {
    QFont out = font;
    out.setPointSizeF(pointSizeOf(font) * scale);
    return out;
}

} // namespace

MarkedText fncSplitMarkedText(const QString& text, int page) {
    QString expanded = text;
    expanded.replace(u"\\p"_s, QString::number(page));
    const QStringList parts = expanded.split(u"\\t"_s);
    MarkedText out;
    if (parts.size() == 1) {
        out.left = parts[0];
        return out;
    }
    out.left = parts[0];
    out.centre = parts[1];
    // A third marker and beyond: the rest stays on the right.
    out.right = parts.mid(2).join(u"\\t"_s);
    return out;
}

QString fncPageHeader(const QString& caption) {
    return u"\\t"_s + caption;
}

QString fncPageFooter(const QString& generated) {
    return u"\\t\\p\\tGenerated "_s + generated;
}

QFont fncPageHeaderFont(const QFont& gridFont) {
    QFont font = gridFont;
    font.setPointSize(12);
    return font;
}

QPageLayout fncDefaultPageLayout(const QLocale& locale) {
    const bool inches = locale.measurementSystem() == QLocale::ImperialUSSystem;
    return QPageLayout(QPageSize(inches ? QPageSize::Letter : QPageSize::A4), QPageLayout::Portrait,
                       QMarginsF(36, 36, 36, 36), QPageLayout::Point);
}

QList<double> fncFittedWidths(const GroupingModel& rows, const QList<int>& columns,
                              const QFont& font, double indentation, QPaintDevice& device) {
    const RecordsetModel& source = *rows.sourceModel();
    QFont bold = font;
    bold.setBold(true);
    const QFontMetricsF plain(font, &device);
    const QFontMetricsF heading(bold, &device);
    const double toPoints = 72.0 / device.logicalDpiX();
    const TextMeasure measure{
        [&](const QString& text) { return int(std::ceil(plain.horizontalAdvance(text))); },
        int(std::ceil(plain.maxWidth()))};
    QList<double> widths;
    for (const int column : columns) {
        const double caption =
            heading.horizontalAdvance(rows.headerData(column, Qt::Horizontal).toString());
        double text = source.recordset() ? widestShownWidth(*source.recordset(), column,
                                                            source.columnFormat(column), measure)
                                         : 0;
        double width = std::max(caption, text) * toPoints + 2 * kCellPadding + 1;
        if (column == 0) width += indentation * rows.groupColumns().size();
        widths.append(width);
    }
    return widths;
}

ReportPages::ReportPages(const PrintedReport& report, QPagedPaintDevice& device)
    : report_(report), device_(device), resolution_(device.logicalDpiX()),
      paper_(QPointF(0, 0), device.pageLayout().paintRectPixels(resolution_).size()) {
    chooseScale(paper_.width());
    planBands(paper_.width());
    bodyFont_ = scaled(report.font, scale_);
    bodyMetrics_ = QFontMetricsF(bodyFont_, &device);
    boldFont_ = bodyFont_;
    boldFont_.setBold(true);
    lineHeight_ = QFontMetricsF(bodyFont_, &device).height() + dots(2 * kCellPadding * scale_);
    headerBlock_ = QFontMetricsF(report.headerFont, &device).height() * 2;
    footerBlock_ = QFontMetricsF(report.font, &device).height() * 2;
    const double body = paper_.height() - headerBlock_ - footerBlock_ - lineHeight_;
    linesPerPage_ = std::max(1, int(std::floor(body / lineHeight_)));
    const int lines = report.lines.lineCount();
    pagesPerBand_ = std::max(1, (lines + linesPerPage_ - 1) / linesPerPage_);
}

void ReportPages::chooseScale(double available) {
    double total = 0;
    for (const double width : report_.widths)
        total += dots(width);
    if (total <= available || total <= 0) return;
    scale_ = std::max(available / total, kSmallestReadablePoints / pointSizeOf(report_.font));
    scale_ = std::min(scale_, 1.0);
}

// Greedy bands: as many columns as fit at the chosen scale; a column wider than the page alone
// gets a band of its own and is cut at the margin.
void ReportPages::planBands(double available) {
    Band band{0, 0, {0.0}};
    for (int i = 0; i < report_.columns.size(); ++i) {
        const double width = dots(report_.widths.value(i)) * scale_;
        if (band.count > 0 && band.edges.last() + width > available + 0.5) {
            bands_.append(band);
            band = Band{i, 0, {0.0}};
        }
        ++band.count;
        band.edges.append(band.edges.last() + width);
    }
    bands_.append(band);
}

bool ReportPages::print(QPagedPaintDevice& device) const {
    QPainter painter;
    if (!painter.begin(&device)) return false;
    for (int page = 0; page < pageCount(); ++page) {
        if (page > 0 && !device.newPage()) return false;
        paintPage(painter, page);
    }
    return painter.end();
}

// Fills first, then every text in one pen, then every rule in another: a page of a thousand cells
// changes the painter's state a few times instead of thousands.
void ReportPages::paintPage(QPainter& painter, int page) const {
    painter.save();
    painter.setClipRect(paper_);
    const Band& band = bands_[page / pagesPerBand_];
    const int first = (page % pagesPerBand_) * linesPerPage_;
    const int last = std::min(report_.lines.lineCount(), first + linesPerPage_);
    const double width = band.edges.last();
    const auto topOf = [&](int line) { return headerBlock_ + (line - first + 1) * lineHeight_; };

    painter.fillRect(QRectF(0, headerBlock_, width, lineHeight_), kHeaderFill);
    for (int line = first; line < last; ++line)
        if (report_.rows.isGroupRow(report_.lines.indexAt(line)))
            painter.fillRect(QRectF(0, topOf(line), width, lineHeight_), kGroupFill);

    painter.setPen(Qt::black);
    paintHeaderAndFooter(painter, page);
    paintColumnHeader(painter, band, headerBlock_);
    for (int line = first; line < last; ++line)
        paintLine(painter, band, line, topOf(line));

    painter.setPen(QPen(kRuleColour, 0));
    painter.drawLines(rules(band, first, last));
    painter.restore();
}

// Under the header and every line, and between the cells of each run of data lines; a group
// line spans the band undivided, as in the grid.
QList<QLineF> ReportPages::rules(const Band& band, int first, int last) const {
    const double width = band.edges.last();
    QList<QLineF> out;
    double top = headerBlock_;
    double runTop = top;
    const auto closeRun = [&](double bottom) {
        if (bottom > runTop)
            for (const double x : band.edges)
                out.append(QLineF(x, runTop, x, bottom));
    };
    out.append(QLineF(0, top, width, top));
    top += lineHeight_;
    for (int line = first; line <= last; ++line) {
        out.append(QLineF(0, top, width, top));
        if (line == last) break;
        if (report_.rows.isGroupRow(report_.lines.indexAt(line))) {
            closeRun(top);
            runTop = top + lineHeight_;
        }
        top += lineHeight_;
    }
    closeRun(top);
    return out;
}

void ReportPages::paintHeaderAndFooter(QPainter& painter, int page) const {
    const auto paintParts = [&](const MarkedText& parts, const QRectF& area) {
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter, parts.left);
        painter.drawText(area, Qt::AlignHCenter | Qt::AlignVCenter, parts.centre);
        painter.drawText(area, Qt::AlignRight | Qt::AlignVCenter, parts.right);
    };
    const int number = report_.firstPageNumber + page;
    painter.setFont(report_.headerFont);
    paintParts(fncSplitMarkedText(report_.header, number),
               QRectF(0, 0, paper_.width(), headerBlock_ / 2));
    painter.setFont(report_.font);
    paintParts(fncSplitMarkedText(report_.footer, number),
               QRectF(0, paper_.height() - footerBlock_ / 2, paper_.width(), footerBlock_ / 2));
}

// One line of text within `room` from `left`, at `baseline`, elided when it does not fit. Drawn
// at a point rather than laid out in a box: on a PDF page the layout costs more than the text.
void ReportPages::drawFitted(QPainter& painter, const QFontMetricsF& metrics, QString text,
                             double left, double room, double baseline, Qt::Alignment align) const {
    const bool surelyFits = text.size() * metrics.maxWidth() <= room;
    if (surelyFits && (align & Qt::AlignLeft)) {
        painter.drawText(QPointF(left, baseline), text);
        return;
    }
    double width = metrics.horizontalAdvance(text);
    if (width > room) {
        text = metrics.elidedText(text, Qt::ElideRight, room);
        width = metrics.horizontalAdvance(text);
    }
    if (align & Qt::AlignRight)
        left += room - width;
    else if (align & Qt::AlignHCenter)
        left += (room - width) / 2;
    painter.drawText(QPointF(left, baseline), text);
}

double ReportPages::baselineOf(const QFontMetricsF& metrics, double top) const {
    return top + (lineHeight_ - metrics.height()) / 2 + metrics.ascent();
}

void ReportPages::paintColumnHeader(QPainter& painter, const Band& band, double top) const {
    painter.setFont(boldFont_);
    const QFontMetricsF metrics(boldFont_, &device_);
    const double pad = dots(kCellPadding * scale_);
    for (int i = 0; i < band.count; ++i) {
        const int column = report_.columns[band.first + i];
        drawFitted(painter, metrics, report_.rows.headerData(column, Qt::Horizontal).toString(),
                   band.edges[i] + pad, band.edges[i + 1] - band.edges[i] - 2 * pad,
                   baselineOf(metrics, top), Qt::AlignLeft);
    }
}

void ReportPages::paintLine(QPainter& painter, const Band& band, int line, double top) const {
    const QModelIndex index = report_.lines.indexAt(line);
    const double indent = dots(report_.indentation * scale_) * report_.lines.depthOf(index);
    const double pad = dots(kCellPadding * scale_);
    if (report_.rows.isGroupRow(index)) {
        painter.setFont(boldFont_);
        const QFontMetricsF metrics(boldFont_, &device_);
        // As on screen, a group's line may run past the last column: it is cut at the margin.
        drawFitted(painter, metrics, index.data().toString(), indent + pad,
                   paper_.width() - indent - 2 * pad, baselineOf(metrics, top), Qt::AlignLeft);
        return;
    }
    painter.setFont(bodyFont_);
    const QFontMetricsF& metrics = bodyMetrics_;
    const double baseline = baselineOf(metrics, top);
    for (int i = 0; i < band.count; ++i) {
        const QModelIndex cell = index.siblingAtColumn(report_.columns[band.first + i]);
        const double left = band.edges[i] + (cell.column() == 0 ? indent : 0);
        const double room = std::max(0.0, band.edges[i + 1] - left - 2 * pad);
        const auto align = Qt::Alignment(cell.data(Qt::TextAlignmentRole).toInt());
        drawFitted(painter, metrics, cell.data().toString(), left + pad, room, baseline,
                   align & Qt::AlignHorizontal_Mask);
    }
}

} // namespace output
