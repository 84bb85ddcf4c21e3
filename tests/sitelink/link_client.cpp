// A client of a site in a process of its own, for the tests that need a second one: it connects
// through the link to the site named first and runs each further argument in turn, "read:TEXT"
// through OpenRecordset and "exec:TEXT" through Execute, printing a line for each: "rows N",
// "done", or "error N: description". A read prints "reading" at its first progress, so the test
// knows it holds the site from then on.

#include "sitelink/SiteLink.h"

#include <QCoreApplication>
#include <cstdio>

namespace {

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

// One step; a failure has printed its own line through LinkError.
void run(sitelink::SiteLink& link, const QString& step, const int& errors) {
    const int before = errors;
    const QString text = step.section(u':', 1);
    if (step.startsWith(QStringLiteral("read:"))) {
        if (const auto rows = link.OpenRecordset(text))
            say(QStringLiteral("rows %1").arg(rows->recordCount()));
        return;
    }
    link.Execute(text);
    if (errors == before) say(QStringLiteral("done"));
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) return 2;
    sitelink::SiteLink link;
    int errors = 0;
    QObject::connect(&link, &sitelink::SiteLink::LinkError,
                     [&](const QString&, int number, const QString& description) {
                         ++errors;
                         say(QStringLiteral("error %1: %2").arg(number).arg(description));
                     });
    bool reading = false;
    QObject::connect(&link, &sitelink::SiteLink::ProgressChanged, [&] {
        if (!reading) say(QStringLiteral("reading"));
        reading = true;
    });
    link.setRemoteAddress(args[1]);
    link.Connect();
    if (!link.isConnected()) return 1;
    for (const QString& step : args.mid(2))
        run(link, step, errors);
    return 0;
}
