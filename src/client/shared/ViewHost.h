#pragma once

// What a view asks of the window it lives in: the session it works on, the status panels, and
// opening another view. Declared here, below every view folder, and implemented by the main
// window, so a view never needs to know the main window, nor another folder's views.

#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace core {
class Session;
}
namespace dvr {
struct Endpoints;
}

namespace client {

// A report output view to open: set as its creator sets its properties before showing it.
struct ReportRequest {
    QString title;
    std::shared_ptr<rs::Recordset> records;
    std::shared_ptr<rs::Recordset> reg2Cam;
    std::int16_t groupFirstN = 0;
};

class ViewHost {
public:
    virtual core::Session& session() = 0;

    // Empty text hides the panel and clears its tooltip; other text shows the panel with the text
    // and one trailing blank, the tooltip without it.
    virtual void subSetStatusPanel(const QString& key, const QString& text) = 0;

    // Opens a report output view over the request's set as a child window; a request without a
    // set opens nothing.
    virtual void subShowReport(const ReportRequest& request) = 0;

    // Opens a chart view of the set, titled `title`, as a child window. A set the chart cannot
    // count (more than 32,767 rows) is told as the run-time tells an overflow, and no view opens.
    virtual void subShowChart(const QString& title,
                              const std::shared_ptr<rs::Recordset>& records) = 0;

    // Opens a new Daily Summary view of the day of `reportDate` as a child window, its summary
    // built first; several may be open at once.
    virtual void subShowDailySummary(double reportDate) = 0;

    // The full connect has loaded the lookups: the search views may fill their lists.
    virtual void subConnected() = 0;

    // Where report views opened from now on reach the video viewer.
    virtual dvr::Endpoints dvrEndpoints() const = 0;

protected:
    ~ViewHost() = default;
};

} // namespace client
