#include "link/modMain.h"

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "shared/ViewHost.h"
#include "shared/modShared.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;

namespace modMain {

void subShowTransactionStats(client::ViewHost& host) {
    core::Session& session = host.session();
    host.subSetStatusPanel(u"Transactions"_s, session.fncTransactionCount() + u" Transactions"_s);
    const auto [first, last] = session.fncTransactionDates();
    host.subSetStatusPanel(u"Dates"_s, first + u" - "_s + last);
}

void subFullConnect(client::ViewHost& host, const QString& address, int port) {
    try {
        if (!host.session().fncConnect(address, port)) return;
        subShowTransactionStats(host);
        host.session().subLoadLookups();
        host.subConnected();
        modShared::subPlayAsterisk();
    } catch (const vb::VbError& e) {
        modShared::fncMessageBox(e.description() +
                                     u"\r\nin TillsightNetworkClient.modMain.subFullConnect"_s,
                                 core::applicationTitle(), modShared::vbOKOnly);
    }
}

} // namespace modMain
