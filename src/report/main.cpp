// tillsight-report: runs a report with no window and writes it to a file, for cron jobs and mail.

#include "core/AppGlobals.h"
#include "core/Feedback.h"
#include "core/Session.h"
#include "report/ReportRunner.h"
#include "vb/DateTime.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

// Cron mails whatever a job prints, so a run that succeeded must print nothing. Qt's warnings here
// are about the desktop session a cron job does not have (no XDG_RUNTIME_DIR, no display): not
// news for the reader. What goes wrong with the report itself is told on standard error as ever.
void keepQuietUnlessSerious(QtMsgType type, const QMessageLogContext& context,
                            const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        QTextStream(stderr) << qFormatLogMessage(type, context, message) << '\n';
}

// A chart is drawn with OpenGL, which needs a display: a chart run keeps the desktop's platform,
// and without a desktop it cannot be drawn at all. Everything else runs offscreen.
bool choosePlatform(const report::ParsedArguments& parsed) {
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return true;
    const bool chart = parsed.options && parsed.options->chart;
    const bool desktop =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (chart) return desktop;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    qInstallMessageHandler(keepQuietUnlessSerious);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const report::ParsedArguments parsed = report::parseArguments(arguments);
    QTextStream err(stderr);
    if (parsed.help) {
        QTextStream(stdout) << report::helpText();
        return report::kSucceeded;
    }
    if (!parsed.options) {
        err << "tillsight-report: " << parsed.error << "\nTry 'tillsight-report --help'.\n";
        return report::kBadArguments;
    }
    if (!choosePlatform(parsed)) {
        err << "tillsight-report: --chart needs an OpenGL display: run it on a desktop, or as "
               "xvfb-run -a tillsight-report ...\n";
        return report::kFailed;
    }
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"tillsight-report"_s);
    core::StandardErrorFeedback feedback;
    core::Session session(&feedback, &feedback);
    report::ReportRunner runner(session, vb::now());
    return runner.run(*parsed.options);
}
