#include "viewer/ViewerRequest.h"

#include "dvr/DvrIpcProtocol.h"

using namespace Qt::Literals::StringLiterals;

namespace viewer {

QString displayMoment(const vb::DateParts& moment) {
    return dvr::ipc::formatMoment(moment).replace(u'T', u' ');
}

QString methodName(Method method) {
    return method == Method::Standard ? u"standard IPC"_s : u"DVMS"_s;
}

} // namespace viewer
