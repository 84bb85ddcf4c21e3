#pragma once

// tillsight-report's work on a session: connect, run the report the options name as the Power
// Search view runs it, and write the file. Failures go where the client sends them (the site's
// log, the link's messages); what the runner itself has to say goes to the session's messages.

#include "recordset/Recordset.h"
#include "report/RunnerOptions.h"

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace output {
class OpenedReport;
}
namespace vb {
class VbError;
}
namespace core {
class Session;
struct SearchCriteria;
} // namespace core

namespace report {

// The process's exit status.
enum ExitStatus : int { kSucceeded = 0, kFailed = 1, kBadArguments = 2 };

// A result as the view that would show it receives it.
struct ReportResult {
    std::shared_ptr<rs::Recordset> records;
    QString title;
    std::int16_t groupFirstN = 0;
};

class ReportRunner {
public:
    // `now` is the moment the preset ranges are worked out from.
    ReportRunner(core::Session& session, double now);

    ExitStatus run(const RunnerOptions& options);

    // The report alone, on a connected session; none when it failed (and was told).
    std::optional<ReportResult> fetch(const RunnerOptions& options);

private:
    bool connect(const RunnerOptions& options);
    std::optional<ReportResult> fetchFixed(const FixedReport& report, const RunnerOptions& options);
    std::optional<ReportResult> fetchSaved(const SavedSearch& search, const RunnerOptions& options);
    std::optional<ReportResult> fetchQuery(const QueryText& query);
    // The options' interval over `criteria`'s own: a preset, a custom range, or left as it is.
    void applyInterval(const RunnerOptions& options, core::SearchCriteria& criteria) const;
    bool write(const ReportResult& result, const RunnerOptions& options);
    bool writeXls(const ReportResult& result, const QString& path);
    bool writePdf(const output::OpenedReport& opened, const QString& path);
    bool writeChart(const ReportResult& result, const RunnerOptions& options);
    bool writeDailySummary(const DailySummary& summary, const RunnerOptions& options);
    // Has `make` write a file of its own beside `path`, and moves it over `path` only when whole:
    // a refused report leaves the target as it was, a partial one leaves nothing.
    bool writeWhole(const QString& path, const std::function<bool(const QString& partial)>& make);
    void tell(const QString& message);
    std::nullopt_t failed(const vb::VbError& error, const QString& routine);

    core::Session& session_;
    double now_;
};

} // namespace report
