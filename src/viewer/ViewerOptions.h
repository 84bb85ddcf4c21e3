#pragma once

// The viewer's command line. It is read before any application object exists, because whether
// the program may open windows (and so needs a display) depends on it.

#include "viewer/ConnectionKeeper.h"

#include <QString>
#include <QStringList>
#include <variant>

namespace viewer {

inline constexpr quint16 kDvmsPort = 5111;

struct ViewerOptions {
    QString ipcName;
    quint16 port = kDvmsPort;
    QString logPath;
    bool headless = false;
    int idleMs = kDefaultIdleMs;
};

// The program ends at once: status 0 after --help, 2 after a wrong command line; message goes to
// standard output or standard error accordingly.
struct Exit {
    int status = 0;
    QString message;
};

std::variant<ViewerOptions, Exit> parseOptions(const QStringList& arguments);

} // namespace viewer
