// The stand-in video viewer as a real process, reached the way the client reaches it: the
// standard method through DvrIpcClient over its local socket, the DVMS method as text over TCP.
// What the viewer understood is read back from its --log file.

#include "dvr/DvrIpcClient.h"
#include "dvr/DvrIpcProtocol.h"
#include "support/CoreApplication.h"
#include "support/VbTestSupport.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"
#include "viewer/DvmsServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using dvr::DvrIpcClient;
namespace protocol = dvr::ipc;

namespace {

constexpr int kWaitMs = 5000;

QString uniqueIpcName() {
    static int count = 0;
    return u"tillsight-viewer-test-%1-%2"_s.arg(QCoreApplication::applicationPid()).arg(++count);
}

double moment(int year, int month, int day, int hour, int minute, int second) {
    return vb::dateSerial(year, month, day) + vb::timeSerial(hour, minute, second);
}

// The viewer binary, started headless with no display to reach: a headless viewer must not need
// one.
class ViewerProcess {
public:
    ViewerProcess(const QString& ipcName, const QString& logPath, const QStringList& options = {}) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"DISPLAY"_s);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        process_.setProcessEnvironment(environment);
        process_.start(QStringLiteral(TILLSIGHT_VIEWER),
                       QStringList{u"--headless"_s, u"--ipc-name"_s, ipcName, u"--port"_s, u"0"_s,
                                   u"--log"_s, logPath} +
                           options);
    }
    ~ViewerProcess() {
        process_.terminate();
        if (!process_.waitForFinished(kWaitMs)) process_.kill();
        process_.waitForFinished(kWaitMs);
    }

    // The DVMS port from the line the viewer prints once it listens; 0 when it never does.
    quint16 waitUntilListening() {
        while (!process_.canReadLine() && process_.waitForReadyRead(kWaitMs)) {
        }
        static const QRegularExpression port(u"dvms 127\\.0\\.0\\.1:(\\d+)"_s);
        return port.match(QString::fromUtf8(process_.readLine())).captured(1).toUShort();
    }

    QProcess& process() { return process_; }

private:
    QProcess process_;
};

// A local server on its own thread that reads one line and answers it with reply, or stays
// silent when reply is empty: a viewer that misbehaves.
class OneAnswerServer {
public:
    OneAnswerServer(const QString& name, const QByteArray& reply)
        : thread_([this, name, reply] { run(name, reply); }) {
        listening_.get_future().wait();
    }
    ~OneAnswerServer() { thread_.join(); }

private:
    void run(const QString& name, const QByteArray& reply) {
        QLocalServer server;
        server.listen(name);
        listening_.set_value();
        if (!server.waitForNewConnection(kWaitMs)) return;
        QLocalSocket* socket = server.nextPendingConnection();
        socket->waitForReadyRead(kWaitMs);
        if (!reply.isEmpty()) {
            socket->write(reply);
            socket->waitForBytesWritten(kWaitMs);
        }
        socket->waitForDisconnected(kWaitMs);
    }

    std::promise<void> listening_;
    std::thread thread_;
};

class ViewerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        viewer_ = std::make_unique<ViewerProcess>(ipcName_, logPath(), viewerOptions());
        port_ = viewer_->waitUntilListening();
        ASSERT_NE(port_, 0) << viewer_->process().readAllStandardError().toStdString();
    }

    void TearDown() override {
        viewer_.reset();
        // A viewer killed by a test leaves its socket file behind.
        QLocalServer::removeServer(ipcName_);
    }

    // Options beyond those every viewer of the tests runs with.
    virtual QStringList viewerOptions() const { return {}; }

    QString logPath() const { return dir_.filePath(u"requests.log"_s); }

    QStringList readLog() const {
        QFile file(logPath());
        if (!file.open(QIODevice::ReadOnly)) return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

    // The log once it holds at least count lines (or whatever it holds after waiting).
    QStringList logLines(qsizetype count) const {
        (void)QTest::qWaitFor([&] { return readLog().size() >= count; }, kWaitMs);
        return readLog();
    }

    // Waits for the viewer to report count pieces of DVMS input as ignored.
    bool waitForIgnored(int count) {
        return QTest::qWaitFor(
            [&] {
                stderr_ += viewer_->process().readAllStandardError();
                return stderr_.count("ignored DVMS input") >= count;
            },
            kWaitMs);
    }

    std::unique_ptr<QTcpSocket> dvmsConnection() {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(u"127.0.0.1"_s, port_);
        EXPECT_TRUE(socket->waitForConnected(kWaitMs));
        return socket;
    }

    void sendDvms(QTcpSocket& socket, QByteArrayView bytes) {
        socket.write(bytes.toByteArray());
        EXPECT_TRUE(socket.waitForBytesWritten(kWaitMs));
    }

    QTemporaryDir dir_;
    QString ipcName_ = uniqueIpcName();
    std::unique_ptr<ViewerProcess> viewer_;
    quint16 port_ = 0;
    QByteArray stderr_;
};

