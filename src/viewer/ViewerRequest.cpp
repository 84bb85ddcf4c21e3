#include "viewer/ViewerRequest.h"

#include "reports/DvrIpcProtocol.h"

using namespace Qt::Literals::StringLiterals;

namespace viewer {

QString displayMoment(const vb::DateParts& moment) {
    return reports::dvrIpc::formatMoment(moment).replace(u'T', u' ');
}

QString methodName(Method method) {
    return method == Method::Standard ? u"standard IPC"_s : u"DVMS"_s;
}

} // namespace viewer
