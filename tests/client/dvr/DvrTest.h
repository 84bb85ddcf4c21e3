#pragma once

// DVR searches end to end: a main window connected by the full connect to a copy of the demo site
// in which a few transactions are moved to moments and registers of the test's choosing, report
// views over them opened as the search view opens them, and on the other end a real listener:
// a TCP server of the test's own, or the stand-in viewer as a process.

#include "core/Session.h"
#include "core/TransactionQuery.h"
#include "core/modFixedReports.h"
#include "link/modMain.h"
#include "reports/ReportGrid.h"
#include "reports/frmReportOutput.h"

#include "../shared/MainWindowTest.h"
#include "jet/SqliteDatabase.h"
#include "support/DemoSite.h"
#include "vb/Convert.h"

#include <QFile>
#include <QMdiSubWindow>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace dvrtest {

using namespace Qt::Literals::StringLiterals;

constexpr int kWaitMs = 5000;

// Long enough for a connection to be made and a command to go out, were the view to send one.
constexpr int kSettleMs = 1500;

// One demo transaction moved to a moment ("yyyy/mm/dd hh:nn:ss") and a register.
struct Moved {
    int id;
    QString moment;
    int reg;
};

// The report columns as the search list names them, with another register column if wanted.
inline QString searchColumns(const QString& registerColumn = QString::fromUtf16(core::kRegister) +
                                                             u" as [Reg]"_s) {
    return QString::fromUtf16(core::kTransDate) + u" as [Date], "_s +
           QString::fromUtf16(core::kTransTime) + u" as [Time], "_s + registerColumn;
}

// A TCP listener on the loopback address that keeps what each connection sent.
class DvmsListener {
public:
    DvmsListener() {
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                const qsizetype index = connections_.size();
                connections_ << socket;
                received_ << QByteArray();
                QObject::connect(socket, &QTcpSocket::readyRead, socket,
                                 [this, socket, index] { received_[index] += socket->readAll(); });
            }
        });
    }

    quint16 port() const { return server_.serverPort(); }
    const QList<QTcpSocket*>& connections() const { return connections_; }
    // What each accepted connection has sent, in the order they came.
    const QList<QByteArray>& received() const { return received_; }
    QByteArray all() const { return received_.join(); }
    // Waits until `size` bytes have come, then a little longer for any that should not.
    QByteArray waitForBytes(qsizetype size) {
        (void)QTest::qWaitFor([&] { return all().size() >= size; }, kWaitMs);
        QTest::qWait(200);
        return all();
    }

private:
    QTcpServer server_;
    QList<QTcpSocket*> connections_;
    QList<QByteArray> received_;
};

// tillsight-viewer, headless, under a name of its own, on any free port, logging every request.
class ViewerProcess {
public:
    explicit ViewerProcess(const QString& logPath) : logPath_(logPath) {
        static int count = 0;
        ipcName_ =
            u"tillsight-dvr-test-%1-%2"_s.arg(QCoreApplication::applicationPid()).arg(++count);
        process_.start(QStringLiteral(TILLSIGHT_VIEWER),
                       {u"--headless"_s, u"--ipc-name"_s, ipcName_, u"--port"_s, u"0"_s, u"--log"_s,
                        logPath_});
        while (!process_.canReadLine() && process_.waitForReadyRead(kWaitMs)) {
        }
        static const QRegularExpression ready(u"dvms 127\\.0\\.0\\.1:(\\d+)"_s);
        dvmsPort_ = ready.match(QString::fromUtf8(process_.readLine())).captured(1).toUShort();
    }
    ~ViewerProcess() {
        process_.terminate();
        if (!process_.waitForFinished(kWaitMs)) process_.kill();
        process_.waitForFinished(kWaitMs);
    }