// The protocol's own promise: whatever text a field holds comes out of the line unchanged.
TEST(DvrIpcProtocol, EveryFieldSurvivesTheLine) {
    const protocol::HistoryRequest sent{u"dvr\\\\host\\t1\r\n"_s, u"Zo\u00eb\t\"O'Brien\""_s,
                                        u"\\\npa\tss\\n\\"_s, -32768,
                                        vb::DateParts{2003, 3, 28, 14, 5, 9}};
    const QByteArray line = protocol::encodeShowHistory(sent);
    ASSERT_EQ(line.count('\n'), 1);
    ASSERT_TRUE(line.endsWith('\n'));
    const auto parsed = protocol::parseRequest(QByteArrayView(line).chopped(1));
    const auto* got = std::get_if<protocol::HistoryRequest>(&parsed);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got->dvrAddress, sent.dvrAddress);
    EXPECT_EQ(got->userName, sent.userName);
    EXPECT_EQ(got->password, sent.password);
    EXPECT_EQ(got->camera, sent.camera);
    EXPECT_EQ(got->moment, sent.moment);
}

TEST_F(ViewerTest, ShowHistoryReachesTheViewerWithAddressUserCameraAndMoment) {
    DvrIpcClient client(ipcName_);
    ASSERT_TRUE(client.OpenSession());
    EXPECT_TRUE(client.OpenSession()) << "an open session stays open";
    client.ShowHistory(u"10.0.0.7\t:80"_s, u"Zo\u00eb \"O'Brien\"\n2"_s, u"s3cr3t\t\"pw\"\nx"_s, 2,
                       moment(2003, 3, 28, 14, 5, 9));
    client.ShowHistory(u"dvr-2"_s, u""_s, u""_s, 123, moment(2003, 1, 5, 8, 4, 2));
    client.CloseSession();
    client.CloseSession();

    const QStringList lines = logLines(2);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], u"ipc\t10.0.0.7\\t:80\tZo\u00eb \"O'Brien\"\\n2\tpassword given\t2\t"
                        u"2003-03-28 14:05:09"_s);
    EXPECT_EQ(lines[1], u"ipc\tdvr-2\t\tno password\t123\t2003-01-05 08:04:02"_s);
    EXPECT_FALSE(lines.join(u'\n').contains(u"s3cr3t"_s)) << "passwords are never logged";

    ASSERT_TRUE(client.OpenSession()) << "a closed session can be opened again";
    client.ShowHistory(u"dvr-3"_s, u"u"_s, u"p"_s, 7, moment(2024, 2, 29, 23, 59, 59));
    EXPECT_EQ(logLines(3).value(2), u"ipc\tdvr-3\tu\tpassword given\t7\t2024-02-29 23:59:59"_s);
}

TEST_F(ViewerTest, ShowHistoryAfterTheViewerHasGoneDoesNothing) {
    DvrIpcClient client(ipcName_);
    ASSERT_TRUE(client.OpenSession());
    viewer_->process().kill();
    ASSERT_TRUE(viewer_->process().waitForFinished(kWaitMs));
    client.ShowHistory(u"dvr"_s, u"u"_s, u"p"_s, 1, moment(2003, 3, 28, 14, 5, 9));
    client.ShowHistory(u"dvr"_s, u"u"_s, u"p"_s, 1, moment(2003, 3, 28, 14, 5, 9));
    client.CloseSession();
    EXPECT_FALSE(client.OpenSession());
    EXPECT_TRUE(readLog().isEmpty());
}

