// The error log through a session with no window: records reach the site's tblLog, nothing is
// written or told while not connected, and a record that cannot be written is lost quietly.

#include "SessionTest.h"

#include "core/modError.h"
#include "jet/Parser.h"
#include "settings/modSites.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

struct LogRecord {
    double time = 0;
    QStringList texts; // number, description, source, application, module, routine
};

class ErrorLogTest : public testsupport::SessionTest {
protected:
    std::vector<LogRecord> records() {
        std::vector<LogRecord> found;
        auto rows = link().OpenRecordset(u"select * from tblLog"_s);
        if (!rows) return found;
        for (; !rows->eof(); rows->moveNext()) {
            LogRecord record{vb::cdate(rows->field(u"fldLogTime").value()), {}};
            for (auto name : {u"fldLogErrNumber", u"fldLogDesc", u"fldLogSource", u"fldLogApp",
                              u"fldLogModule", u"fldLogRoutine"})
                record.texts << vb::cstr(rows->field(name).value());
            found.push_back(record);
        }
        return found;
    }
};

TEST_F(ErrorLogTest, RecordReachesTheSiteWithQuotesRemoved) {
    connectSite();
    const double before = vb::now();
    modError::subLogError(session(), -2147217900, u"Don't stop"_s, u"'Engine'"_s,
                          u"Till's Client"_s, u"frm'Test"_s, u"sub'Run''"_s);
    const double after = vb::now();

    const auto logged = records();
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].texts, (QStringList{u"-2147217900"_s, u"Dont stop"_s, u"Engine"_s,
                                            u"Tills Client"_s, u"frmTest"_s, u"subRun"_s}));
    // The time is written to the second.
    const double second = 1.0 / vb::kSecondsPerDay;
    EXPECT_GE(logged[0].time, before - second);
    EXPECT_LE(logged[0].time, after + second);
}

// Each failure is a real one of its component, caught as a handler catches it.
TEST_F(ErrorLogTest, HandlersLogEachErrorUnderTheComponentThatRaisedItAndTheApplicationTitle) {
    connectSite();
    const auto logFailure = [this](const std::function<void()>& fail) {
        try {
            fail();
            ADD_FAILURE() << "nothing failed";
        } catch (const vb::VbError& error) {
            modError::subLogError(session(), error, u"frmAbout"_s, u"Form_Load"_s);
        }
    };
    logFailure([] { vb::cint(vb::Variant(u"abc"_s)); });
    logFailure([] { jet::parseStatement(u"selec * from tblTrans"_s); });
    logFailure([this] { link().OpenRecordset(u"select * from tblLog"_s)->field(u"fldNone"); });

    const auto logged = records();
    ASSERT_EQ(logged.size(), 3u);
    EXPECT_EQ(logged[0].texts,
              (QStringList{u"13"_s, u"Type mismatch"_s, u"TillsightNetworkClient"_s,
                           core::applicationTitle(), u"frmAbout"_s, u"Form_Load"_s}));
    EXPECT_EQ(logged[1].texts[2], u"Tillsight Site Engine"_s);
    EXPECT_EQ(logged[2].texts[0], u"3265"_s);
    EXPECT_EQ(logged[2].texts[2], u"TillsightLink"_s);
}

TEST_F(ErrorLogTest, SettingsFailuresGoToTheLog) {
    connectSite();
    writeSettings("[Sites]\nBad\n[Bad]\nhost\n0\neighty\n");
    settings::subLoadSites();
    const auto logged = records();
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].texts.mid(0, 2), (QStringList{u"13"_s, u"Type mismatch"_s}));
    EXPECT_EQ(logged[0].texts.mid(4), (QStringList{u"modSites"_s, u"subLoadSites"_s}));
}

TEST_F(ErrorLogTest, NothingIsKeptOrShownWhileNotConnected) {
    // Without the connection check the link itself would complain to the user.
    modError::subLogError(session(), 5, u"before connecting"_s, u"x"_s, u"y"_s, u"m"_s, u"r"_s);
    EXPECT_EQ(feedback_.asterisks, 0);
    EXPECT_TRUE(feedback_.messages.isEmpty());

    connectSite();
    link().Disconnect();
    ASSERT_FALSE(gConnected);
    const int afterDisconnect = feedback_.asterisks;
    modError::subLogError(session(), 5, u"after disconnecting"_s, u"x"_s, u"y"_s, u"m"_s, u"r"_s);
    EXPECT_EQ(feedback_.asterisks, afterDisconnect);

    connectSite();
    EXPECT_TRUE(records().empty());
}

TEST_F(ErrorLogTest, AFailedWriteIsLostAndTheNextOneStillWorks) {
    connectSite();
    // Too long for the quote removal: the description is left out, the rest is still sent, and
    // the site refuses it; only the link's own error event tells.
    modError::subLogError(session(), 7, QString(40000, u'x'), u"s"_s, u"a"_s, u"m"_s, u"r"_s);
    EXPECT_EQ(feedback_.asterisks, 1);
    EXPECT_TRUE(gConnected);
    EXPECT_TRUE(records().empty());
    modError::subLogError(session(), 7, u"short"_s, u"s"_s, u"a"_s, u"m"_s, u"r"_s);
    EXPECT_EQ(records().size(), 1u);

    link().Execute(u"DROP TABLE tblLog"_s);
    modError::subLogError(session(), 8, u"no table"_s, u"s"_s, u"a"_s, u"m"_s, u"r"_s);
    EXPECT_TRUE(gConnected);
}

TEST(LogInsertText, ReadsAsTheSiteExpects) {
    const double moment = vb::dateSerial(2003, 3, 28) + vb::timeSerial(14, 5, 7);
    EXPECT_EQ(modError::logInsertText(moment, 3021, u"No current record."_s, u"O'Brien"_s, u"App"_s,
                                      u"modSites"_s, u"subLoadSites"_s),
              u"INSERT INTO tblLog  (fldLogTime, fldLogErrNumber, fldLogDesc, fldLogSource, "
              u"fldLogApp, fldLogModule, fldLogRoutine) VALUES (#2003/03/28 14:05:07#, 3021, "
              u"'No current record.', 'OBrien', 'App', 'modSites', 'subLoadSites')"_s);
}

} // namespace
