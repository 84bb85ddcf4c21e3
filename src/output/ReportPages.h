#pragma once

// A report on paper: the grid's lines as the user left them (a folded group prints as its group
// line), its columns in display order at their widths and formats, under a page header and over
// a page footer. Every page repeats the column header and no line is split between pages.
// Columns wider than the page are scaled down to fit its width, down to a readable size; past
// that they continue on further pages: every line of the first band of columns, then the next
// band. Pages are laid out by arithmetic, not held, so any page can be painted alone and memory
// does not grow with the page count.

#include "output/GroupingModel.h"
#include "output/RowLayout.h"

#include <QFont>
#include <QFontMetricsF>
#include <QLineF>
#include <QList>
#include <QLocale>
#include <QPageLayout>
#include <QRectF>
#include <QString>

class QPagedPaintDevice;
class QPaintDevice;
class QPainter;

namespace output {

// The three parts of a page header or footer text. A backslash and a "t" separate the left, centre
// and right parts; a backslash and a "p" stand for the page number.
struct MarkedText {
    QString left;
    QString centre;
    QString right;
};
MarkedText fncSplitMarkedText(const QString& text, int page);

struct PrintedReport {
    const GroupingModel& rows;
    // The lines as the grid shows them.
    const RowLayout& lines;
    // Source columns in display order, and each one's width in points (1/72 inch).
    QList<int> columns;
    QList<double> widths;
    QString header;   // "\t" + title: the title centred
    QString footer;   // "\t\p\tGenerated " + the view's opening time
    QFont font;       // the grid's font, for the column header, lines and footer
    QFont headerFont; // the page header's
    // The grid's indentation of a nested line, in points.
    double indentation = 14;
    // The number the first page carries; the classic grid's printing took one more integer setting
    // before its page setup, and this is the one a report needs: pages are numbered from 1.
    int firstPageNumber = 1;
};

// "\t" + the title: the page header of a report titled `caption`.
QString fncPageHeader(const QString& caption);
// "\t\p\tGenerated " + the view's opening time: the page number centred, the time on the right.
QString fncPageFooter(const QString& generated);

// The page header's font: the grid's header font at 12 points.
QFont fncPageHeaderFont(const QFont& gridFont);

// The paper a report prints on until the user picks another: the locale's (Letter where paper is
// measured in inches, else A4), upright, with half-inch margins.
QPageLayout fncDefaultPageLayout(const QLocale& locale = QLocale::system());

// Widths in points that show each column's caption and widest text in `font` on `device`, as a
// view that opens fitted shows them; the first column also makes room for the deepest nesting.
QList<double> fncFittedWidths(const GroupingModel& rows, const QList<int>& columns,
                              const QFont& font, double indentation, QPaintDevice& device);

class ReportPages {
public:
    // Lays the report out on the device's pages (its page layout and resolution).
    ReportPages(const PrintedReport& report, QPagedPaintDevice& device);

    int pageCount() const { return bands_.size() * pagesPerBand_; }
    // The scale the columns and their font were printed at (1 when they fit).
    double scale() const { return scale_; }
    int bandCount() const { return int(bands_.size()); }

    // Paints page `page` (0-based) on a painter of the device, within the page's margins.
    void paintPage(QPainter& painter, int page) const;

    // Paints every page on `device`, each after the first on a new page; false when the device
    // refused a page or the painter could not start.
    bool print(QPagedPaintDevice& device) const;

private:
    struct Band {
        int first = 0; // into report.columns
        int count = 0;
        QList<double> edges; // count + 1 x positions, in device dots
    };

    double dots(double points) const { return points * resolution_ / 72.0; }
    void chooseScale(double available);
    void planBands(double available);
    void paintHeaderAndFooter(QPainter& painter, int page) const;
    QList<QLineF> rules(const Band& band, int first, int last) const;
    void drawFitted(QPainter& painter, const QFontMetricsF& metrics, QString text, double left,
                    double room, double baseline, Qt::Alignment align) const;
    double baselineOf(const QFontMetricsF& metrics, double top) const;
    void paintColumnHeader(QPainter& painter, const Band& band, double top) const;
    void paintLine(QPainter& painter, const Band& band, int line, double top) const;

    const PrintedReport& report_;
    QPagedPaintDevice& device_;
    int resolution_;
    QRectF paper_; // the printable area, in device dots
    double scale_ = 1;
    QFont bodyFont_;
    QFontMetricsF bodyMetrics_{QFont()};
    QFont boldFont_;
    double lineHeight_ = 0;
    double headerBlock_ = 0; // the page header and the gap below it
    double footerBlock_ = 0;
    int linesPerPage_ = 1;
    int pagesPerBand_ = 1;
    QList<Band> bands_;
};

} // namespace output
