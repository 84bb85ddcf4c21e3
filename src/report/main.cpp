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

} // namespace

int main(int argc, char* argv[]) {
    qInstallMessageHandler(keepQuietUnlessSerious);
    // Nothing here needs a screen; a cron job has none, and a desktop's must not be touched.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"tillsight-report"_s);

    QTextStream err(stderr);
    const report::ParsedArguments parsed = report::parseArguments(app.arguments().mid(1));
    if (parsed.help) {
        QTextStream(stdout) << report::helpText();
        return report::kSucceeded;
    }
    if (!parsed.options) {
        err << "tillsight-report: " << parsed.error << "\nTry 'tillsight-report --help'.\n";
        return report::kBadArguments;
    }
    core::StandardErrorFeedback feedback;
    core::Session session(&feedback, &feedback);
    report::ReportRunner runner(session, vb::now());
    return runner.run(*parsed.options);
}
