#pragma once

// The Daily Summary: one day's action code counts by clerk beside the 30-day averages of the
// average clerk and of each clerk, run as three of the site's Fixed Reports and composed into one
// HTML document with captions for its tables and charts. Writing ReportDate does all the work;
// every other member reads what it left. The document's bytes are what sites' mail and archive
// scripts were written against, blanks, tags and line ends included.

#include "recordset/Recordset.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace core {
class Session;
}

class clsDailySummary {
public:
    explicit clsDailySummary(core::Session& session);

    // Written before ReportDate: the runner names its temporary table after it.
    std::int16_t SessionIndex() const { return mintSessionIndex; }
    void setSessionIndex(std::int16_t index) { mintSessionIndex = index; }

    QString CountsChartCaption() const { return mstrCountsChartCaption; }
    QString AvgByClerkChartCaption() const { return mstrAvgByClerkChartCaption; }
    QString HTML() const { return mstrHTML; }
    // Fixed Reports 20, 25 and 7; none when the site gave no result. After the build each stands
    // past its last row.
    const std::shared_ptr<rs::Recordset>& AvgByClerkTable() const { return mrsAvgByClerk; }
    const std::shared_ptr<rs::Recordset>& OverallTable() const { return mrsOverall; }
    const std::shared_ptr<rs::Recordset>& CountsTable() const { return mrsCounts; }
    QString Title() const { return mstrTitle; }

    double ReportDate() const { return mdtReportDate; }
    // Builds the whole summary for the day of `date` (its time of day is ignored by the queries).
    void setReportDate(double date);

    // The document from the current captions and tables; not stored.
    QString fncBuildHTML() const;

    // The criteria and the period text, as the reports and captions take them.
    static QString fncDayCriteria(double date);
    static QString fncThirtyDayCriteria(double date);
    static QString fncThirtyDayPeriod(double date);
    // One table: a header row of column names, then every row. Moves the set past its last row.
    static QString fncTableHTML(const std::shared_ptr<rs::Recordset>& records);

private:
    core::Session& session_;
    double mdtReportDate = 0;
    QString mstrTitle;
    QString mstrCountsCaption;
    QString mstrOverallCaption;
    QString mstrAvgByClerkCaption;
    QString mstrAvgByClerkChartCaption;
    QString mstrCountsChartCaption;
    QString mstrHTML;
    std::shared_ptr<rs::Recordset> mrsCounts;
    std::shared_ptr<rs::Recordset> mrsOverall;
    std::shared_ptr<rs::Recordset> mrsAvgByClerk;
    std::int16_t mintSessionIndex = 0;
};
