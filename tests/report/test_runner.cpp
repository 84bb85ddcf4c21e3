// tillsight-report run as a cron job runs it: a separate process with no display, on a copy of
// the demo site. Its files are checked against what the client's own report view exports for the
// same result, and its failures against the site's log.

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "core/clsDailySummary.h"
#include "core/modDateRanges.h"
#include "core/modFixedReports.h"
#include "core/modSavedSearches.h"
#include "jet/SqliteDatabase.h"
#include "output/ExportWriters.h"
#include "report/RunnerOptions.h"
#include "reports/ReportGrid.h"
#include "reports/frmReportOutput.h"
#include "vb/Convert.h"
#include "vb/Cp1252.h"
#include "vb/DateTime.h"

#include "core/SessionTest.h"
#include "support/DemoSite.h"
#include "support/ExportedFiles.h"
#include "support/GuiTestSupport.h"
#include "support/PdfText.h"
#include "support/XlsReadBack.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

class Runner : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        site_ = dir_.filePath(u"demo.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, site_));
        direct_ = jet::SqliteDatabase::open(site_);
    }

    void TearDown() override {
        if (session_) session_->TillsightLink().Disconnect();
        session_.reset();
        gConnected = false;
        GuiTest::TearDown();
    }

    // The site as the client's core reaches it, for results to compare with.
    core::Session& session() {
        if (!session_) {
            session_ = std::make_unique<core::Session>(&feedback_, &feedback_);
            EXPECT_TRUE(session_->fncConnect(site_, 0));
        }
        return *session_;
    }

    QString path(const QString& name) const { return dir_.filePath(name); }

    // The program as cron starts it: no display, no platform chosen.
    Outcome run(const QStringList& arguments) const {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QString::fromLatin1(name));
        process.setProcessEnvironment(environment);
        process.start(TILLSIGHT_REPORT_TOOL, arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    Outcome runOnSite(const QStringList& arguments) const {
        return run(QStringList{u"--site"_s, site_} + arguments);
    }

    // What the client's report view exports for this result, title and grouping, unchanged.
    QString viewExport(std::shared_ptr<rs::Recordset> records, const QString& title,
                       std::int16_t groupFirstN, bool html) {
        frmReportOutput view;
        view.setRecordset(std::move(records));
        view.setReportTitle(title);
        view.setGroupFirstN(groupFirstN);
        view.show();
        const output::ShownReport shown{*view.DataList()->groupingModel(),
                                        view.DataList()->displayColumns(), view.windowTitle()};
        const QString file = path(html ? u"view.htm"_s : u"view.txt"_s);
        EXPECT_TRUE(html ? output::writeHtmlTable(shown, file)
                         : output::writeDelimitedText(shown, file));
        return testsupport::fileText(file);
    }

    QStringList logRoutines() {
        QStringList out;
        const auto log = direct_->query(u"select fldLogModule, fldLogRoutine from tblLog"_s);
        for (std::size_t row = 0; row < log->recordCount(); ++row)
            out << vb::cstr(log->valueAt(row, 0)) + u'.' + vb::cstr(log->valueAt(row, 1));
        return out;
    }

    testsupport::RecordingFeedback feedback_;
    std::unique_ptr<core::Session> session_;
    QTemporaryDir dir_;
    QString site_;
    std::unique_ptr<jet::SqliteDatabase> direct_;
};

