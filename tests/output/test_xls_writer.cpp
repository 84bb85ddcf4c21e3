#include "output/XlsWriter.h"

#include "support/XlsReadBack.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using output::XlsCell;
using output::XlsWriter;
using testsupport::ReadBack;
using testsupport::readBack;

namespace {

class XlsWriterTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path(const QString& name = u"out.xls"_s) const { return dir.filePath(name); }

    ReadBack saveAndRead(XlsWriter& writer) {
        EXPECT_TRUE(writer.save(path())) << writer.error().toStdString();
        return readBack(path());
    }
};

QJsonArray dateParts(int y, int mo, int d, int h, int mi, int s) {
    return {y, mo, d, h, mi, s};
}

struct CellCase {
    const char* what;
    XlsCell cell;
    const char* type;
    QJsonValue value;
    const char* format;
};

// One case a row, in column 1 behind an empty column 0, so empty cells are read back too.
TEST_F(XlsWriterTest, EveryKindOfCellReadsBackWithItsTypeValueAndFormat) {
    const QString longText = QString(40000, u'ß');
    const std::vector<CellCase> cases{
        {"Latin-1 text", XlsCell::text(u"Grüße, Señor"_s), "text", u"Grüße, Señor"_s, "General"},
        {"wide text", XlsCell::text(u"Łódź 東京 😀"_s), "text", u"Łódź 東京 😀"_s, "General"},
        {"empty text", XlsCell::text({}), "text", u""_s, "General"},
        {"text past the cell limit", XlsCell::text(longText), "text", longText.left(32767),
         "General"},
        {"fraction", XlsCell::number(3.25), "number", 3.25, "General"},
        {"small whole number", XlsCell::number(-7), "number", -7.0, "General"},
        {"whole number too wide for RK", XlsCell::number(536870912), "number", 536870912.0,
         "General"},
        {"lowest RK number", XlsCell::number(-536870912), "number", -536870912.0, "General"},
        {"large fraction", XlsCell::number(1e15 + 0.5), "number", 1e15 + 0.5, "General"},
        {"date only", XlsCell::date(45000), "date", dateParts(2023, 3, 15, 0, 0, 0), "yyyy-mm-dd"},
        {"time only", XlsCell::date(0.75), "date", dateParts(0, 0, 0, 18, 0, 0), "hh:mm:ss"},
        {"midnight alone", XlsCell::date(0), "date", dateParts(0, 0, 0, 0, 0, 0), "hh:mm:ss"},
        {"date and time", XlsCell::date(36525 + 0.5 + 30.0 / 86400), "date",
         dateParts(1999, 12, 31, 12, 0, 30), "yyyy-mm-dd hh:mm:ss"},
        {"currency", XlsCell::currency(-1234.5678), "number", -1234.5678, "#,##0.00"},
        {"whole currency", XlsCell::currency(20), "number", 20.0, "#,##0.00"},
        {"true", XlsCell::boolean(true), "boolean", 1, "General"},
        {"false", XlsCell::boolean(false), "boolean", 0, "General"},
        {"empty", XlsCell(), "empty", u""_s, ""},
    };
    XlsWriter writer(u"Sales Übersicht"_s);
    for (const CellCase& c : cases)
        ASSERT_TRUE(writer.addRow(std::vector<XlsCell>{XlsCell(), c.cell}));
    const ReadBack sheet = saveAndRead(writer);

    EXPECT_EQ(sheet.sheetName, u"Sales Übersicht"_s);
    ASSERT_EQ(sheet.rows, int(cases.size()) - 1) << "a last row of nothing but empty cells";
    ASSERT_EQ(sheet.columns, 2);
    for (int r = 0; r < sheet.rows; ++r) {
        SCOPED_TRACE(cases[r].what);
        const QJsonArray& cell = sheet.at(r, 1);
        EXPECT_EQ(cell[2].toString(), QString::fromLatin1(cases[r].type));
        EXPECT_EQ(cell[3], cases[r].value);
        EXPECT_EQ(cell[4].toString(), QString::fromLatin1(cases[r].format));
        EXPECT_EQ(sheet.at(r, 0)[2].toString(), u"empty"_s);
    }
}

// Enough distinct texts to fill many SST records: one-byte and UTF-16 ones, with surrogate pairs,
// of lengths that put the record ends at every kind of place, one of them longer than a record.
TEST_F(XlsWriterTest, SharedStringsCrossingRecordEndsReadBackWhole) {
    QStringList texts;
    for (int i = 0; i < 3000; ++i) {
        const QString letter = i % 3 == 0 ? u"é"_s : i % 3 == 1 ? u"Ж"_s : u"😀"_s;
        texts.append(u"%1:"_s.arg(i) + letter.repeated(i % 97));
    }
    texts.append(u"Д😀"_s.repeated(9000));
    texts.append(u"ä"_s.repeated(20000));
    XlsWriter writer;
    for (const QString& text : texts) // each text twice: the second use shares the first's entry
        ASSERT_TRUE(writer.addRow(std::vector<XlsCell>{XlsCell::text(text), XlsCell::text(text)}));
    const ReadBack sheet = saveAndRead(writer);

    ASSERT_EQ(sheet.rows, texts.size());
    for (int r = 0; r < sheet.rows; ++r) {
        ASSERT_EQ(sheet.at(r, 0)[3].toString(), texts[r]) << "row " << r;
        ASSERT_EQ(sheet.at(r, 1)[3].toString(), texts[r]) << "row " << r;
    }
}

