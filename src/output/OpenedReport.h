#pragma once

// A report as its view shows it the moment it opens, before the user touches it: every column in
// its field's format and in field order, the first columns grouped when the report asks for it,
// and the set sorted by those groups. The runner writes files from this; the view starts from the
// same sort.

#include "output/ExportWriters.h"
#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"

#include <QList>
#include <QString>
#include <memory>
#include <utility>

namespace output {

// "[Date] ASC, [Clerk] DESC": the sort that puts a set's rows in the order of its groups, from
// each grouped field's name and its tag (" ASC", " DESC", or empty for the engine's default).
QString groupSortText(const QList<std::pair<QString, QString>>& fieldsAndTags);

// The caption of a report's view and pages: its title, or the product's name when it has none.
QString fncReportCaption(const QString& title);

// When a view opened, as its pages' footers show it: the short date, a blank, "HH:nn:ss".
QString fncGeneratedText(double moment);

class OpenedReport {
public:
    // Sorts `records` by its first `groupFirstN` fields, ascending.
    OpenedReport(std::shared_ptr<rs::Recordset> records, int groupFirstN, QString title);

    ShownReport shown() const;
    const GroupingModel& rows() const { return grouping_; }

private:
    RecordsetModel records_;
    GroupingModel grouping_;
    QString title_;
};

} // namespace output
