#include "report/ReportRunner.h"

#include "chart/BarChart.h"
#include "chart/ChartData.h"
#include "core/Session.h"
#include "core/clsDailySummary.h"
#include "core/modDateRanges.h"
#include "core/modError.h"
#include "core/modFixedReports.h"
#include "core/modPowerSearch.h"
#include "core/modSavedSearches.h"
#include "output/OpenedReport.h"
#include "output/PrintedDocument.h"
#include "output/ReportPages.h"
#include "output/clsExcel.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/Cp1252.h"
#include "vb/VbError.h"

#include <QFile>
#include <QGuiApplication>
#include <QPdfWriter>
#include <QTemporaryFile>
#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace report {

namespace {

// The Power Search view's first choice when it opens: the previous day.
constexpr int kDefaultPreset = 1;
// The chart's size in the chart view as it opens, less its buttons.
constexpr QSize kChartSize(720, 500);
// A nested line's indentation on paper, in points, near the grid's on screen.
constexpr double kIndentation = 14;

std::optional<QString> readPassword(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return std::nullopt;
    QString line = QString::fromUtf8(file.readLine());
    while (line.endsWith(u'\n') || line.endsWith(u'\r'))
        line.chop(1);
    return line;
}

} // namespace

ReportRunner::ReportRunner(core::Session& session, double now) : session_(session), now_(now) {}

// As the Power Search view's handler of `routine` does: logged under the view's name, and told.
std::nullopt_t ReportRunner::failed(const vb::VbError& error, const QString& routine) {
    modError::subLogError(session_, error, u"frmPowerSearch"_s, routine);
    tell(error.description());
    return std::nullopt;
}

void ReportRunner::tell(const QString& message) {
    if (session_.messages()) session_.messages()->showMessage(message, u"tillsight-report"_s);
}

ExitStatus ReportRunner::run(const RunnerOptions& options) {
    if (!options.passwordFile.isEmpty()) {
        const auto password = readPassword(options.passwordFile);
        if (!password) {
            tell(u"cannot read the password file \"%1\""_s.arg(options.passwordFile));
            return kBadArguments;
        }
        session_.TillsightLink().setPassword(*password);
    }
    if (!connect(options)) return kFailed;
    bool written = false;
    if (const auto* summary = std::get_if<DailySummary>(&options.report)) {
        written = writeDailySummary(*summary, options);
    } else {
        const auto result = fetch(options);
        written = result && write(*result, options);
    }
    session_.TillsightLink().Disconnect();
    return written ? kSucceeded : kFailed;
}

bool ReportRunner::connect(const RunnerOptions& options) {
    if (session_.fncConnect(options.site, options.port)) return true;
    // The link has told why.
    tell(u"cannot connect to the site \"%1\""_s.arg(options.site));
    return false;
}

std::optional<ReportResult> ReportRunner::fetch(const RunnerOptions& options) {
    auto result = std::visit(
        [&](const auto& report) -> std::optional<ReportResult> {
            using Kind = std::decay_t<decltype(report)>;
            if constexpr (std::is_same_v<Kind, FixedReport>)
                return fetchFixed(report, options);
            else if constexpr (std::is_same_v<Kind, SavedSearch>)
                return fetchSaved(report, options);
            else if constexpr (std::is_same_v<Kind, QueryText>)
                return fetchQuery(report);
            else // a Daily Summary is a document of three results, not one
                return std::nullopt;
        },
        options.report);
    if (!result) return std::nullopt;
    if (!result->records) {
        tell(u"the site gave no result (its log and the messages above say why)"_s);
        return std::nullopt;
    }
    if (options.title) result->title = *options.title;
    return result;
}

void ReportRunner::applyInterval(const RunnerOptions& options,
                                 core::SearchCriteria& criteria) const {
    if (options.from) {
        criteria.interval = modDateRanges::kCustomRange;
        criteria.start = *options.from;
        criteria.end = *options.to;
    } else if (options.preset) {
        const auto range = modDateRanges::fncPresetRange(*options.preset, now_);
        criteria.interval = std::int16_t(*options.preset);
        criteria.start = range->start;
        criteria.end = range->end;
    }
}