TEST(DvrIpcClient, OpenSessionFailsAtOnceWhenNoViewerRuns) {
    testsupport::ensureCoreApplication();
    DvrIpcClient client(uniqueIpcName());
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(client.OpenSession());
    EXPECT_LT(clock.elapsed(), DvrIpcClient::kOpenTimeoutMs) << "it must not wait for an answer";
    // The view still calls these; they must neither block nor fail.
    client.ShowHistory(u"dvr"_s, u"u"_s, u"p"_s, 2, moment(2003, 3, 28, 14, 5, 9));
    client.CloseSession();
    EXPECT_THROW(client.ShowHistory(u"dvr"_s, u""_s, u""_s, 2, std::nan("")), vb::VbError);
}

TEST(DvrIpcClient, OpenSessionNeedsTheViewersHelloForOurVersion) {
    testsupport::ensureCoreApplication();
    const struct {
        QByteArray reply;
        bool opens;
    } cases[] = {
        {"HELLO\t1\n", true}, {"HELLO\t2\n", false}, {"ERROR\tbusy\n", false},
        {"HELLO\t1", false}, // never finished
        {"", false},         // never answers
    };
    for (const auto& c : cases) {
        const QString name = uniqueIpcName();
        const OneAnswerServer server(name, c.reply);
        DvrIpcClient client(name);
        EXPECT_EQ(client.OpenSession(), c.opens) << c.reply.toStdString();
        client.CloseSession();
    }
}

// A client that speaks the protocol line by line, to say what DvrIpcClient never would.
class RawIpc {
public:
    explicit RawIpc(const QString& name) {
        socket_.connectToServer(name);
        EXPECT_TRUE(socket_.waitForConnected(kWaitMs));
    }
    QByteArray ask(const QByteArray& line) {
        socket_.write(line);
        socket_.waitForBytesWritten(kWaitMs);
        while (!socket_.canReadLine() && socket_.waitForReadyRead(kWaitMs)) {
        }
        return socket_.readLine();
    }
    bool closedByViewer() {
        return socket_.state() == QLocalSocket::UnconnectedState ||
               socket_.waitForDisconnected(kWaitMs);
    }

private:
    QLocalSocket socket_;
};

TEST_F(ViewerTest, IpcServerAnswersNonsenseWithAnErrorAndCarriesOn) {
    RawIpc ipc(ipcName_);
    const QByteArray valid = "SHOW-HISTORY\tdvr\tuser\tpw\t4\t2003-03-28T14:05:09\n";
    EXPECT_TRUE(ipc.ask(valid).startsWith("ERROR\t")) << "history before hello";
    EXPECT_EQ(ipc.ask(protocol::encodeHello()), protocol::encodeHello());
    for (const QByteArray& nonsense : {
             QByteArray("PLAY\tcamera 4\n"),
             QByteArray("\n"),
             QByteArray("SHOW-HISTORY\tdvr\tuser\tpw\t4\n"),
             QByteArray("SHOW-HISTORY\tdvr\tuser\tpw\tfour\t2003-03-28T14:05:09\n"),
             QByteArray("SHOW-HISTORY\tdvr\tuser\tpw\t40000\t2003-03-28T14:05:09\n"),
             QByteArray("SHOW-HISTORY\tdvr\tuser\tpw\t4\t2003-02-29T14:05:09\n"),
             QByteArray("SHOW-HISTORY\tdvr\tuser\tpw\t4\t2003-03-28 14:05:09\n"),
             QByteArray("SHOW-HISTORY\td\\qvr\tuser\tpw\t4\t2003-03-28T14:05:09\n"),
             QByteArray("SHOW-HISTORY\tdvr\\\tuser\tpw\t4\t2003-03-28T14:05:09\n"),
             QByteArray("SHOW-HISTORY\t\xff\xfe\tuser\tpw\t4\t2003-03-28T14:05:09\n"),
         }) {
        EXPECT_TRUE(ipc.ask(nonsense).startsWith("ERROR\t")) << nonsense.toStdString();
    }
    EXPECT_EQ(ipc.ask(valid), "OK\n");
    EXPECT_EQ(logLines(1),
              QStringList{u"ipc\tdvr\tuser\tpassword given\t4\t2003-03-28 14:05:09"_s});
    ipc.ask(protocol::encodeBye());
    EXPECT_TRUE(ipc.closedByViewer());
}