TEST_F(Runner, RefusesBadArgumentsBeforeConnecting) {
    const QList<QStringList> bad = {
        {},
        {u"--site"_s, u"x"_s, u"--out"_s, u"a.txt"_s}, // no report
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--query"_s, u"q"_s, u"--out"_s, u"a.txt"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"one"_s, u"--out"_s, u"a.txt"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.csv"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--from"_s,
         u"2003-03-01"_s}, // --to missing
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--from"_s,
         u"2003-02-30"_s, u"--to"_s, u"2003-03-01"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--from"_s,
         u"2003-03-02"_s, u"--to"_s, u"2003-03-01"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--preset"_s,
         u"Last Tuesday"_s},
        {u"--site"_s, u"x"_s, u"--query"_s, u"q"_s, u"--out"_s, u"a.txt"_s, u"--preset"_s,
         u"Current Day"_s},
        {u"--site"_s, u"x"_s, u"--saved"_s, u"s"_s, u"--critical"_s, u"--out"_s, u"a.txt"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--port"_s, u"-1"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"--colour"_s},
        {u"--site"_s, u"x"_s, u"--fixed"_s, u"1"_s, u"--out"_s, u"a.txt"_s, u"stray"_s},
        {u"--site"_s, u"x"_s, u"--daily-summary"_s, u"2003-03-27"_s, u"--out"_s, u"a.txt"_s},
        {u"--site"_s, u"x"_s, u"--daily-summary"_s, u"2003-03-27"_s, u"--out"_s, u"a.htm"_s,
         u"--preset"_s, u"Current Day"_s},
        {u"--site"_s, u"x"_s, u"--daily-summary"_s, u"2003-03-27"_s, u"--query"_s, u"q"_s,
         u"--out"_s, u"a.htm"_s},
    };
    for (const QStringList& arguments : bad) {
        const report::ParsedArguments parsed = report::parseArguments(arguments);
        EXPECT_FALSE(parsed.options) << arguments.join(u' ').toStdString();
        EXPECT_FALSE(parsed.error.isEmpty()) << arguments.join(u' ').toStdString();
    }

    const Outcome refused =
        run({u"--site"_s, site_, u"--fixed"_s, u"1"_s, u"--out"_s, path(u"a.doc"_s)});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(refused.err.contains(u".txt, .htm, .xls or .pdf"_s)) << refused.err.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"a.doc"_s)));

    // A chart needs OpenGL, which a run without a display cannot have.
    const Outcome chart =
        runOnSite({u"--fixed"_s, u"7"_s, u"--chart"_s, u"--out"_s, path(u"c.png"_s)});
    EXPECT_EQ(chart.exitCode, 1);
    EXPECT_TRUE(chart.err.contains(u"needs an OpenGL display"_s)) << chart.err.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"c.png"_s)));

    const Outcome help = run({u"--help"_s});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains(u"--password-file FILE"_s));
}

TEST_F(Runner, ReadsMomentsAndPresetsAsTheViewNamesThem) {
    EXPECT_EQ(report::parseMoment(u"2003-03-28"_s), vb::dateSerial(2003, 3, 28));
    EXPECT_EQ(report::parseMoment(u"2003-03-28 14:05:09"_s),
              vb::dateSerial(2003, 3, 28) + vb::timeSerial(14, 5, 9));
    for (const QString& wrong : {u"28/03/2003"_s, u"2003-3-28"_s, u"2003-03-28T14:05:09"_s,
                                 u"2003-03-28 24:00:00"_s, u"2003-13-01"_s})
        EXPECT_FALSE(report::parseMoment(wrong)) << wrong.toStdString();

    const auto parsed =
        report::parseArguments({u"--site"_s, u"s"_s, u"--fixed"_s, u"7"_s, u"--preset"_s,
                                u"previous week"_s, u"--out"_s, u"w.HTM"_s});
    ASSERT_TRUE(parsed.options) << parsed.error.toStdString();
    EXPECT_EQ(parsed.options->preset, 4);
    EXPECT_EQ(parsed.options->output, report::OutputKind::Html);
}