// As the Fixed Reports tab runs a report: the heading from the list, the run, the list unfiltered
// again; a failure is logged under the tab's name.
std::optional<ReportResult> ReportRunner::fetchFixed(const FixedReport& report,
                                                     const RunnerOptions& options) {
    try {
        session_.subLoadFixedReports();
        QString listTitle;
        for (const auto& listed : modFixedReports::fncListedReports(session_))
            if (listed.id == report.id) listTitle = listed.title;
        if (listTitle.isEmpty()) {
            tell(u"the site lists no Fixed Report %1"_s.arg(report.id));
            return std::nullopt;
        }
        core::SearchCriteria criteria;
        criteria.interval = kDefaultPreset;
        const auto range = modDateRanges::fncPresetRange(kDefaultPreset, now_);
        criteria.start = range->start;
        criteria.end = range->end;
        applyInterval(options, criteria);

        const auto heading = modFixedReports::fncReportHeading(
            session_, report.id, listTitle, report.critical,
            modDateRanges::fncDateRangeText(criteria.start, criteria.end));
        QString unused;
        const QString criterion = modPowerSearch::fncTimeCriteria(criteria, unused);
        ReportResult result{modFixedReports::fncRunFixedReport(session_, report.id, criterion,
                                                               report.critical,
                                                               session_.SessionIndex()),
                            heading.title, heading.groupFirstN};
        session_.fixedReports().setFilter(QString());
        return result;
    } catch (const vb::VbError& error) {
        return failed(error, u"subRunFixedReport"_s);
    }
}

// As the view restores a saved search and runs it: the stored criteria, the stored interval
// worked out now unless the options give one, the saved title with the range.
std::optional<ReportResult> ReportRunner::fetchSaved(const SavedSearch& search,
                                                     const RunnerOptions& options) {
    try {
        const auto searches = modSavedSearches::fncLoadSavedSearches(session_);
        if (!searches) return std::nullopt;
        std::optional<std::int32_t> id;
        QString storedTitle;
        for (std::size_t row = 0; row < searches->recordCount(); ++row) {
            const QString title =
                vb::cstr(searches->valueAt(row, searches->field(u"fldReportTitle").index()));
            if (title.compare(search.title, Qt::CaseInsensitive) != 0) continue;
            id = vb::clng(searches->valueAt(row, searches->field(u"idfReports2ID").index()));
            storedTitle = title;
        }
        if (!id) {
            tell(u"the site has no saved search \"%1\""_s.arg(search.title));
            return std::nullopt;
        }
        core::SearchCriteria criteria = modSavedSearches::fncRestoreSearch(
            *searches, *id, now_, int(modPowerSearch::fncModifierCaptions().size()));
        applyInterval(options, criteria);
        const modPowerSearch::SearchText text = modPowerSearch::fncSearchText(criteria);
        return ReportResult{session_.TillsightLink().OpenRecordset(text.query),
                            modPowerSearch::fncSavedSearchTitle(storedTitle, criteria), 0};
    } catch (const vb::VbError& error) {
        return failed(error, u"subRunPowerSearch"_s);
    }
}

std::optional<ReportResult> ReportRunner::fetchQuery(const QueryText& query) {
    try {
        return ReportResult{session_.TillsightLink().OpenRecordset(query.text), QString(), 0};
    } catch (const vb::VbError& error) {
        return failed(error, u"subRunPowerSearch"_s);
    }
}

// An empty result still gives a file (its header): a nightly report of a quiet day is news too.
// The spreadsheet export alone refuses an empty set, with its own message.
// Every kind starts from the view's opening state, its grouping sort included.
bool ReportRunner::write(const ReportResult& result, const RunnerOptions& options) {
    const output::OpenedReport opened(result.records, result.groupFirstN, result.title);
    switch (options.output) {
    case OutputKind::Xls:
        return writeXls(result, options.out);
    case OutputKind::Pdf:
        return writePdf(opened, options.out);
    case OutputKind::Bmp:
    case OutputKind::Png:
        return writeChart(result, options);
    case OutputKind::Text:
    case OutputKind::Html:
        break;
    }
    const bool written = options.output == OutputKind::Text
                             ? output::writeDelimitedText(opened.shown(), options.out)
                             : output::writeHtmlTable(opened.shown(), options.out);
    if (!written) tell(u"cannot write \"%1\""_s.arg(options.out));
    return written;
}

