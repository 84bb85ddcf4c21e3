#include "core/Session.h"

#include "core/AppGlobals.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;

namespace core {

namespace {

class NoBusySign : public BusyIndicator {
public:
    void beginBusy() override {}
    void endBusy() override {}
};

struct Lookup {
    std::shared_ptr<rs::Recordset> Session::*set;
    QString query;
    QString caption;
};

const Lookup kLookups[] = {
    {&Session::grsProducts,
     u"Select fldtransdesc as [Description] from tbltransdescs order by fldtransdesc"_s,
     u"Retrieving Product List"_s},
    {&Session::grsActionCodes,
     u"Select distinct fldActionCode as [Code], fldActionDesc as [Description] from lkpActions "
     u"order by fldactioncode"_s,
     u"Retrieving Action Codes"_s},
    {&Session::grsClerks,
     u"select distinct tblactors.fldactorcode as [Code], fldActorlName & \", \" & "
     u"tblActors.fldActorfName as [Name] from tblactors order by fldActorlName & \", \" & "
     u"tblActors.fldActorfName, tblActors.fldactorcode"_s,
     u"Retrieving Clerks"_s},
    {&Session::grsReg2Cam,
     u"select fldregnum as [Register], fldregDVRAddress as [DVRAddress], fldregdvrusername as "
     u"[UserName], fldregdvrpassword as [Password], fldregcam as [Camera] from tblreg order by "
     u"fldregnum"_s,
     u"Retrieving Register to Camera Assignments"_s},
};

const rs::Recordset& required(const std::shared_ptr<rs::Recordset>& records) {
    if (!records) vb::raise(vb::err::ObjectNotSet);
    return *records;
}

// A Null value gives empty text, as the language's & does.
QString text(const vb::Variant& value) {
    return value.isNull() ? QString() : vb::cstr(value);
}

} // namespace

Session::Session(MessageSink* messages, BusyIndicator* busy, QObject* parent)
    : QObject(parent), link_(new sitelink::SiteLink(this)), messages_(messages), busy_(busy) {
    if (!busy_) {
        idle_ = std::make_unique<NoBusySign>();
        busy_ = idle_.get();
    }
    using sitelink::SiteLink;
    // Made before anyone else listens, so whoever handles these events reads the flag as it is.
    connect(link_, &SiteLink::Connected, this, [] { gConnected = true; });
    connect(link_, &SiteLink::Disconnected, this, [] { gConnected = false; });
    connect(link_, &SiteLink::LinkError, this,
            [this](const QString& source, int number, const QString& description) {
                if (!messages_) return;
                messages_->playAsterisk();
                messages_->showMessage(
                    u"Error "_s + QString::number(number) + u": "_s + description, source);
            });
}

Session::~Session() {
    // The link goes with the session; none of its last events may reach a half-gone listener.
    QObject::disconnect(link_, nullptr, nullptr, nullptr);
}

std::int16_t Session::SessionIndex() const {
    return link_->SessionIndex();
}

bool Session::fncConnect(const QString& address, int port) {
    link_->setRemoteAddress(address);
    link_->setRemotePort(port);
    link_->Connect();
    return gConnected;
}

QString Session::fncTransactionCount() {
    const auto count =
        link_->OpenRecordset(u"select count(*) from tbltrans"_s, u"Retrieving Transaction Count"_s);
    return text(required(count).field(0).value());
}

std::pair<QString, QString> Session::fncTransactionDates() {
    const auto range = link_->OpenRecordset(
        u"select min(fldtranstime), max(fldtranstime) from tbltrans"_s, u"Retrieving Date Range"_s);
    return {text(required(range).field(0).value()), text(required(range).field(1).value())};
}

void Session::subLoadLookups() {
    // A lookup the site refuses ends the loading; those loaded before it stay, and the one
    // refused keeps its previous set, as no set came to replace it.
    for (const Lookup& lookup : kLookups) {
        auto records = link_->OpenRecordset(lookup.query, lookup.caption);
        if (!records) stopIfCanceled();
        required(records);
        this->*lookup.set = std::move(records);
    }
}

void Session::subLoadFixedReports() {
    grsFixedReports.reset();
    grsFixedReports = link_->OpenRecordset(
        u"select * from tblfixedreports order by fldReporttitle"_s, u"Retrieving Fixed Reports"_s);
}

rs::Recordset& Session::fixedReports() {
    if (!grsFixedReports) subLoadFixedReports();
    stopIfCanceled();
    if (!grsFixedReports) vb::raise(vb::err::ObjectNotSet);
    return *grsFixedReports;
}

void Session::stopIfCanceled() const {
    if (link_->Canceled())
        throw vb::VbError(sitelink::kCanceled, QString::fromUtf16(sitelink::kCanceledText),
                          sitelink::SiteLink::errorSource());
}

} // namespace core
