// The same demo data in a site file and on a PostgreSQL server site, made by the site tool with
// the same options: every shipped template run through tillsight-report on both gives the same
// sheet, and fifty clients running a two-stage report on the server at once each get what that
// report gives alone.

#include "jet/SqliteDatabase.h"
#include "support/ExportedFiles.h"
#include "support/ServerDemoSite.h"
#include "support/XlsReadBack.h"
#include "vb/Convert.h"

#include <QDate>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Outcome {
    int exitCode = -1;
    QString errors;
};

QProcess* startRunner(const QStringList& arguments) {
    auto* process = new QProcess;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    process->setProcessEnvironment(environment);
    process->start(TILLSIGHT_REPORT_TOOL, arguments);
    return process;
}

Outcome finish(QProcess* process) {
    std::unique_ptr<QProcess> owned(process);
    if (!process->waitForFinished(300000)) return {-1, u"the runner did not finish"_s};
    return {process->exitCode(), QString::fromUtf8(process->readAllStandardError())};
}

// Two cells agree: same kind, numbers to 12 significant digits, texts without regard to case.
bool sameCell(const QJsonArray& a, const QJsonArray& b) {
    if (a[2] != b[2]) return false;
    if (a[3].isDouble() && b[3].isDouble()) {
        const double x = a[3].toDouble(), y = b[3].toDouble();
        return x == y || std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y));
    }
    return a[3].toVariant().toString().compare(b[3].toVariant().toString(), Qt::CaseInsensitive) ==
           0;
}

class ServerReports : public ::testing::Test {
protected:
    void SetUp() override {
        server_ = &testsupport::serverDemoSite();
        file_ = testsupport::demoSite().path;
    }

    QStringList onServer() const {
        return {u"--site"_s,          server_->clientAddress(),
                u"--port"_s,          QString::number(server_->client.port),
                u"--password-file"_s, server_->clientPasswordFile};
    }
    QStringList onFile() const { return {u"--site"_s, file_}; }
    QString path(const QString& name) const { return dir_.filePath(name); }

    // The templates a person can pick: those that are not a report's second stage.
    std::vector<int> listedReports() const {
        auto db = jet::SqliteDatabase::open(file_);
        const auto rows = db->query(u"SELECT idfFixedReportID FROM tblfixedreports WHERE NOT "
                                    "fldIssubquery ORDER BY idfFixedReportID"_s);
        std::vector<int> ids;
        for (std::size_t r = 0; r < rows->recordCount(); ++r)
            ids.push_back(vb::clng(rows->valueAt(r, 0)));
        return ids;
    }

    const testsupport::ServerDemoSite* server_ = nullptr;
    QString file_;
    QTemporaryDir dir_;
};

TEST_F(ServerReports, EveryTemplateGivesTheSameSheetOnTheServerAsOnTheFile) {
    const std::vector<int> ids = listedReports();
    ASSERT_GE(ids.size(), 20u);
    const QStringList interval = {u"--from"_s, u"2003-03-17"_s, u"--to"_s, u"2003-03-24"_s};
    for (const bool critical : {false, true}) {
        for (const int id : ids) {
            QStringList report = {u"--fixed"_s, QString::number(id)};
            if (critical) report << u"--critical"_s;
            const QString a = path(u"file-%1.xls"_s.arg(id)), b = path(u"server-%1.xls"_s.arg(id));
            const Outcome fileRun =
                finish(startRunner(onFile() + report + interval + QStringList{u"--out"_s, a}));
            const Outcome serverRun =
                finish(startRunner(onServer() + report + interval + QStringList{u"--out"_s, b}));
            ASSERT_EQ(fileRun.exitCode, 0) << id << fileRun.errors.toStdString();
            ASSERT_EQ(serverRun.exitCode, 0) << id << serverRun.errors.toStdString();
            const testsupport::ReadBack fileSheet = testsupport::readBack(a);
            const testsupport::ReadBack serverSheet = testsupport::readBack(b);
            ASSERT_EQ(fileSheet.rows, serverSheet.rows) << "report " << id;
            ASSERT_EQ(fileSheet.columns, serverSheet.columns) << "report " << id;
            EXPECT_GT(fileSheet.rows, 1) << "report " << id << " found nothing to compare";
            for (int i = 0; i < fileSheet.cells.size(); ++i)
                ASSERT_TRUE(sameCell(fileSheet.cells[i], serverSheet.cells[i]))
                    << "report " << id << (critical ? " (critical)" : "") << ": "
                    << QJsonDocument(fileSheet.cells[i]).toJson().toStdString() << " vs "
                    << QJsonDocument(serverSheet.cells[i]).toJson().toStdString();
        }
    }
}

TEST_F(ServerReports, FiftyClientsRunningATwoStageReportAtOnceEachGetTheirOwn) {
    // Report 25 fills the session's own table, then its second stage reads it: clients that
    // shared a table would read each other's rows.
    constexpr int kDays = 10, kClients = 50;
    auto dayArguments = [](int day) {
        const QDate from = QDate(2003, 3, 10).addDays(day);
        return QStringList{u"--fixed"_s, u"25"_s,
                           u"--from"_s,  from.toString(Qt::ISODate),
                           u"--to"_s,    from.addDays(3).toString(Qt::ISODate)};
    };
    QStringList alone;
    for (int day = 0; day < kDays; ++day) {
        const QString out = path(u"alone-%1.txt"_s.arg(day));
        const Outcome run =
            finish(startRunner(onServer() + dayArguments(day) + QStringList{u"--out"_s, out}));
        ASSERT_EQ(run.exitCode, 0) << run.errors.toStdString();
        alone << testsupport::fileText(out);
        ASSERT_GT(alone.back().count(u'\n'), 2);
    }
    std::vector<QProcess*> clients;
    for (int c = 0; c < kClients; ++c)
        clients.push_back(startRunner(onServer() + dayArguments(c % kDays) +
                                      QStringList{u"--out"_s, path(u"together-%1.txt"_s.arg(c))}));
    for (int c = 0; c < kClients; ++c) {
        const Outcome run = finish(clients[c]);
        EXPECT_EQ(run.exitCode, 0) << "client " << c << ": " << run.errors.toStdString();
    }
    for (int c = 0; c < kClients; ++c)
        EXPECT_EQ(testsupport::fileText(path(u"together-%1.txt"_s.arg(c))), alone[c % kDays])
            << "client " << c;
}

} // namespace
