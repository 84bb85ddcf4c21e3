#include "sitelink/SiteLink.h"

#include "recordset/RecordsetError.h"
#include "vb/VbError.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QPointer>
#include <QScopedValueRollback>
#include <QSocketNotifier>
#include <QThread>
#include <exception>

namespace sitelink {

namespace {

constexpr int kWatchIntervalMs = 1000;
constexpr int kNotConnected = 3704; // the data-access layer's "operation not allowed when closed"

} // namespace

QString SiteLink::errorSource() {
    return rs::kErrorSource.toString();
}

SiteLink::SiteLink(QObject* parent) : QObject(parent) {
    thread_ = new QThread(this);
    thread_->setObjectName(QStringLiteral("site link"));
    worker_ = new QObject;
    worker_->moveToThread(thread_);
    connect(thread_, &QThread::finished, worker_, &QObject::deleteLater);
    thread_->start();
    watch_.setInterval(kWatchIntervalMs);
    connect(&watch_, &QTimer::timeout, this, &SiteLink::checkSiteStillThere);
}

SiteLink::~SiteLink() {
    guard_ = nullptr; // the last wait below is not the user's
    hearing_.reset();
    // The engine belongs to the worker: close it there, quietly, before the thread ends.
    setEngine(nullptr);
    thread_->quit();
    thread_->wait();
}

std::optional<SiteLink::Failure> SiteLink::runOnWorker(const std::function<void()>& job) {
    // While the worker runs, the engine's socket is the worker's to read and the engine is not
    // asked whether its site is gone.
    const QScopedValueRollback busy(waiting_, true);
    if (hearing_) hearing_->setEnabled(false);
    QEventLoop loop;
    std::optional<Failure> failure;
    bool done = false;
    QPointer<QEventLoop> waiting(&loop);
    QMetaObject::invokeMethod(worker_, [&, waiting] {
        try {
            job();
        } catch (const vb::VbError& e) {
            failure = Failure{e.number(), e.description()};
        } catch (const std::exception& e) {
            failure = Failure{-1, QString::fromLocal8Bit(e.what())};
        }
        QMetaObject::invokeMethod(
            this,
            [&done, waiting] {
                done = true;
                if (waiting) waiting->quit();
            },
            Qt::QueuedConnection);
    });
    if (!done) {
        InputGuard* guard = guard_;
        if (guard) guard->beginWait(*this);
        loop.exec(guard ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
        if (guard) guard->endWait(*this);
    }
    if (hearing_) hearing_->setEnabled(true);
    return failure;
}

std::optional<SiteLink::Failure> SiteLink::runCall(const std::function<void()>& job) {
    // The worker is idle here, so a cancel left from the last call cannot reach this one's
    // start, and one that comes from now on stops it.
    engine_->clearInterrupt();
    canceled_ = false;
    return runOnWorker(job);
}

void SiteLink::Cancel() {
    const std::lock_guard lock(interrupting_);
    if (interruptible_) interruptible_->interrupt();
}

void SiteLink::setEngine(std::unique_ptr<Engine> engine) {
    {
        const std::lock_guard lock(interrupting_);
        interruptible_ = engine.get();
    }
    if (engine_) runOnWorker([this] { engine_.reset(); });
    engine_ = std::move(engine);
}

void SiteLink::setProgress(int percent) {
    if (percent == progress_) return;
    progress_ = static_cast<std::int16_t>(percent);
    emit ProgressChanged();
}

void SiteLink::reportFailure(const Failure& failure) {
    canceled_ = failure.number == kCanceled;
    emit StatusChanged(QStringLiteral("Error %1").arg(failure.number));
    emit LinkError(errorSource(), failure.number, failure.description);
}

bool SiteLink::requireConnection() {
    if (engine_) return true;
    reportFailure({kNotConnected, QStringLiteral("The link is not connected to a site.")});
    return false;
}

void SiteLink::Connect() {
    if (engine_) {
        reportFailure({kNotConnected,
                       QStringLiteral("The link is already connected to %1.").arg(serverName_)});
        return;
    }
    emit StatusChanged(QStringLiteral("Connecting to %1").arg(params_.address));
    QElapsedTimer timer;
    timer.start();
    const ConnectParams params = params_;
    std::unique_ptr<Engine> opened;
    QString name;
    std::int16_t session = 0;
    const auto failure = runOnWorker([&] {
        opened = openEngine(params);
        name = opened->serverName();
        session = opened->sessionIndex();
    });
    emit OperationTimed(static_cast<int>(timer.elapsed()));
    if (failure) {
        reportFailure(*failure);
        return;
    }
    setEngine(std::move(opened));
    serverName_ = name;
    sessionIndex_ = session;
    watch_.start();
    if (const int socket = engine_->watchSocket(); socket >= 0) {
        hearing_ = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
        connect(hearing_.get(), &QSocketNotifier::activated, this, &SiteLink::checkSiteStillThere);
    }
    emit StatusChanged(QStringLiteral("Connected"));
    emit Connected();
}

void SiteLink::dropEngine() {
    watch_.stop();
    hearing_.reset();
    setEngine(nullptr);
    serverName_.clear();
    sessionIndex_ = 0;
    setProgress(0);
}

void SiteLink::Disconnect() {
    if (!engine_) return;
    dropEngine();
    emit StatusChanged(QStringLiteral("Disconnected"));
    emit Disconnected();
}

void SiteLink::checkSiteStillThere() {
    endIfGone(true);
}

bool SiteLink::endIfGone(bool report) {
    if (!engine_ || waiting_) return false;
    const QString reason = engine_->goneReason();
    if (reason.isEmpty()) return false;
    dropEngine();
    if (report) reportFailure({kNotConnected, reason});
    emit Disconnected();
    return true;
}

std::shared_ptr<rs::Recordset> SiteLink::OpenRecordset(const QString& queryText,
                                                       const QString& progressCaption) {
    if (!requireConnection()) return nullptr;
    emit StatusChanged(progressCaption.isEmpty() ? QStringLiteral("Running query")
                                                 : progressCaption);
    QElapsedTimer timer;
    timer.start();
    std::shared_ptr<rs::Recordset> result;
    QPointer<SiteLink> self(this);
    const auto failure = runCall([&] {
        result = engine_->openRecordset(queryText, [self](int percent) {
            QMetaObject::invokeMethod(
                self,
                [self, percent] {
                    if (self) self->setProgress(percent);
                },
                Qt::QueuedConnection);
        });
    });
    emit OperationTimed(static_cast<int>(timer.elapsed()));
    setProgress(0);
    if (failure) {
        reportFailure(*failure);
        endIfGone(false); // the failure said what happened
        return nullptr;
    }
    emit StatusChanged(QStringLiteral("Ready"));
    return result;
}

void SiteLink::Execute(const QString& queryText) {
    if (!requireConnection()) return;
    emit StatusChanged(QStringLiteral("Running command"));
    QElapsedTimer timer;
    timer.start();
    const auto failure = runCall([&] { engine_->execute(queryText); });
    emit OperationTimed(static_cast<int>(timer.elapsed()));
    if (failure) {
        reportFailure(*failure);
        endIfGone(false); // the failure said what happened
        return;
    }
    emit StatusChanged(QStringLiteral("Ready"));
}

} // namespace sitelink
