#include "dvr/DvrMethod.h"

#include "dvr/DvrIpcClient.h"
#include "vb/Format.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace dvr {

namespace {

// The first tick arms, the second sends: the viewer gets about a second to accept.
constexpr int kSendDelayMs = 500;

// The standard method opens its session as the view loads, and is asked even when that failed;
// the client then has nobody to tell.
class IpcMethod : public DvrMethod {
public:
    explicit IpcMethod(const QString& serverName) : objDVR(serverName) {}
    bool open() override { return objDVR.OpenSession(); }
    void showHistory(const CameraAssignment& a, double when) override {
        objDVR.ShowHistory(a.dvrAddress, a.userName, a.password, a.camera, when);
    }
    void close() override { objDVR.CloseSession(); }

private:
    DvrIpcClient objDVR;
};

// The text-command method connects at the first search and keeps the connection for the next.
class DvmsMethod : public QObject, public DvrMethod {
public:
    DvmsMethod(quint16 port, QObject* owner)
        : QObject(owner), port_(port), WinsockDVR(new QTcpSocket(this)),
          TimerDelay(new QTimer(this)) {
        WinsockDVR->setObjectName(u"WinsockDVR"_s);
        TimerDelay->setObjectName(u"TimerDelay"_s);
        connect(TimerDelay, &QTimer::timeout, this, &DvmsMethod::TimerDelay_Timer);
    }

    bool open() override {
        mblnSendArmed = false;
        TimerDelay->stop();
        TimerDelay->setInterval(kSendDelayMs);
        return true;
    }

    void showHistory(const CameraAssignment& assignment, double when) override {
        mstrDVRCommand = fncDVMSCommand(when, assignment.camera);
        subSendDVRCommand();
    }

    void close() override {
        TimerDelay->stop();
        if (WinsockDVR->state() != QAbstractSocket::UnconnectedState) WinsockDVR->close();
    }

private:
    void subSendDVRCommand() {
        switch (WinsockDVR->state()) {
        case QAbstractSocket::ConnectedState:
            WinsockDVR->write(mstrDVRCommand.toLatin1());
            break;
        case QAbstractSocket::ConnectingState:
            // A search while the last one still waits for its connection gives up on both.
            WinsockDVR->abort();
            mblnSendArmed = false;
            break;
        default:
            subConnectDVRSocket();
            mblnSendArmed = false;
            TimerDelay->start();
            break;
        }
    }

    void subConnectDVRSocket() {
        // A socket busy looking up or closing cannot start another connect; that failure is
        // silent like any other here.
        if (WinsockDVR->state() != QAbstractSocket::UnconnectedState) return;
        WinsockDVR->connectToHost(u"127.0.0.1"_s, port_);
    }

    // The tick after a connect request arms; the next sends whatever state the socket is in by
    // then and stops the timer, so a failed connection is retried once but the command is not
    // resent.
    void TimerDelay_Timer() {
        if (mblnSendArmed) {
            subSendDVRCommand();
            TimerDelay->stop();
        }
        mblnSendArmed = !mblnSendArmed;
    }

    quint16 port_;
    QTcpSocket* WinsockDVR;
    QTimer* TimerDelay;
    bool mblnSendArmed = false;
    QString mstrDVRCommand;
};

} // namespace

std::unique_ptr<DvrMethod> makeDvrMethod(std::int16_t setting, const Endpoints& endpoints,
                                         QObject* owner) {
    if (setting == kDvmsMethod) return std::make_unique<DvmsMethod>(endpoints.dvmsPort, owner);
    return std::make_unique<IpcMethod>(endpoints.ipcName);
}

QString fncDVMSCommand(double when, std::int16_t camera) {
    return u"history,"_s + vb::formatDate(when, u"yyyy,mm,dd,hh,nn,ss"_s) + u',' +
           vb::format(vb::Variant(camera), u"00"_s);
}

} // namespace dvr