// Report 1 groups by its first column: the file must follow the grouping sort and carry the
// "Critical " title, exactly as the view's own export of the same result.
TEST_F(Runner, AFixedReportsFilesAreTheViewsExports) {
    const QStringList common = {u"--fixed"_s,    u"1"_s,    u"--critical"_s,         u"--from"_s,
                                u"2003-03-24"_s, u"--to"_s, u"2003-03-26 12:00:00"_s};
    const Outcome text = runOnSite(common + QStringList{u"--out"_s, path(u"r1.txt"_s)});
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    EXPECT_TRUE(text.err.isEmpty()) << text.err.toStdString();
    const Outcome html = runOnSite(common + QStringList{u"--out"_s, path(u"r1.htm"_s)});
    ASSERT_EQ(html.exitCode, 0) << html.err.toStdString();

    // The same run through the core, for the view.
    const auto heading =
        modFixedReports::fncReportHeading(session(), 1, u"Action Code Counts by Clerk"_s, true,
                                          u"Mon 3/24/2003 00:00:00 to Wed 3/26/2003 12:00:00"_s);
    EXPECT_EQ(heading.title,
              u"Critical Action Code Counts by Clerk - Mon 3/24/2003 00:00:00 to Wed 3/26/2003 "
              "12:00:00"_s);
    auto records = modFixedReports::fncRunFixedReport(
        session(), 1,
        u" tblTrans.fldTransTime between #2003/03/24 00:00:00# AND #2003/03/26 12:00:00# "_s, true,
        session().SessionIndex());
    ASSERT_TRUE(records && records->recordCount() > 10);
    EXPECT_EQ(testsupport::fileText(path(u"r1.txt"_s)),
              viewExport(records->clone(), heading.title, heading.groupFirstN, false));
    EXPECT_EQ(testsupport::fileText(path(u"r1.htm"_s)),
              viewExport(records->clone(), heading.title, heading.groupFirstN, true));

    // On paper: the title on top of every page, the first group's line before its rows.
    const Outcome pdf = runOnSite(common + QStringList{u"--out"_s, path(u"r1.pdf"_s)});
    ASSERT_EQ(pdf.exitCode, 0) << pdf.err.toStdString();
    const QStringList pages = testsupport::pdfLayoutPages(path(u"r1.pdf"_s));
    ASSERT_FALSE(pages.isEmpty());
    for (const QString& page : pages) {
        EXPECT_TRUE(page.simplified().startsWith(heading.title)) << page.left(200).toStdString();
        EXPECT_TRUE(page.contains(u"Generated "_s));
    }
    const QStringList firstRow =
        viewExport(records->clone(), heading.title, heading.groupFirstN, false)
            .split(u"\r\n"_s)[1]
            .split(u","_s);
    EXPECT_LT(pages[0].indexOf(u"Clerk: "_s + firstRow[0]), pages[0].indexOf(firstRow[1]));
}

// Stored criteria, a title typed in another case, and an interval of its own that overrides the
// stored one: the rows and title are the view's.
TEST_F(Runner, ASavedSearchRunsOverItsStoredOrAGivenInterval) {
    core::SearchCriteria criteria;
    criteria.action = u"SALE"_s;
    criteria.registerText = u"3"_s;
    criteria.interval = modDateRanges::kCustomRange;
    criteria.start = vb::dateSerial(2003, 3, 20);
    criteria.end = vb::dateSerial(2003, 3, 21);
    direct_->execute(modSavedSearches::fncSaveStatement(criteria, u"Register 3 sales"_s));
    const auto count = [&](const QString& from, const QString& to) {
        return vb::clng(
            direct_
                ->query(u"select count(*) from tblTrans t inner join lkpActions a on "
                        "a.idfActionID = t.fkyActionID where a.fldActionCode = 'SALE' and "
                        "t.fldtransregnum = 3 and t.fldTransTime between #"_s +
                        from + u"# and #"_s + to + u"#"_s)
                ->field(0)
                .value());
    };

    const Outcome stored =
        runOnSite({u"--saved"_s, u"REGISTER 3 Sales"_s, u"--out"_s, path(u"s.htm"_s)});
    ASSERT_EQ(stored.exitCode, 0) << stored.err.toStdString();
    const QString html = testsupport::fileText(path(u"s.htm"_s));
    EXPECT_TRUE(html.contains(
        u"<title>Register 3 sales - Thu 3/20/2003 00:00:00 to Fri 3/21/2003 00:00:00</title>"_s))
        << html.left(400).toStdString();
    EXPECT_EQ(qsizetype(testsupport::htmlDataRows(html).size()),
              count(u"2003/03/20"_s, u"2003/03/21"_s));

    const Outcome given =
        runOnSite({u"--saved"_s, u"Register 3 sales"_s, u"--from"_s, u"2003-03-10"_s, u"--to"_s,
                   u"2003-03-17"_s, u"--out"_s, path(u"s.txt"_s)});
    ASSERT_EQ(given.exitCode, 0) << given.err.toStdString();
    const QStringList lines = testsupport::fileText(path(u"s.txt"_s)).split(u"\r\n"_s);
    EXPECT_EQ(lines.size() - 2, count(u"2003/03/10"_s, u"2003/03/17"_s)) << "header and last CRLF";
    EXPECT_GT(lines.size(), 100);

    const Outcome missing = runOnSite({u"--saved"_s, u"Nobody's"_s, u"--out"_s, path(u"n.txt"_s)});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains(u"no saved search"_s)) << missing.err.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"n.txt"_s)));
}

