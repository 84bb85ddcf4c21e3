// The spreadsheet export over real result sets, read back by readers nobody here wrote: xlrd for
// every cell, and the headless spreadsheet program for a full sheet.

#include "output/clsExcel.h"

#include "core/SessionTest.h"
#include "recordset/RecordsetTestData.h"
#include "support/ExportedFiles.h"
#include "support/XlsReadBack.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <functional>
#include <numeric>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::date;
using rstest::lng;
using rstest::money;
using rstest::null;
using testsupport::readBack;

namespace {

// One Long field "Id" holding 1 to `rows`.
std::shared_ptr<rs::Recordset> numbered(int rows, int fields = 1) {
    rs::RecordsetBuilder builder;
    builder.addField(u"Id"_s, AdoType::Integer);
    for (int f = 1; f < fields; ++f)
        builder.addField(u"F%1"_s.arg(f), AdoType::Integer);
    builder.reserve(std::size_t(rows));
    std::vector<vb::Variant> row(std::size_t(fields), lng(0));
    for (int r = 1; r <= rows; ++r) {
        row[0] = lng(r);
        builder.appendRow(row);
    }
    return builder.finish();
}

class ClsExcelTest : public testsupport::SessionTest {
protected:
    // Exports through a new clsExcel, recording its events; `onEvent` runs after each is recorded.
    bool exportSet(std::shared_ptr<rs::Recordset> records, const QString& path,
                   core::Session* through = nullptr) {
        clsExcel excel(through ? *through : session());
        QObject::connect(&excel, &clsExcel::OnPercentChange, [&](int& percent) {
            events.push_back(percent);
            busyDuringEvents = busyDuringEvents && excel.busy();
            onEvent(percent, records);
        });
        excel.subCreateExcel(records, path);
        EXPECT_FALSE(excel.busy());
        return excel.completed();
    }

    QString path(const QString& name = u"out.xls"_s) const { return dir_.filePath(name); }

    // number|description|module|routine of every record in the site's log.
    QStringList logged() {
        QStringList out;
        auto rows = link().OpenRecordset(
            u"select fldLogErrNumber, fldLogDesc, fldLogModule, fldLogRoutine from tblLog"_s);
        for (; rows && !rows->eof(); rows->moveNext()) {
            QStringList texts;
            for (int f = 0; f < 4; ++f)
                texts << vb::cstr(rows->field(f).value());
            out << texts.join(u'|');
        }
        return out;
    }

