#include "viewer/RequestLog.h"

#include "dvr/DvrIpcProtocol.h"

#include <QStringList>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace viewer {

QString logLine(const ViewerRequest& request) {
    QStringList fields;
    if (request.method == Method::Standard) {
        fields << u"ipc"_s << request.dvrAddress << request.userName
               << (request.passwordGiven ? u"password given"_s : u"no password"_s)
               << QString::number(request.camera) << displayMoment(request.moment);
    } else {
        fields << u"dvms"_s << QString::number(request.camera) << displayMoment(request.moment)
               << QString::fromLatin1(request.command);
    }
    for (QString& field : fields)
        field = dvr::ipc::escapeField(field);
    return fields.join(u'\t');
}

bool RequestLog::open(const QString& path, QString& error) {
    file_.setFileName(path);
    if (file_.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) return true;
    error = u"cannot open the log %1: %2"_s.arg(path, file_.errorString());
    return false;
}

void RequestLog::write(const ViewerRequest& request) {
    if (!file_.isOpen()) return;
    const bool written = file_.write((logLine(request) + u'\n').toUtf8()) >= 0 && file_.flush();
    // Showing the requests matters more than logging them: say so once and carry on.
    if (!written && !warned_) {
        std::fprintf(stderr, "tillsight-viewer: cannot write the log: %s\n",
                     qPrintable(file_.errorString()));
        warned_ = true;
    }
}

} // namespace viewer
