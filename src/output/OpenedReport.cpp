#include "output/OpenedReport.h"

#include "output/ColumnFormat.h"
#include "vb/Format.h"

#include <QStringList>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace output {

QString groupSortText(const QList<std::pair<QString, QString>>& fieldsAndTags) {
    QStringList terms;
    for (const auto& [field, tag] : fieldsAndTags)
        terms.append(u'[' + field + u']' + tag);
    return terms.join(u", "_s);
}

QString fncReportCaption(const QString& title) {
    return title.isEmpty() ? u"Tillsight Report"_s : title;
}

QString fncGeneratedText(double moment) {
    const vb::Variant when = vb::Variant::date(moment);
    return vb::format(when, u"Short Date"_s) + u' ' + vb::format(when, u"HH:nn:ss"_s);
}

OpenedReport::OpenedReport(std::shared_ptr<rs::Recordset> records, int groupFirstN, QString title)
    : grouping_(&records_), title_(std::move(title)) {
    QList<int> groups;
    if (records) {
        QList<std::pair<QString, QString>> sort;
        for (int i = 0; i < std::min(groupFirstN, records->fieldCount()); ++i) {
            groups.append(i);
            sort.append({records->field(i).name(), u" ASC"_s});
        }
        records->setSort(groupSortText(sort));
    }
    records_.setRecordset(records);
    if (records)
        for (int i = 0; i < records->fieldCount(); ++i)
            records_.setColumnFormat(
                i, fncColumnFormat(records->field(i).type(), records->field(i).name()));
    grouping_.setGroupColumns(groups);
}

ShownReport OpenedReport::shown() const {
    QList<int> columns;
    for (int i = 0; i < records_.columnCount(); ++i)
        columns.append(i);
    return {grouping_, columns, fncReportCaption(title_)};
}

} // namespace output