TEST_F(ViewerTest, IpcServerHangsUpOnAWrongVersionOrAnEndlessLine) {
    RawIpc oldClient(ipcName_);
    EXPECT_TRUE(oldClient.ask("HELLO\t2\n").startsWith("ERROR\t"));
    EXPECT_TRUE(oldClient.closedByViewer());

    RawIpc flood(ipcName_);
    EXPECT_TRUE(flood.ask(QByteArray(protocol::kMaxLineBytes + 4096, 'x')).startsWith("ERROR\t"));
    EXPECT_TRUE(flood.closedByViewer());

    DvrIpcClient client(ipcName_);
    EXPECT_TRUE(client.OpenSession()) << "the viewer still serves others";
}

TEST_F(ViewerTest, DvmsCommandWithoutTerminatorIsLoggedOnAConnectionKeptOpen) {
    auto socket = dvmsConnection();
    sendDvms(*socket, "history,2003,03,28,14,05,09,02");
    ASSERT_EQ(logLines(1).size(), 1) << "a pause ends the command";
    sendDvms(*socket, "history,2003,01,05,08,04,02,123");
    const QStringList lines = logLines(2);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], u"dvms\t2\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,02"_s);
    EXPECT_EQ(lines[1], u"dvms\t123\t2003-01-05 08:04:02\thistory,2003,01,05,08,04,02,123"_s);
}

TEST_F(ViewerTest, DvmsCommandsAreCutAtTheNextCommandAndJoinedAcrossPauses) {
    auto socket = dvmsConnection();
    sendDvms(*socket, "history,2003,03,28,14,05,09,02history,2003,03,28,14,05,10,03history,20");
    // Longer than a pause but shorter than giving up: the unfinished command waits for the rest.
    static_assert(3 * viewer::kPauseMs < viewer::kGiveUpMs);
    QTest::qWait(3 * viewer::kPauseMs);
    sendDvms(*socket, "03,03,28,14,05,11,04");
    const QStringList lines = logLines(3);
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[0].startsWith(u"dvms\t2\t2003-03-28 14:05:09\t"_s));
    EXPECT_TRUE(lines[1].startsWith(u"dvms\t3\t2003-03-28 14:05:10\t"_s));
    EXPECT_EQ(lines[2], u"dvms\t4\t2003-03-28 14:05:11\thistory,2003,03,28,14,05,11,04"_s);
}

TEST_F(ViewerTest, DvmsCommandsFromTwoConnectionsAndOneThatCloses) {
    auto first = dvmsConnection();
    auto second = dvmsConnection();
    sendDvms(*second, "history,2003,03,28,14,05,09,05");
    sendDvms(*first, "history,2003,03,28,14,05,09,06");
    auto closing = dvmsConnection();
    sendDvms(*closing, "history,2003,03,28,14,05,09,07");
    closing->disconnectFromHost();
    QStringList lines = logLines(3);
    lines.sort();
    EXPECT_EQ(lines,
              (QStringList{u"dvms\t5\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,05"_s,
                           u"dvms\t6\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,06"_s,
                           u"dvms\t7\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,07"_s}));
}

TEST_F(ViewerTest, DvmsGarbageIsIgnoredAndTheViewerCarriesOn) {
    const QByteArray garbage[] = {
        "HISTORY,2003,03,28,14,05,09,02",    // the literal is lower case
        "history,2003,13,28,14,05,09,02",    // month 13
        "history,2003,03,28,24,05,09,02",    // hour 24
        "history,2003,03,28,14,05,09,2",     // one-digit camera
        "history,2003,03,28,14,05,09,99999", // not a 16-bit camera
        QByteArray(10000, '\xff'),           QByteArray("\0\r\n", 3),
    };
    for (const QByteArray& junk : garbage) {
        auto socket = dvmsConnection();
        sendDvms(*socket, junk);
        socket->disconnectFromHost();
    }
    ASSERT_TRUE(waitForIgnored(std::size(garbage))) << stderr_.toStdString();

    auto socket = dvmsConnection();
    sendDvms(*socket, "noise before history,2003,03,28,14,05,09,08");
    ASSERT_TRUE(waitForIgnored(std::size(garbage) + 1)) << "the noise before the command";
    EXPECT_EQ(logLines(1),
              QStringList{u"dvms\t8\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,08"_s});
    EXPECT_EQ(viewer_->process().state(), QProcess::Running);
}