bool ReportRunner::writeWhole(const QString& path,
                              const std::function<bool(const QString& partial)>& make) {
    QTemporaryFile partial(path + u".XXXXXX"_s);
    if (!partial.open()) {
        tell(u"cannot write \"%1\": %2"_s.arg(path, partial.errorString()));
        return false;
    }
    partial.close();
    if (!make(partial.fileName())) return false;
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(partial.fileName()).toStdString(),
                            QFile::encodeName(path).toStdString(), error);
    if (error)
        tell(u"cannot write \"%1\": %2"_s.arg(path, QString::fromStdString(error.message())));
    return !error;
}

// The spreadsheet follows the set's order after the view's grouping sort, as the client's export
// of an unchanged view does.
bool ReportRunner::writeXls(const ReportResult& result, const QString& path) {
    return writeWhole(path, [&](const QString& partial) {
        std::shared_ptr<rs::Recordset> records = result.records;
        records->moveFirst();
        clsExcel objXL(session_);
        objXL.subCreateExcel(records, partial);
        return objXL.completed();
    });
}

// The pages the report view prints when it has just opened: columns fitted, every group open,
// the title on top and this run's time in the footer.
bool ReportRunner::writePdf(const output::OpenedReport& opened, const QString& path) {
    const output::ShownReport shown = opened.shown();
    RowLayout lines;
    lines.rebuild(&opened.rows(), [](const QModelIndex&) { return true; });
    return writeWhole(path, [&](const QString& partial) {
        QPdfWriter writer(partial);
        writer.setPageLayout(output::fncDefaultPageLayout());
        writer.setTitle(shown.title);
        writer.setCreator(u"tillsight-report"_s);
        const QFont font = QGuiApplication::font();
        const output::PrintedReport printed{
            opened.rows(),
            lines,
            shown.columns,
            output::fncFittedWidths(opened.rows(), shown.columns, font, kIndentation, writer),
            output::fncPageHeader(shown.title),
            output::fncPageFooter(output::fncGeneratedText(now_)),
            font,
            output::fncPageHeaderFont(font),
            kIndentation};
        const bool printed_ = output::ReportPages(printed, writer).print(writer);
        if (!printed_) tell(u"cannot write \"%1\""_s.arg(path));
        return printed_;
    });
}

// The chart view's chart of the set as an unchanged report view holds it (its grouping sort),
// at the size the view opens with. More than 32,767 rows overflow, as in the view.
bool ReportRunner::writeChart(const ReportResult& result, const RunnerOptions& options) {
    try {
        const chart::ChartShape shape = chart::fncChartShape(*result.records);
        const chart::ChartData data = chart::fncChartData(*result.records, shape);
        const QImage image = chart::fncRenderChart(data, result.title, kChartSize);
        if (image.isNull()) {
            tell(u"cannot draw the chart: OpenGL gave no picture"_s);
            return false;
        }
        const char* format = options.output == OutputKind::Bmp ? "BMP" : "PNG";
        return writeWhole(options.out, [&](const QString& partial) {
            if (image.save(partial, format)) return true;
            tell(u"cannot write \"%1\""_s.arg(options.out));
            return false;
        });
    } catch (const vb::VbError& error) {
        tell(u"Run-time error '%1': %2"_s.arg(error.number()).arg(error.description()));
        return false;
    }
}

// The document the Daily Summary view shows. The page is written as the view exports it: the
// document's text one byte per character in the classic code page; the PDF is the document
// printed.
bool ReportRunner::writeDailySummary(const DailySummary& summary, const RunnerOptions& options) {
    try {
        clsDailySummary daily(session_);
        daily.setSessionIndex(session_.SessionIndex());
        daily.setReportDate(summary.date);
        return writeWhole(options.out, [&](const QString& partial) {
            if (options.output == OutputKind::Pdf) {
                QPdfWriter writer(partial);
                writer.setPageLayout(output::fncDefaultPageLayout());
                writer.setTitle(daily.Title());
                output::subPrintDocument(daily.HTML(), writer);
                return true;
            }
            QFile file(partial);
            const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                                 file.write(vb::encodeCp1252(daily.HTML())) >= 0 && file.flush();
            if (!written) tell(u"cannot write \"%1\""_s.arg(options.out));
            return written;
        });
    } catch (const vb::VbError& error) {
        tell(error.description());
        return false;
    }
}

} // namespace report
