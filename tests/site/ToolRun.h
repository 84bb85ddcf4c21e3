#pragma once

// Runs the site tool as a user does, and keeps what it said.

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace sitetest {

struct ToolRun {
    int status;
    QString out;
    QString err;
};

inline ToolRun
run(const QString& program, const QStringList& args,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, args);
    process.waitForFinished(300000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

inline ToolRun
tool(const QStringList& args,
     const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    return run(QStringLiteral(TILLSIGHT_SITE_TOOL), args, environment);
}

} // namespace sitetest