// A full sheet of eight-byte numbers needs more FAT sectors than the header lists: the rest are
// found through DIFAT sectors.
TEST_F(XlsWriterTest, FullSheetOverSevenMegabytesReadsBackThroughTheDifat) {
    constexpr int kColumns = 10;
    constexpr int kDataRows = 65534;
    XlsWriter writer;
    std::vector<XlsCell> row;
    for (int c = 0; c < kColumns; ++c)
        row.push_back(XlsCell::text(u"Field %1"_s.arg(c)));
    ASSERT_TRUE(writer.addRow(row));
    for (int r = 0; r < kDataRows; ++r) {
        for (int c = 0; c < kColumns; ++c)
            row[c] = c == 0 ? XlsCell::text(u"Register %1"_s.arg(r % 40))
                            : XlsCell::number(r * 10 + c + 0.25);
        ASSERT_TRUE(writer.addRow(row));
    }
    ASSERT_TRUE(writer.addRow(std::vector<XlsCell>(kColumns)));
    ASSERT_TRUE(writer.save(path())) << writer.error().toStdString();

    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_GT(file.size(), 7 * 1024 * 1024);
    file.seek(0x48);
    quint32 difatSectors = 0;
    file.read(reinterpret_cast<char*>(&difatSectors), 4);
    EXPECT_GT(difatSectors, 0u);

    const ReadBack sheet = readBack(path());
    ASSERT_EQ(sheet.rows, kDataRows + 1);
    ASSERT_EQ(sheet.columns, kColumns);
    EXPECT_EQ(sheet.at(0, 9)[3].toString(), u"Field 9"_s);
    for (int r = 1; r <= kDataRows; ++r) {
        ASSERT_EQ(sheet.at(r, 0)[3].toString(), u"Register %1"_s.arg((r - 1) % 40)) << r;
        for (int c = 1; c < kColumns; ++c)
            ASSERT_EQ(sheet.at(r, c)[3].toDouble(), (r - 1) * 10 + c + 0.25) << r << "," << c;
    }
}

TEST_F(XlsWriterTest, SheetsPastTheLimitsAreRefusedAndNothingIsWritten) {
    EXPECT_FALSE(XlsWriter::sizeError(65536, 256));
    EXPECT_TRUE(XlsWriter::sizeError(65537, 1));
    EXPECT_TRUE(XlsWriter::sizeError(1, 257));

    QFile old(path());
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old contents");
    old.close();

    XlsWriter tooWide;
    EXPECT_FALSE(tooWide.addRow(std::vector<XlsCell>(257, XlsCell::number(1))));
    EXPECT_TRUE(tooWide.error().contains(u"256 columns"_s));

    XlsWriter tooLong;
    const std::vector<XlsCell> one{XlsCell::number(1)};
    for (int r = 0; r < XlsWriter::kMaxRows; ++r)
        ASSERT_TRUE(tooLong.addRow(one));
    EXPECT_FALSE(tooLong.addRow(one));
    EXPECT_TRUE(tooLong.error().contains(u"65536 rows"_s));
    EXPECT_EQ(tooLong.rowCount(), XlsWriter::kMaxRows);

    for (XlsWriter* refused : {&tooWide, &tooLong}) {
        EXPECT_FALSE(refused->save(path()));
        ASSERT_TRUE(old.open(QIODevice::ReadOnly));
        EXPECT_EQ(old.readAll(), "old contents");
        old.close();
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{u"out.xls"_s});
}

TEST_F(XlsWriterTest, SavingReplacesAnOldFileWholeAndLeavesNoTemporaryFile) {
    XlsWriter first;
    ASSERT_TRUE(first.addRow(std::vector<XlsCell>{XlsCell::text(u"first"_s)}));
    ASSERT_TRUE(first.save(path()));
    XlsWriter second;
    ASSERT_TRUE(second.addRow(std::vector<XlsCell>{XlsCell::text(u"second"_s)}));
    const ReadBack sheet = saveAndRead(second);
    EXPECT_EQ(sheet.at(0, 0)[3].toString(), u"second"_s);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{u"out.xls"_s});

    XlsWriter nowhere;
    EXPECT_FALSE(nowhere.save(dir.filePath(u"missing/out.xls"_s)));
    EXPECT_TRUE(nowhere.error().contains(u"missing/out.xls"_s));
}

} // namespace