TEST_F(ViewerTest, ASecondViewerIsRefusedAndADeadOnesNameIsTakenOver) {
    QProcess second;
    second.start(QStringLiteral(TILLSIGHT_VIEWER),
                 {u"--headless"_s, u"--ipc-name"_s, ipcName_, u"--port"_s, u"0"_s});
    ASSERT_TRUE(second.waitForFinished(kWaitMs));
    EXPECT_EQ(second.exitCode(), 1);
    EXPECT_TRUE(second.readAllStandardError().contains("already answering"));

    viewer_->process().kill(); // leaves its socket file behind
    ASSERT_TRUE(viewer_->process().waitForFinished(kWaitMs));
    ViewerProcess successor(ipcName_, logPath());
    ASSERT_NE(successor.waitUntilListening(), 0);
    DvrIpcClient client(ipcName_);
    EXPECT_TRUE(client.OpenSession());
}

} // namespace

namespace {

constexpr int kIdleSenders = 200;

template <typename Socket>
qsizetype stillOpen(const std::vector<std::unique_ptr<Socket>>& sockets) {
    return std::count_if(sockets.begin(), sockets.end(), [](const auto& socket) {
        return socket->state() != std::decay_t<decltype(*socket)>::UnconnectedState;
    });
}

template <typename Socket>
bool waitUntilOpen(const std::vector<std::unique_ptr<Socket>>& sockets, qsizetype count) {
    return QTest::qWaitFor([&] { return stillOpen(sockets) == count; }, kWaitMs);
}

std::vector<std::unique_ptr<QLocalSocket>> idleIpcConnections(const QString& name, int count) {
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
    for (int i = 0; i < count; ++i) {
        sockets.push_back(std::make_unique<QLocalSocket>());
        sockets.back()->connectToServer(name);
        EXPECT_TRUE(sockets.back()->waitForConnected(kWaitMs));
    }
    return sockets;
}

// A viewer that closes a connection after half a second without a byte.
class ShortIdleViewerTest : public ViewerTest {
protected:
    QStringList viewerOptions() const override { return {u"--idle"_s, u"0.5"_s}; }
};

} // namespace

// Connections that say nothing are closed beyond the cap, the longest idle first, and never keep
// a new sender out, by either method.
TEST_F(ViewerTest, IdleConnectionsBeyondTheCapMakeRoomForANewSender) {
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    for (int i = 0; i < kIdleSenders; ++i)
        idle.push_back(dvmsConnection());
    EXPECT_TRUE(waitUntilOpen(idle, viewer::kMaxConnections)) << stillOpen(idle);
    EXPECT_EQ(idle.back()->state(), QAbstractSocket::ConnectedState) << "the newest stay";
    auto sender = dvmsConnection();
    sendDvms(*sender, "history,2003,03,28,14,05,09,02");
    EXPECT_EQ(logLines(1),
              QStringList{u"dvms\t2\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,02"_s});

    const auto idleIpc = idleIpcConnections(ipcName_, kIdleSenders);
    EXPECT_TRUE(waitUntilOpen(idleIpc, viewer::kMaxConnections)) << stillOpen(idleIpc);
    DvrIpcClient client(ipcName_);
    EXPECT_TRUE(client.OpenSession());
}

TEST_F(ShortIdleViewerTest, ConnectionsIdleForTheIdleTimeAreClosedByEitherMethod) {
    std::vector<std::unique_ptr<QTcpSocket>> dvms;
    dvms.push_back(dvmsConnection());
    dvms.push_back(dvmsConnection());
    sendDvms(*dvms.back(), "history,2003,03,28,14,05,09,02");
    const auto ipc = idleIpcConnections(ipcName_, 3);
    EXPECT_TRUE(waitUntilOpen(dvms, 0)) << "a sender falls idle after its command too";
    EXPECT_TRUE(waitUntilOpen(ipc, 0));
    EXPECT_EQ(logLines(1),
              QStringList{u"dvms\t2\t2003-03-28 14:05:09\thistory,2003,03,28,14,05,09,02"_s});
    DvrIpcClient client(ipcName_);
    EXPECT_TRUE(client.OpenSession()) << "the viewer still serves others";
}
