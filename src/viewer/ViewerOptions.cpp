#include "viewer/ViewerOptions.h"

#include "dvr/DvrIpcProtocol.h"

#include <QCommandLineParser>

using namespace Qt::Literals::StringLiterals;

namespace viewer {

namespace {

constexpr int kUsage = 2;

QString helpText() {
    return uR"(Usage: tillsight-viewer [OPTIONS]

A stand-in for the local video viewer. It takes the Tillsight client's requests for a camera's
recorded video, by both methods, and shows which recorder, camera and moment each one asked for:
  - the standard method, on the local IPC server;
  - the DVMS method, text commands such as "history,2003,03,28,14,05,09,02" on TCP 127.0.0.1.
When both are listening it prints one line on standard output saying where.

Options:
  --ipc-name NAME   the IPC server's name (default %1)
  --port N          the DVMS port on 127.0.0.1 (default %2; 0 takes any free port)
  --log FILE        append each request to FILE as one tab-separated line
  --headless        open no window (no display needed); with --log, for tests and scripts
  --idle SECONDS    close a connection that has sent nothing for this long (default %3; at
                    most %4 connections per method, a new one closing the longest idle)
  -h, --help        show this text
)"_s.arg(dvr::ipc::defaultServerName())
        .arg(kDvmsPort)
        .arg(kDefaultIdleMs / 1000)
        .arg(kMaxConnections);
}

Exit usageError(const QString& message) {
    return {kUsage, message + u"\nRun \"tillsight-viewer --help\" for the options."_s};
}

} // namespace

std::variant<ViewerOptions, Exit> parseOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    const QCommandLineOption ipcName(u"ipc-name"_s, {}, u"NAME"_s);
    const QCommandLineOption port(u"port"_s, {}, u"N"_s);
    const QCommandLineOption log(u"log"_s, {}, u"FILE"_s);
    const QCommandLineOption headless(u"headless"_s);
    const QCommandLineOption idle(u"idle"_s, {}, u"SECONDS"_s);
    const QCommandLineOption help(QStringList{u"h"_s, u"help"_s});
    parser.addOptions({ipcName, port, log, headless, idle, help});
    if (!parser.parse(arguments)) return usageError(parser.errorText());
    if (parser.isSet(help)) return Exit{0, helpText()};
    if (!parser.positionalArguments().isEmpty())
        return usageError(u"unexpected argument: "_s + parser.positionalArguments().front());

    ViewerOptions options;
    options.ipcName = parser.value(ipcName);
    if (options.ipcName.isEmpty()) options.ipcName = dvr::ipc::defaultServerName();
    if (parser.isSet(port)) {
        bool ok = false;
        options.port = parser.value(port).toUShort(&ok);
        if (!ok) return usageError(u"--port needs a number from 0 to 65535"_s);
    }
    options.logPath = parser.value(log);
    options.headless = parser.isSet(headless);
    if (parser.isSet(idle)) {
        // Fractions of a second let tests wait briefly; the timer counts whole milliseconds.
        bool ok = false;
        const double seconds = parser.value(idle).toDouble(&ok);
        if (!ok || !(seconds >= 0.001 && seconds <= 86400))
            return usageError(u"--idle needs a number of seconds from 0.001 to 86400"_s);
        options.idleMs = static_cast<int>(seconds * 1000);
    }
    return options;
}

} // namespace viewer
