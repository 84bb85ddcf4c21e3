// tillsight-report --chart, run on the display the test was given (xvfb-run in the test script):
// the report's chart as an image, and the overflow the chart view shows, as an exit status.

#include "support/DemoSite.h"

#include <QFile>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Outcome {
    int exitCode = -1;
    QString err;
};

Outcome runTool(const QStringList& arguments) {
    QProcess process;
    process.start(TILLSIGHT_REPORT_TOOL,
                  QStringList{u"--site"_s, testsupport::demoSite().path} + arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
}

TEST(RunnerChart, DrawsTheReportsChartOrTellsTheOverflow) {
    QTemporaryDir dir;
    for (const char* format : {"bmp", "png"}) {
        const QString out = dir.filePath(u"week."_s + QString::fromLatin1(format));
        const Outcome drawn = runTool({u"--fixed"_s, u"7"_s, u"--from"_s, u"2003-03-21"_s,
                                       u"--to"_s, u"2003-03-28"_s, u"--chart"_s, u"--out"_s, out});
        ASSERT_EQ(drawn.exitCode, 0) << drawn.err.toStdString();
        QImageReader image(out);
        EXPECT_EQ(image.format(), format);
        EXPECT_EQ(image.size(), QSize(720, 500));
    }
    const QString out = dir.filePath(u"big.png"_s);
    const Outcome overflow = runTool(
        {u"--query"_s, u"select t.fldtransdesc, t.fldtransqty from tblTrans t, lkpActions a"_s,
         u"--chart"_s, u"--out"_s, out});
    EXPECT_EQ(overflow.exitCode, 1);
    EXPECT_TRUE(overflow.err.contains(u"Run-time error '6': Overflow"_s))
        << overflow.err.toStdString();
    EXPECT_FALSE(QFile::exists(out));
}

} // namespace
