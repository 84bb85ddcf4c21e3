#pragma once

// The remote data link: the one control through which the client reaches a site. Members and
// events keep the names the client's code uses. Engine work runs on a worker thread while the
// calling thread waits in a local event loop, so progress and status events keep arriving during
// a call; Connected is delivered before Connect returns, and OpenRecordset returns only the
// complete set, or nullptr after reporting the failure through LinkError. Nothing is thrown.
// Cancel stops a running OpenRecordset or Execute: it ends with LinkError 3059 and the connection
// stays usable.

#include "recordset/Recordset.h"
#include "sitelink/Engine.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class QSocketNotifier;
class QThread;

namespace sitelink {

class SiteLink;

// What lets a person reach a Cancel while the link waits. Without one the wait lets no user input
// through, so nothing can start a second call; with one it lets input through and the guard must
// keep everything but its Cancel from reaching the program.
class InputGuard {
public:
    virtual ~InputGuard() = default;
    virtual void beginWait(SiteLink& link) = 0;
    virtual void endWait(SiteLink& link) = 0;
};

class SiteLink : public QObject {
    Q_OBJECT

public:
    explicit SiteLink(QObject* parent = nullptr);
    ~SiteLink() override;

    QString RemoteAddress() const { return params_.address; }
    void setRemoteAddress(const QString& address) { params_.address = address; }
    int RemotePort() const { return params_.port; }
    void setRemotePort(int port) { params_.port = port; }
    QString Password() const { return params_.password; }
    void setPassword(const QString& password) { params_.password = password; }
    std::int16_t Progress() const { return progress_; }
    std::int16_t SessionIndex() const { return sessionIndex_; }
    QString ServerName() const { return serverName_; }
    bool isConnected() const { return engine_ != nullptr; }
    // Whether the last OpenRecordset or Execute was stopped by Cancel.
    bool Canceled() const { return canceled_; }

    void Connect();
    void Disconnect();
    std::shared_ptr<rs::Recordset> OpenRecordset(const QString& queryText,
                                                 const QString& progressCaption = QString());
    void Execute(const QString& queryText);
    // Stops the OpenRecordset or Execute in progress; does nothing between calls. Safe from any
    // thread, and from the waiting thread through an event (a button, a key, a timer).
    void Cancel();
    // The guard the waits use from now on; nullptr for none. The link does not own it.
    void setInputGuard(InputGuard* guard) { guard_ = guard; }

    // The source named in LinkError and carried by the errors of the result sets it hands out.
    static QString errorSource();

signals:
    void ProgressChanged();
    void Disconnected();
    void LinkError(const QString& source, int number, const QString& description);
    void OperationTimed(int milliseconds);
    void StatusChanged(const QString& text);
    void Connected();

private:
    struct Failure {
        int number = 0;
        QString description;
    };
    // Runs `job` on the worker thread and waits for it, letting events through meanwhile.
    // Returns the failure the job raised, if any.
    std::optional<Failure> runOnWorker(const std::function<void()>& job);
    // Runs one engine call that Cancel may stop.
    std::optional<Failure> runCall(const std::function<void()>& job);
    void setEngine(std::unique_ptr<Engine> engine);
    void setProgress(int percent);
    void reportFailure(const Failure& failure);
    void dropEngine();
    void checkSiteStillThere();
    // Ends the connection when the engine says its site is gone; says why unless told not to.
    bool endIfGone(bool report);
    bool requireConnection();

    ConnectParams params_;
    std::unique_ptr<Engine> engine_; // used on the worker thread only, but for interrupts
    std::mutex interrupting_;        // keeps Cancel off an engine being closed
    Engine* interruptible_ = nullptr;
    InputGuard* guard_ = nullptr;
    bool canceled_ = false;
    QThread* thread_ = nullptr;
    QObject* worker_ = nullptr; // lives on thread_
    QTimer watch_;
    std::unique_ptr<QSocketNotifier> hearing_; // the engine's watch socket, between calls
    bool waiting_ = false;                     // the worker is running something for us
    QString serverName_;
    std::int16_t sessionIndex_ = 0;
    std::int16_t progress_ = 0;
};

} // namespace sitelink
