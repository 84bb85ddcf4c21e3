#pragma once

// The --log file: one line per request, appended and flushed at once so that whoever watches the
// file (a test, a person with tail -f) sees each request as it happens. Fields are tab-separated
// and escaped as in the IPC protocol, so every request stays on one line whatever its text:
//
//   ipc  <tab> address <tab> user <tab> password given|no password <tab> camera <tab> moment
//   dvms <tab> camera <tab> moment <tab> the command as received
//
// The moment is yyyy-mm-dd hh:nn:ss. A password is never written, only whether one was given.

#include "viewer/ViewerRequest.h"

#include <QFile>
#include <QString>

namespace viewer {

QString logLine(const ViewerRequest& request);

class RequestLog {
public:
    // Without a call to open the log writes nothing.
    bool open(const QString& path, QString& error);
    void write(const ViewerRequest& request);

private:
    QFile file_;
    bool warned_ = false;
};

} // namespace viewer
