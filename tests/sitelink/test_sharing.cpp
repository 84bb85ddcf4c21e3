// Several clients on one site at once: a long read in another process holds up no write here, a
// writer that keeps the site too long is named in the refusal, an older site moves to WAL mode
// when the link opens it, and a site whose folder cannot be written reads but refuses writes
// saying why.

#include "sitelink/SiteLink.h"

#include "core/SearchCriteria.h"
#include "core/modError.h"
#include "core/modSavedSearches.h"
#include "vb/Convert.h"

#include "sitelink/BusySite.h"
#include "support/CoreApplication.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using sitelink::SiteLink;

namespace {

constexpr int kNobody = 65534;
constexpr int kCannotDropPrivileges = 77;

// Waits until the process has printed a line holding `text`; false when it ends or a minute
// passes first.
bool waitForOutput(QProcess& process, const QByteArray& text, QByteArray* seen) {
    QElapsedTimer waited;
    waited.start();
    while (!seen->contains(text)) {
        if (process.state() == QProcess::NotRunning || waited.elapsed() > 60000) return false;
        process.waitForReadyRead(1000);
        *seen += process.readAllStandardOutput();
    }
    return true;
}

QString logInsert(const QString& description) {
    return modError::logInsertText(vb::now(), 5, description, u"test"_s, u"Tillsight"_s,
                                   u"Sharing"_s, u"write"_s);
}

class Sharing : public testsupport::BusySiteTest {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    void SetUp() override {
        BusySiteTest::SetUp();
        QObject::connect(&link_, &SiteLink::LinkError,
                         [this](const QString&, int number, const QString& description) {
                             errors_ << QString::number(number) + u": "_s + description;
                         });
    }

    void TearDown() override {
        other_.kill();
        other_.waitForFinished();
        BusySiteTest::TearDown();
    }

    void connectLink() {
        link_.setRemoteAddress(path_);
        link_.Connect();
        ASSERT_TRUE(link_.isConnected());
    }

    int count(const QString& table) {
        const auto rows = link_.OpenRecordset(u"select count(*) from "_s + table);
        return rows ? vb::clng(rows->field(0).value()) : -1;
    }

    // The other client, running `steps` on the site until it prints `text`.
    void startOther(const QStringList& steps, const QByteArray& text) {
        other_.start(QStringLiteral(TILLSIGHT_LINK_CLIENT), QStringList{path_} + steps);
        ASSERT_TRUE(other_.waitForStarted());
        ASSERT_TRUE(waitForOutput(other_, text, &otherSaid_)) << otherSaid_.toStdString();
    }

    SiteLink link_;
    QStringList errors_;
    QProcess other_;
    QByteArray otherSaid_;
};

} // namespace

TEST_F(Sharing, ALongReadInAnotherProcessHoldsUpNoWrite) {
    startOther({u"read:"_s + QString::fromUtf16(testsupport::kLongRead)}, "reading");
    connectLink();
    link_.Execute(logInsert(u"written during a long read"_s));
    core::SearchCriteria criteria;
    criteria.item = u"MILK"_s;
    link_.Execute(modSavedSearches::fncSaveStatement(criteria, u"Milk during a long read"_s));
    EXPECT_TRUE(errors_.isEmpty()) << errors_.join(u'\n').toStdString();
    // The writes did not wait for the read: it is still going.
    EXPECT_EQ(other_.state(), QProcess::Running);
    otherSaid_ += other_.readAllStandardOutput();
    EXPECT_FALSE(otherSaid_.contains("rows")) << otherSaid_.toStdString();
    EXPECT_EQ(count(u"tblLog"_s), 1);
    EXPECT_EQ(count(u"tblPowerSearches"_s), 1);
}

TEST_F(Sharing, AWriterThatHoldsTheSiteTooLongIsNamedInTheRefusal) {
    // The other client's update takes the site for writing at once, then works out its
    // condition for a long time.
    startOther({u"exec:UPDATE tblTrans SET fldTransQty = fldTransQty WHERE ("_s +
                QString::fromUtf16(testsupport::kLongRead) + u") > 0"_s},
               "");
    sqlite3* probe = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path_.toUtf8().constData(), &probe, SQLITE_OPEN_READWRITE, nullptr),
              SQLITE_OK);
    QElapsedTimer waited;
    waited.start();
    while (sqlite3_exec(probe, "BEGIN IMMEDIATE; ROLLBACK", nullptr, nullptr, nullptr) ==
               SQLITE_OK &&
           waited.elapsed() < 60000)
        QThread::msleep(20);
    sqlite3_close(probe);
    ASSERT_EQ(other_.state(), QProcess::Running) << other_.readAll().toStdString();

    connectLink();
    link_.Execute(logInsert(u"written while another client writes"_s));
    ASSERT_EQ(errors_.size(), 1) << errors_.join(u'\n').toStdString();
    EXPECT_TRUE(errors_[0].startsWith(u"3005: Another client holds the site"_s))
        << errors_[0].toStdString();
    EXPECT_EQ(count(u"tblTrans"_s), transactions_); // reading never waits
}

TEST_F(Sharing, AnOlderSiteMovesToWalModeWhenTheLinkOpensIt) {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(path_.toUtf8().constData(), &raw), SQLITE_OK);
    sqlite3_exec(raw, "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
    sqlite3_close(raw);
    ASSERT_FALSE(testsupport::inWalMode(path_));
    connectLink();
    EXPECT_TRUE(testsupport::inWalMode(path_));
    EXPECT_EQ(count(u"tblTrans"_s), transactions_);
}

// Permissions bind everyone but root, so as root the other client runs as nobody.
TEST_F(Sharing, ASiteInAFolderThatCannotBeWrittenReadsAndRefusesWritesSayingWhy) {
    const QString folder = dir_.filePath(u"locked"_s);
    ASSERT_TRUE(QDir().mkdir(folder));
    const QString site = folder + u"/store.tsite"_s;
    makeSite(site);
    QString client = QStringLiteral(TILLSIGHT_LINK_CLIENT);
    const bool root = geteuid() == 0;
    if (root) { // nobody must reach the program and the folder
        client = dir_.filePath(u"link_client"_s);
        ASSERT_TRUE(QFile::copy(QStringLiteral(TILLSIGHT_LINK_CLIENT), client));
        ASSERT_EQ(chmod(QFile::encodeName(dir_.path()).constData(), 0755), 0);
        other_.setChildProcessModifier([] {
            if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(kCannotDropPrivileges);
        });
    }
    ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0555), 0);
    other_.start(client, {site, u"read:select count(*) from tblTrans"_s,
                          u"exec:"_s + logInsert(u"written to a locked folder"_s)});
    ASSERT_TRUE(other_.waitForFinished(60000));
    chmod(QFile::encodeName(folder).constData(), 0755);
    if (other_.exitCode() == kCannotDropPrivileges)
        GTEST_SKIP() << "running as root, and cannot run the other client as an ordinary user";
    const QString said = QString::fromUtf8(other_.readAllStandardOutput());
    EXPECT_TRUE(said.contains(u"rows 1\n"_s)) << said.toStdString();
    EXPECT_TRUE(said.contains(u"error 3008: The change cannot be saved: this site is open "
                              u"read-only because the folder "_s +
                              folder + u" cannot be written"_s))
        << said.toStdString();
    EXPECT_FALSE(QFile::exists(site + u"-wal"_s));
}
