// Power Search texts over varied criteria, run through the link on a site file and on the same
// demo data on a PostgreSQL server site (as its client role): the same rows, values and column
// types.

#include "core/modDateRanges.h"
#include "core/modPowerSearch.h"
#include "sitelink/SiteLink.h"
#include "support/CoreApplication.h"
#include "support/RecordsetCompare.h"
#include "support/ServerDemoSite.h"
#include "vb/DateTime.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using core::SearchCriteria;
using sitelink::SiteLink;

namespace {

class ServerSearches : public ::testing::Test {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    void SetUp() override {
        const auto& server = testsupport::serverDemoSite();
        QObject::connect(&file_, &SiteLink::LinkError,
                         [this](const QString&, int n, const QString& t) {
                             errors_ << u"file %1: %2"_s.arg(n).arg(t);
                         });
        QObject::connect(&server_, &SiteLink::LinkError,
                         [this](const QString&, int n, const QString& t) {
                             errors_ << u"server %1: %2"_s.arg(n).arg(t);
                         });
        file_.setRemoteAddress(testsupport::demoSite().path);
        file_.Connect();
        server_.setRemoteAddress(server.clientAddress());
        server_.setRemotePort(server.client.port);
        server_.setPassword(server.client.password);
        server_.Connect();
        ASSERT_TRUE(file_.isConnected() && server_.isConnected())
            << errors_.join(u'\n').toStdString();
    }

    // Runs the text on both; empty when they agree, else what differs.
    QString compare(const QString& text) {
        errors_.clear();
        const auto a = file_.OpenRecordset(text);
        const auto b = server_.OpenRecordset(text);
        if (!a || !b) return errors_.join(u'\n');
        if (a->recordCount() == 0) ++empty_;
        return testsupport::differences(*a, *b, text.contains(u"order by"_s, Qt::CaseInsensitive));
    }

    SiteLink file_, server_;
    QStringList errors_;
    int empty_ = 0;
};

TEST_F(ServerSearches, VariedCriteriaGiveTheSameRowsOnBoth) {
    SearchCriteria base;
    base.interval = modDateRanges::kCustomRange;
    base.start = vb::dateSerial(2003, 3, 10);
    base.end = vb::dateSerial(2003, 3, 21) + 0.5;
    std::vector<SearchCriteria> cases;
    auto add = [&](auto change) {
        for (const std::int16_t type :
             {core::List, core::SummaryByClerk, core::SummaryByRegister}) {
            SearchCriteria c = base;
            c.searchType = type;
            change(c);
            cases.push_back(c);
        }
    };
    add([](SearchCriteria&) {});
    add([](SearchCriteria& c) { c.item = u"%bread%"_s; });    // case differs from the data
    add([](SearchCriteria& c) { c.item = u"MILK_2[%]%"_s; }); // a wildcard and a set
    add([](SearchCriteria& c) { c.item = u"[!A-M]%"_s; });
    add([](SearchCriteria& c) { c.action = u"void"_s; });
    add([](SearchCriteria& c) {
        c.action = u"SALE"_s;
        c.notAction = core::kChecked;
    });
    add([](SearchCriteria& c) { c.clerk = u"1003"_s; });
    add([](SearchCriteria& c) { c.registerText = u"4"_s; });
    for (const int modifier : {1, 2, 3, 4})
        add([&](SearchCriteria& c) {
            c.modifier = modifier;
            c.price = u"2.49"_s;
        });
    add([](SearchCriteria& c) {
        c.modifier = 1;
        c.price = u"1"_s;
        c.absValue = core::kChecked;
    });
    add([](SearchCriteria& c) {
        c.action = u"REFUND"_s;
        c.registerText = u"2"_s;
        c.modifier = 2;
        c.price = u"-1"_s;
    });
    for (const SearchCriteria& c : cases) {
        const QString text = modPowerSearch::fncSearchText(c).query;
        const QString diff = compare(text);
        EXPECT_TRUE(diff.isEmpty()) << text.toStdString() << "\n" << diff.toStdString();
    }
    // Most of them must have found rows, or the comparison proves little.
    EXPECT_LT(empty_, int(cases.size()) / 4);
}

} // namespace