TEST_F(Runner, WritesASpreadsheetThatAnotherReaderOpens) {
    const Outcome xls = runOnSite({u"--query"_s,
                                   u"select fldActionCode as Code, fldActionDesc from lkpActions "
                                   "order by fldActionCode"_s,
                                   u"--out"_s, path(u"codes.xls"_s)});
    ASSERT_EQ(xls.exitCode, 0) << xls.err.toStdString();
    const testsupport::ReadBack sheet = testsupport::readBack(path(u"codes.xls"_s));
    const auto codes = direct_->query(u"select count(*) from lkpActions"_s);
    EXPECT_EQ(sheet.rows, vb::clng(codes->field(0).value()) + 1);
    EXPECT_EQ(sheet.columns, 2);
    EXPECT_EQ(sheet.at(0, 0)[3].toString(), u"Code"_s);
}

// Every way a run fails exits 1 and leaves what was at --out as it was; the client's failures
// reach the site's log, the system's messages standard error.
TEST_F(Runner, AFailedRunLeavesTheFileAsItWas) {
    const QString out = path(u"kept.xls"_s);
    {
        QFile kept(out);
        ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
        kept.write("yesterday's report");
    }
    const auto expectFailure = [&](const Outcome& run, const QString& told) {
        EXPECT_EQ(run.exitCode, 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(told)) << run.err.toStdString();
        EXPECT_EQ(testsupport::fileText(out), u"yesterday's report"_s);
    };

    expectFailure(
        run({u"--site"_s, path(u"absent.tsite"_s), u"--fixed"_s, u"1"_s, u"--out"_s, out}),
        u"cannot connect"_s);
    expectFailure(runOnSite({u"--fixed"_s, u"99"_s, u"--out"_s, out}),
                  u"lists no Fixed Report 99"_s);
    expectFailure(runOnSite({u"--query"_s, u"select nosuch from tblTrans"_s, u"--out"_s, out}),
                  u"nosuch"_s);
    // 14,000 transactions by every action code: past what a sheet holds.
    expectFailure(runOnSite({u"--query"_s,
                             u"select t.idftransid, a.fldActionCode from tblTrans "
                             "t, lkpActions a"_s,
                             u"--out"_s, out}),
                  u"More than 65534 records. Cannot export to Excel."_s);

    // A template that outgrows the text limit fails inside the runner of Fixed Reports.
    direct_->execute(u"update tblfixedreports set fldSQL = Space(33000) & fldSQL where "
                     "idfFixedReportID = 4"_s);
    expectFailure(runOnSite({u"--fixed"_s, u"4"_s, u"--out"_s, out}), u"gave no result"_s);
    EXPECT_EQ(logRoutines(), QStringList{u"modFixedReports.fncRunFixedReport"_s});
}

// The Daily Summary's page holds the very bytes of the view's document in the classic code page;
// its PDF is that document printed.
TEST_F(Runner, WritesTheDailySummaryAsItsViewHasIt) {
    const Outcome page =
        runOnSite({u"--daily-summary"_s, u"2003-03-27 15:30:00"_s, u"--out"_s, path(u"ds.htm"_s)});
    ASSERT_EQ(page.exitCode, 0) << page.err.toStdString();
    clsDailySummary summary(session());
    summary.setSessionIndex(session().SessionIndex());
    summary.setReportDate(vb::dateSerial(2003, 3, 27) + vb::timeSerial(15, 30, 0));
    QFile file(path(u"ds.htm"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), vb::encodeCp1252(summary.HTML()));
    EXPECT_TRUE(summary.HTML().contains(u"<TABLE BORDER>"_s));

    const Outcome pdf =
        runOnSite({u"--daily-summary"_s, u"2003-03-27"_s, u"--out"_s, path(u"ds.pdf"_s)});
    ASSERT_EQ(pdf.exitCode, 0) << pdf.err.toStdString();
    const QString text =
        testsupport::pdfLayoutPages(path(u"ds.pdf"_s)).join(QString()).simplified();
    EXPECT_TRUE(text.contains(summary.Title())) << text.left(300).toStdString();
    EXPECT_TRUE(text.contains(u"each clerk had these counts of each action code"_s));
}

} // namespace
