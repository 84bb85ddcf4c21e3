#include "output/ColumnFit.h"
#include "output/ColumnFormat.h"

#include "recordset/RecordsetTestData.h"
#include "support/VbTestSupport.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;

namespace {

// Characters of differing widths, digits among them, so a fit cannot lean on a fixed pitch.
int proportional(const QString& text) {
    int width = 0;
    for (QChar c : text)
        width += 5 + c.unicode() % 7;
    return width;
}

int monospace(const QString& text) {
    return 7 * int(text.size());
}

const output::TextMeasure kProportional{proportional, 11};
const output::TextMeasure kMonospace{monospace, 7};

// Deterministic spread of values of every kind, with Nulls, negatives, days before 1899, lone
// days and lone times, and one long name far down the rows.
std::shared_ptr<rs::Recordset> varied(int rows) {
    rs::RecordsetBuilder builder;
    builder.addField("Clerk", AdoType::VarWChar, 40);
    builder.addField("Qty", AdoType::Integer);
    builder.addField("Price", AdoType::Double);
    builder.addField("Total", AdoType::Currency);
    builder.addField("Stamp", AdoType::Date);
    builder.addField("Date", AdoType::Date);
    builder.addField("Time", AdoType::Date);
    builder.addField("Ratio", AdoType::Double);
    const std::array<const char*, 5> clerks{"Ann", "Bob", "Wim", "Iris", "Mo"};
    for (int i = 0; i < rows; ++i) {
        const int k = (i * 7919) % 1009;
        const QString clerk = i == rows * 4 / 5 ? u"Maximilian Wolfgang Oberhuber"_s
                                                : QString::fromLatin1(clerks[i % 5]);
        const double stamp = (i % 11 == 0)   ? double(k)
                             : (i % 13 == 0) ? k / 1009.0
                                             : (k - 300) * 3.7 + (i % 86400) / 86400.0;
        builder.appendRow(std::vector<vb::Variant>{
            i % 17 == 0 ? vb::Variant::null() : vb::Variant(clerk),
            vb::Variant(std::int32_t(k * 13 - 4000)),
            vb::Variant((k - 500) * 1.375),
            vb::Variant(vb::Currency::fromDouble((k - 200) * 97.25)),
            i % 19 == 0 ? vb::Variant::null() : vb::Variant::date(stamp),
            vb::Variant::date(37600 + k % 400),
            vb::Variant::date((k * 37 % 86400) / 86400.0),
            vb::Variant(1.0 / (k + 1)),
        });
    }
    return builder.finish();
}

// The answer read the slow way: every row shown, formatted and measured.
int everyRow(const rs::Recordset& records, int field, const QString& format,
             const output::TextMeasure& measure) {
    int widest = 0;
    for (std::size_t row = 0; row < records.recordCount(); ++row)
        widest =
            std::max(widest, measure.width(output::shownText(records.valueAt(row, field), format)));
    return widest;
}

QString formatOf(const rs::Recordset& records, int field) {
    return output::fncColumnFormat(records.field(field).type(), records.field(field).name());
}

} // namespace

class ColumnFit : public testsupport::EnUsTest {};

TEST_F(ColumnFit, TheWidestOfEveryRowInEveryKindOfColumn) {
    const auto records = varied(5000);
    for (const QString& filter : {QString(), u"Qty > 2000"_s, u"Clerk = 'Mo'"_s}) {
        records->setFilter(filter);
        for (int field = 0; field < records->fieldCount(); ++field) {
            const QString format = formatOf(*records, field);
            const std::string where =
                (records->field(field).name() + u" where "_s + filter).toStdString();
            // At a fixed pitch nothing is guessed: the fit is the widest cell.
            EXPECT_EQ(output::widestShownWidth(*records, field, format, kMonospace),
                      everyRow(*records, field, format, kMonospace))
                << where;
            // Digits of differing widths: a number fits any value of its length, a stamp any
            // of its days beside any of its times; texts and lone days or times exactly.
            const int fit = output::widestShownWidth(*records, field, format, kProportional);
            const int slow = everyRow(*records, field, format, kProportional);
            const bool bound = (field >= 1 && field <= 3) || field == 4;
            if (bound)
                EXPECT_GE(fit, slow) << where;
            else
                EXPECT_EQ(fit, slow) << where;
        }
    }
}

TEST_F(ColumnFit, TheLongTextFarDownIsMeasuredAndAFormatAppliesToEveryValue) {
    const auto records = varied(5000);
    EXPECT_EQ(output::widestShownWidth(*records, 0, QString(), kMonospace),
              monospace(u"Maximilian Wolfgang Oberhuber"_s));
    // Fractions under a plain format change length freely: they are all read.
    const QString general = u"General Number"_s;
    EXPECT_EQ(output::widestShownWidth(*records, 7, general, kProportional),
              everyRow(*records, 7, general, kProportional));
    EXPECT_EQ(output::widestShownWidth(*records, 4, u"yyyy"_s, kMonospace),
              everyRow(*records, 4, u"yyyy"_s, kMonospace));
    records->setFilter(u"Qty > 99999"_s);
    EXPECT_EQ(output::widestShownWidth(*records, 0, QString(), kMonospace), 0);
    EXPECT_EQ(output::widestShownWidth(*records, 4, QString(), kMonospace), 0);
}
