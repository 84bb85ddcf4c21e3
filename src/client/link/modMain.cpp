#include "link/modMain.h"

#include "app/AppGlobals.h"
#include "app/frmMain.h"
#include "app/modShared.h"
#include "queries/frmPowerSearch.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

#include <QWidget>

std::shared_ptr<rs::Recordset> grsProducts;
std::shared_ptr<rs::Recordset> grsActionCodes;
std::shared_ptr<rs::Recordset> grsClerks;
std::shared_ptr<rs::Recordset> grsReg2Cam;

using namespace Qt::Literals::StringLiterals;

namespace modMain {

namespace {

struct Lookup {
    std::shared_ptr<rs::Recordset>* global;
    QString query;
    QString caption;
};

const Lookup kLookups[] = {
    {&grsProducts,
     u"Select fldtransdesc as [Description] from tbltransdescs order by fldtransdesc"_s,
     u"Retrieving Product List"_s},
    {&grsActionCodes,
     u"Select distinct fldActionCode as [Code], fldActionDesc as [Description] from lkpActions "
     u"order by fldactioncode"_s,
     u"Retrieving Action Codes"_s},
    {&grsClerks,
     u"select distinct tblactors.fldactorcode as [Code], fldActorlName & \", \" & "
     u"tblActors.fldActorfName as [Name] from tblactors order by fldActorlName & \", \" & "
     u"tblActors.fldActorfName, tblActors.fldactorcode"_s,
     u"Retrieving Clerks"_s},
    {&grsReg2Cam,
     u"select fldregnum as [Register], fldregDVRAddress as [DVRAddress], fldregdvrusername as "
     u"[UserName], fldregdvrpassword as [Password], fldregcam as [Camera] from tblreg order by "
     u"fldregnum"_s,
     u"Retrieving Register to Camera Assignments"_s},
};

sitelink::SiteLink& link() {
    return frmMain::instance()->TillsightLink();
}

// A failed read leaves no result set; using it is the language's "object not set" error, which
// the full connect reports like any other failure.
const rs::Recordset& required(const std::shared_ptr<rs::Recordset>& records) {
    if (!records) throw vb::VbError(91, u"Object variable or With block variable not set"_s);
    return *records;
}

// A Null value gives empty text, as the language's & does.
QString text(const vb::Variant& value) {
    return value.isNull() ? QString() : vb::cstr(value);
}

} // namespace

void subShowTransactionStats() {
    const auto count =
        link().OpenRecordset(u"select count(*) from tbltrans"_s, u"Retrieving Transaction Count"_s);
    modShared::subSetStatusPanel(u"Transactions"_s,
                                 text(required(count).field(0).value()) + u" Transactions"_s);
    const auto range = link().OpenRecordset(
        u"select min(fldtranstime), max(fldtranstime) from tbltrans"_s, u"Retrieving Date Range"_s);
    modShared::subSetStatusPanel(u"Dates"_s, text(required(range).field(0).value()) + u" - "_s +
                                                 text(required(range).field(1).value()));
}

void subFullConnect(const QString& address, int port) {
    try {
        link().setRemoteAddress(address);
        link().setRemotePort(port);
        link().Connect();
        if (!gConnected) return;
        subShowTransactionStats();
        for (const Lookup& lookup : kLookups)
            *lookup.global = link().OpenRecordset(lookup.query, lookup.caption);
        frmPowerSearch* search = frmMain::instance()->powerSearch();
        subEnableControls(search, true);
        search->subInitForm();
        frmMain::instance()->subConnected();
        modShared::subPlayAsterisk();
    } catch (const vb::VbError& e) {
        modShared::fncMessageBox(e.description() +
                                     u"\r\nin TillsightNetworkClient.modMain.subFullConnect"_s,
                                 app::applicationTitle(), modShared::vbOKOnly);
    }
}

void subEnableControls(QWidget* view, bool enabled) {
    if (!view) return;
    for (QWidget* control : view->findChildren<QWidget*>())
        control->setEnabled(enabled);
}

} // namespace modMain