    bool listening() const { return dvmsPort_ != 0; }
    const QString& ipcName() const { return ipcName_; }
    quint16 dvmsPort() const { return dvmsPort_; }
    QStringList waitForLog(qsizetype lines) const {
        (void)QTest::qWaitFor([&] { return log().size() >= lines; }, kWaitMs);
        return log();
    }

private:
    QStringList log() const {
        QFile file(logPath_);
        if (!file.open(QIODevice::ReadOnly)) return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

    QString logPath_;
    QString ipcName_;
    quint16 dvmsPort_ = 0;
    QProcess process_;
};

class DvrTest : public testsupport::MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        savedMethod_ = gDVRMethod;
        // A view loads when it is first shown, which needs a shown window around it.
        main_->show();
    }

    void TearDown() override {
        MainWindowTest::TearDown();
        gDVRMethod = savedMethod_;
    }

    // A copy of the demo site with the transactions moved and the statements run, connected as
    // the toolbar connects. The demo's transactions all fall after January 2003.
    void connectDemoCopy(const QList<Moved>& moves, const QStringList& statements = {}) {
        const QString path = dir_.filePath(u"dvr.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, path));
        {
            const auto site = jet::SqliteDatabase::open(path);
            for (const Moved& move : moves)
                site->execute(u"UPDATE tblTrans SET fldTransTime = #%1#, fldtransregnum = %2 "
                              u"WHERE idftransid = %3"_s.arg(move.moment)
                                  .arg(move.reg)
                                  .arg(move.id));
            for (const QString& statement : statements)
                site->execute(statement);
        }
        modMain::subFullConnect(*main_, path, 0);
        ASSERT_TRUE(gConnected);
        ASSERT_TRUE(boxes.isEmpty()) << boxes.join(u'\n').toStdString();
    }

    // The moved transactions, earliest first, in a report view shown in the main window.
    frmReportOutput* openReport(const QString& columns = searchColumns()) {
        return openReport(columns, main_->session().grsReg2Cam);
    }
    frmReportOutput* openReport(const QString& columns,
                                const std::shared_ptr<rs::Recordset>& reg2Cam) {
        auto* view = new frmReportOutput(main_);
        view->setReportTitle(u"Moved"_s);
        view->setRecordset(link().OpenRecordset(
            u"SELECT "_s + columns + u" "_s + QString::fromUtf16(core::kTransJoin) +
            u"WHERE tbltrans.fldtranstime < #2003/02/01# ORDER BY tbltrans.fldtranstime"_s));
        view->setReg2CamTable(reg2Cam);
        main_->showChild(view);
        return view;
    }

    // As the user selects the row and presses DVR Search.
    static void search(frmReportOutput* view, int row) {
        view->DataList()->setCurrentRow(row);
        view->findChild<QPushButton*>(u"cmdDVRSearch"_s)->click();
    }

    static void closeView(frmReportOutput* view) {
        qobject_cast<QMdiSubWindow*>(view->parentWidget())->close();
    }

    // "number|module|routine" of each row of the site's log.
    QStringList logged() {
        QStringList rows;
        const auto log = link().OpenRecordset(
            u"select fldLogErrNumber, fldLogModule, fldLogRoutine from tblLog"_s);
        for (std::size_t row = 0; log && row < log->recordCount(); ++row)
            rows << u"%1|%2|%3"_s.arg(vb::cstr(log->valueAt(row, 0)),
                                      vb::cstr(log->valueAt(row, 1)),
                                      vb::cstr(log->valueAt(row, 2)));
        return rows;
    }

    QString noCameraBox() const {
        return u"No Associated Camera|There is no camera associated with the selected register.|64"_s;
    }

private:
    std::int16_t savedMethod_ = 0;
};

// Views open on the text-command method and send to a listener of the test's own.
class DvmsTest : public DvrTest {
protected:
    void SetUp() override {
        DvrTest::SetUp();
        ASSERT_NE(listener_.port(), 0);
        main_->setDvrEndpoints({listener_.port(), dvr::Endpoints().ipcName});
        gDVRMethod = 1;
    }

    DvmsListener listener_;
};

} // namespace dvrtest
