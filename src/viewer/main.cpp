// tillsight-viewer: a stand-in for the local video viewer. It answers the standard method's IPC
// and the DVMS text commands, shows each request in a window (unless --headless) and appends it
// to the --log file. Exit status 1 when it cannot listen or open the log, 2 for a wrong command
// line.

#include "viewer/DvmsServer.h"
#include "viewer/IpcServer.h"
#include "viewer/RequestLog.h"
#include "viewer/RequestWindow.h"
#include "viewer/ViewerOptions.h"

#include "dvr/DvrIpcProtocol.h"

#include <QApplication>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace viewer;

namespace {

constexpr int kFailed = 1;

QStringList argumentsOf(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

// The write end of the pipe that turns a termination signal into a quit on the event loop.
int quitSignalPipe = -1;

void onQuitSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(quitSignalPipe, &byte, 1);
}

// Ending through the event loop lets the IPC server remove its socket file, so a stopped viewer
// leaves nothing behind for the next one to take over.
void quitOnTerminationSignals() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    quitSignalPipe = ends[1];
    auto* notifier =
        new QSocketNotifier(ends[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, &QCoreApplication::quit);
    struct sigaction action = {};
    action.sa_handler = onQuitSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

int fail(const QString& message) {
    std::fprintf(stderr, "tillsight-viewer: %s\n", qPrintable(message));
    return kFailed;
}

void reportRejected(const QByteArray& text) {
    std::fprintf(stderr, "tillsight-viewer: ignored DVMS input \"%s\"\n",
                 qPrintable(dvr::ipc::escapeField(QString::fromLatin1(text.left(80)))));
}

int run(const ViewerOptions& options) {
    RequestLog log;
    QString error;
    if (!options.logPath.isEmpty() && !log.open(options.logPath, error)) return fail(error);
    IpcServer ipc(options.idleMs);
    if (!ipc.listen(options.ipcName, error)) return fail(error);
    DvmsServer dvms(options.idleMs);
    if (!dvms.listen(options.port, error)) return fail(error);

    const QString endpoints =
        u"listening: ipc %1, dvms 127.0.0.1:%2"_s.arg(options.ipcName).arg(dvms.port());
    std::unique_ptr<RequestWindow> window;
    if (!options.headless) {
        window = std::make_unique<RequestWindow>(endpoints);
        window->show();
    }
    const auto handle = [&log, &window](const ViewerRequest& request) {
        log.write(request);
        if (window) window->showRequest(request);
    };
    QObject::connect(&ipc, &IpcServer::requested, handle);
    QObject::connect(&dvms, &DvmsServer::requested, handle);
    QObject::connect(&dvms, &DvmsServer::rejected, &reportRejected);
    quitOnTerminationSignals();

    // Whoever started the viewer (a script, a test) learns here that it may connect, and to
    // which port when it asked for any free one.
    std::printf("tillsight-viewer: %s\n", qPrintable(endpoints));
    std::fflush(stdout);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const auto parsed = parseOptions(argumentsOf(argc, argv));
    if (const auto* exit = std::get_if<Exit>(&parsed)) {
        std::fprintf(exit->status == 0 ? stdout : stderr, "%s\n", qPrintable(exit->message));
        return exit->status;
    }
    const auto& options = std::get<ViewerOptions>(parsed);
    // Only a viewer with windows needs (and connects to) a display.
    std::unique_ptr<QCoreApplication> app;
    if (options.headless)
        app = std::make_unique<QCoreApplication>(argc, argv);
    else
        app = std::make_unique<QApplication>(argc, argv);
    return run(options);
}
