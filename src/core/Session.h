#pragma once

// One connection to a site as the client's logic uses it: the link, the lookups a full connect
// loads, the site's Fixed Report list, and where the link's errors are told. The views and a
// program without a display share it; what it needs from a screen it gets through Feedback.

#include "core/Feedback.h"
#include "recordset/Recordset.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>
#include <utility>

namespace sitelink {
class SiteLink;
}

namespace core {

class Session : public QObject {
    Q_OBJECT
public:
    // Without feedback the link's errors go nowhere and nothing shows the work.
    Session(MessageSink* messages = nullptr, BusyIndicator* busy = nullptr,
            QObject* parent = nullptr);
    ~Session() override;

    sitelink::SiteLink& TillsightLink() const { return *link_; }
    std::int16_t SessionIndex() const;
    MessageSink* messages() const { return messages_; }
    BusyIndicator& busy() { return *busy_; }

    // Connects the link to `address` and `port`; true when it is connected (gConnected).
    bool fncConnect(const QString& address, int port);

    // The site's statistics as texts: the transaction count, and the first and last transaction
    // times. A statistic the site does not answer is the language's error 91.
    QString fncTransactionCount();
    std::pair<QString, QString> fncTransactionDates();

    // Reads the four lookups anew, in order. One the site does not answer raises (the user's
    // cancel as itself, else 91); the lookups read before it keep their new sets.
    void subLoadLookups();
    std::shared_ptr<rs::Recordset> grsProducts;
    std::shared_ptr<rs::Recordset> grsActionCodes;
    std::shared_ptr<rs::Recordset> grsClerks;
    std::shared_ptr<rs::Recordset> grsReg2Cam;

    // Every row of tblfixedreports, kept for the connection. Between runs it is unfiltered; a run
    // filters it to its own row.
    std::shared_ptr<rs::Recordset> grsFixedReports;
    void subLoadFixedReports();
    // The list, read first when no one has read it yet; raises 91 when the site gave none.
    rs::Recordset& fixedReports();

    // Raises the cancel (3059) when the user stopped the link's last call, so that a run of
    // several calls ends there rather than going on without the part that was stopped.
    void stopIfCanceled() const;

private:
    sitelink::SiteLink* link_;
    MessageSink* messages_;
    BusyIndicator* busy_;
    std::unique_ptr<BusyIndicator> idle_;
};

} // namespace core