    std::vector<int> events;
    bool busyDuringEvents = true;
    std::function<void(int, std::shared_ptr<rs::Recordset>&)> onEvent = [](int, auto&) {};
};

TEST_F(ClsExcelTest, TheSheetHoldsFieldNamesThenEveryRowInCursorOrderWithItsType) {
    auto records = rstest::makeRecordset(
        {{"Clerk", AdoType::VarWChar, 20},
         {"Qty", AdoType::SmallInt},
         {"Ratio", AdoType::Single},
         {"Amount", AdoType::Double},
         {"Price", AdoType::Currency},
         {"Sold", AdoType::Date},
         {"Void", AdoType::Boolean}},
        {{"Zoë", vb::Variant(std::int16_t(3)), vb::Variant(0.5f), vb::Variant(1234.5), money(2.25),
          date("2003/03/28 10:15:30"), vb::Variant(true)},
         {"Ann", null(), null(), null(), null(), null(), null()},
         {"Mia", vb::Variant(std::int16_t(-2)), vb::Variant(-1.25f), vb::Variant(1e-3), money(-0.5),
          date("2003/03/27"), vb::Variant(false)}});
    records->setSort(u"Clerk DESC"_s);
    // The caller lets go of its set while events run; the export keeps its own.
    bool kept = true;
    onEvent = [&kept](int, std::shared_ptr<rs::Recordset>& set) {
        if (!set) return;
        const std::weak_ptr<rs::Recordset> watched = set;
        set.reset();
        kept = kept && !watched.expired();
    };
    EXPECT_TRUE(exportSet(std::move(records), path()));
    EXPECT_TRUE(kept);

    const testsupport::ReadBack sheet = readBack(path());
    ASSERT_EQ(sheet.rows, 4);
    ASSERT_EQ(sheet.columns, 7);
    const QStringList header{u"Clerk"_s, u"Qty"_s,  u"Ratio"_s, u"Amount"_s,
                             u"Price"_s, u"Sold"_s, u"Void"_s};
    for (int c = 0; c < 7; ++c)
        EXPECT_EQ(sheet.at(0, c)[3].toString(), header[c]);
    EXPECT_EQ(sheet.at(1, 0)[3].toString(), u"Zoë"_s) << "sorted by clerk, descending";
    EXPECT_EQ(sheet.at(2, 0)[3].toString(), u"Mia"_s);
    EXPECT_EQ(sheet.at(3, 0)[3].toString(), u"Ann"_s);
    const QJsonArray expected[]{
        {1, 1, "number", 3.0, "General"},
        {1, 2, "number", 0.5, "General"},
        {1, 3, "number", 1234.5, "General"},
        {1, 4, "number", 2.25, "#,##0.00"},
        {1, 5, "date", QJsonArray{2003, 3, 28, 10, 15, 30}, "yyyy-mm-dd hh:mm:ss"},
        {1, 6, "boolean", 1, "General"},
        {2, 2, "number", -1.25, "General"},
        {2, 3, "number", 1e-3, "General"},
        {2, 4, "number", -0.5, "#,##0.00"},
        {2, 5, "date", QJsonArray{2003, 3, 27, 0, 0, 0}, "yyyy-mm-dd"},
        {2, 6, "boolean", 0, "General"},
    };
    for (const QJsonArray& cell : expected)
        EXPECT_EQ(sheet.at(cell[0].toInt(), cell[1].toInt()), cell);
    for (int c = 1; c < 7; ++c)
        EXPECT_EQ(sheet.at(3, c), (QJsonArray{3, c, "text", "", "General"}))
            << "Null, column " << c;

    EXPECT_EQ(events, (std::vector<int>{33, 67, 100, 0}));
    EXPECT_TRUE(busyDuringEvents);
    EXPECT_EQ(feedback_.begun, 1);
    EXPECT_EQ(feedback_.depth, 0) << "the hourglass is gone";
    EXPECT_TRUE(feedback_.boxes.isEmpty());
}

// Each whole percentage once, halves to the even neighbour (12.5 is 12, 37.5 is 38).
TEST_F(ClsExcelTest, ProgressIsToldOnEachChangeOfTheWholePercentThenZero) {
    const std::pair<int, std::vector<int>> cases[]{
        {1, {100, 0}},
        {8, {12, 25, 38, 50, 62, 75, 88, 100, 0}},
    };
    for (const auto& [rows, expected] : cases) {
        events.clear();
        EXPECT_TRUE(exportSet(numbered(rows), path()));
        EXPECT_EQ(events, expected) << rows << " rows";
    }
    std::vector<int> everyPercent(100);
    std::iota(everyPercent.begin(), everyPercent.end(), 1);
    everyPercent.push_back(0);
    events.clear();
    EXPECT_TRUE(exportSet(numbered(400), path()));
    EXPECT_EQ(events, everyPercent);
}

TEST_F(ClsExcelTest, AFullSheetIsWrittenAndOneRowMoreIsToldAndWritesNothing) {
    EXPECT_TRUE(exportSet(numbered(65534), path(u"full.xls"_s)));
    const testsupport::ReadBack sheet = readBack(path(u"full.xls"_s));
    ASSERT_EQ(sheet.rows, 65535);
    EXPECT_EQ(sheet.at(65534, 0)[3].toDouble(), 65534.0);

    events.clear();
    EXPECT_FALSE(exportSet(numbered(65535), path(u"over.xls"_s)));
    EXPECT_EQ(feedback_.boxes,
              QStringList{u"|More than 65534 records. Cannot export to Excel.|0"_s});
    EXPECT_FALSE(QFile::exists(path(u"over.xls"_s)));
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(feedback_.begun, 1) << "only the full sheet showed the hourglass";
}

TEST_F(ClsExcelTest, UnsetAndEmptySetsAreToldWhereThereIsAnyoneToTell) {
    auto filteredEmpty = numbered(3);
    filteredEmpty->setFilter(u"Id > 5"_s);
    EXPECT_FALSE(exportSet(nullptr, path()));
    EXPECT_FALSE(exportSet(numbered(0), path()));
    EXPECT_FALSE(exportSet(filteredEmpty, path()));
    EXPECT_EQ(feedback_.boxes, (QStringList{u"|Invalid recordset. Cannot export to Excel.|0"_s,
                                            u"|No Data. Cannot export to Excel.|0"_s,
                                            u"|No Data. Cannot export to Excel.|0"_s}));

    core::Session silent;
    EXPECT_FALSE(exportSet(nullptr, path(), &silent));
    EXPECT_FALSE(exportSet(numbered(0), path(), &silent));
    EXPECT_EQ(feedback_.boxes.size(), 3);
    EXPECT_EQ(feedback_.begun, 0);
    EXPECT_TRUE(QDir(dir_.path()).entryList({u"*.xls"_s}).isEmpty());
}

// A listener that filters the set to nothing under the export: the copy fails on the next row.
TEST_F(ClsExcelTest, ACopyThatFailsPartWayIsLoggedAndTheRowsBeforeItAreSaved) {
    connectSite();
    onEvent = [](int percent, std::shared_ptr<rs::Recordset>& set) {
        if (percent == 33) set->setFilter(u"Id = 0"_s);
    };
    EXPECT_FALSE(exportSet(numbered(3), path()));
    EXPECT_EQ(events, (std::vector<int>{33, 0}));
    const testsupport::ReadBack sheet = readBack(path());
    ASSERT_EQ(sheet.rows, 2) << "the header and the first row";
    EXPECT_EQ(sheet.at(1, 0)[3].toDouble(), 1.0);
    const QStringList log = logged();
    ASSERT_EQ(log.size(), 1);
    EXPECT_TRUE(log[0].startsWith(u"3021|"_s)) << log[0].toStdString();
    EXPECT_TRUE(log[0].endsWith(u"|clsExcel|subCopyRecords"_s));
    EXPECT_EQ(feedback_.depth, 0) << "the save went well";
}

// After either failure the hourglass stays, as the client has always left it.
TEST_F(ClsExcelTest, TooManyFieldsAndAFailedSaveAreLoggedAndLeaveNoFile) {
    connectSite();
    EXPECT_TRUE(exportSet(numbered(1, 255), path(u"widest.xls"_s)));
    EXPECT_EQ(readBack(path(u"widest.xls"_s)).columns, 255);

    EXPECT_FALSE(exportSet(numbered(1, 256), path(u"wide.xls"_s)));
    EXPECT_FALSE(QFile::exists(path(u"wide.xls"_s)));
    EXPECT_EQ(events, (std::vector<int>{100, 0})) << "the 255 fields only";

    const QString nowhere = path(u"missing/out.xls"_s);
    EXPECT_FALSE(exportSet(numbered(2), nowhere));
    EXPECT_FALSE(QFile::exists(nowhere));

    const QStringList log = logged();
    ASSERT_EQ(log.size(), 2);
    EXPECT_EQ(log[0], u"9|A sheet has 256 columns, the last kept empty; this set has 256 fields."
                      u"|clsExcel|subCreateExcel"_s);
    EXPECT_TRUE(log[1].startsWith(u"75|Cannot write "_s + nowhere)) << log[1].toStdString();
    EXPECT_TRUE(log[1].endsWith(u"|clsExcel|subCreateExcel"_s));
    EXPECT_EQ(feedback_.begun, 3);
    EXPECT_EQ(feedback_.depth, 2);
    EXPECT_TRUE(feedback_.boxes.isEmpty());
}

// 65,534 rows of ten kinds of value make a file over 7 MB, whose FAT is found through DIFAT
// sectors; the spreadsheet program must read it whole.
TEST_F(ClsExcelTest, AFullSheetOfEveryKindReadsBackInTheSpreadsheetProgram) {
    const QString soffice = QStandardPaths::findExecutable(u"soffice"_s);
    ASSERT_FALSE(soffice.isEmpty()) << "scripts/setup.sh installs libreoffice-calc-nogui";
    constexpr int kRows = 65534;
    rs::RecordsetBuilder builder;
    for (auto [name, type] : {std::pair{u"Clerk"_s, AdoType::VarWChar},
                              {u"Reg"_s, AdoType::Integer},
                              {u"Amount"_s, AdoType::Double},
                              {u"Price"_s, AdoType::Currency},
                              {u"Sold"_s, AdoType::Date},
                              {u"Void"_s, AdoType::Boolean},
                              {u"Ratio"_s, AdoType::Single},
                              {u"Item"_s, AdoType::VarWChar},
                              {u"Cost"_s, AdoType::Double},
                              {u"Day"_s, AdoType::Date}})
        builder.addField(name, type);
    builder.reserve(kRows);
    for (int r = 0; r < kRows; ++r)
        builder.appendRow(std::vector<vb::Variant>{
            u"Clerk %1"_s.arg(r % 50), lng(r), vb::Variant(r * 1.375), money(r * 0.01),
            vb::Variant::date(37000 + r / 8.0), vb::Variant(r % 2 == 1), vb::Variant(r * 0.5f),
            r % 17 ? vb::Variant(u"Crème brûlée %1"_s.arg(r % 3000)) : null(),
            vb::Variant(r % 1000 * 2.5), vb::Variant::date(40000 + r % 400)});
    ASSERT_TRUE(exportSet(builder.finish(), path(u"full.xls"_s)));
    ASSERT_GT(QFileInfo(path(u"full.xls"_s)).size(), 7 * 1024 * 1024);

    QTemporaryDir profile;
    QProcess convert;
    convert.start(soffice,
                  {u"--headless"_s,
                   u"-env:UserInstallation="_s + QUrl::fromLocalFile(profile.path()).toString(),
                   u"--convert-to"_s, u"csv:Text - txt - csv (StarCalc):44,34,76,1"_s,
                   u"--outdir"_s, dir_.path(), path(u"full.xls"_s)});
    ASSERT_TRUE(convert.waitForFinished(600000)) << "conversion still running after 10 minutes";
    ASSERT_EQ(convert.exitCode(), 0) << convert.readAllStandardError().toStdString();
    const QStringList lines =
        testsupport::fileText(path(u"full.csv"_s)).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), kRows + 1);
    // Text comes quoted; a boolean without a boolean format shows as 1 or 0.
    EXPECT_EQ(lines[0], u"\"Clerk\",\"Reg\",\"Amount\",\"Price\",\"Sold\",\"Void\",\"Ratio\","
                        u"\"Item\",\"Cost\",\"Day\""_s);
    EXPECT_EQ(lines[7], u"\"Clerk 6\",6,8.25,0.06,2001-04-19 18:00:00,0,3,\"Crème brûlée 6\",15,"
                        u"2009-07-12"_s);
    EXPECT_EQ(lines[18],
              u"\"Clerk 17\",17,23.375,0.17,2001-04-21 03:00:00,1,8.5,,42.5,2009-07-23"_s)
        << "a Null item is empty";
    EXPECT_EQ(lines[kRows], u"\"Clerk 33\",65533,90107.875,655.33,2023-09-22 15:00:00,1,32766.5,"
                            u"\"Crème brûlée 2533\",1332.5,2010-06-04"_s);
}

} // namespace
