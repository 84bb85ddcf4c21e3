#include "link/modRAS.h"

#include "support/VbTestSupport.h"

#include <net/if.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;
using modRAS::InterfaceRecord;

namespace {

constexpr unsigned int kActiveLink = IFF_UP | IFF_RUNNING | IFF_POINTOPOINT;
constexpr unsigned int kEthernet = IFF_UP | IFF_RUNNING | IFF_BROADCAST | IFF_MULTICAST;

InterfaceRecord ipv4(const QString& name, unsigned int flags, const QString& address,
                     const QString& peer = {}) {
    return {name, flags, AF_INET, address, peer};
}

InterfaceRecord linkLayer(const QString& name, unsigned int flags) {
    return {name, flags, AF_PACKET, {}, {}};
}

// Each test says which interfaces the system has; the system's own list comes back afterwards.
class DialupAddress : public ::testing::Test {
protected:
    void TearDown() override { modRAS::setInterfaceSource({}); }

    QString addressWith(std::vector<InterfaceRecord> records) {
        modRAS::setInterfaceSource([records] { return records; });
        return modRAS::fncGetDialupAddress();
    }
};

} // namespace

TEST_F(DialupAddress, IsTheFarEndOfAnActiveLinkNotThisComputer) {
    EXPECT_EQ(addressWith({linkLayer(u"lo"_s, IFF_UP | IFF_RUNNING | IFF_LOOPBACK),
                           linkLayer(u"ppp0"_s, kActiveLink),
                           ipv4(u"lo"_s, IFF_UP | IFF_RUNNING | IFF_LOOPBACK, u"127.0.0.1"_s),
                           ipv4(u"ppp0"_s, kActiveLink, u"10.64.0.2"_s, u"10.64.0.1"_s)}),
              u"10.64.0.1"_s);
}

TEST_F(DialupAddress, IsEmptyWithoutAnActivePointToPointLink) {
    EXPECT_EQ(addressWith({}), QString());
    // A broadcast address sits where a peer would; an ordinary interface must not pass for a link.
    EXPECT_EQ(addressWith({ipv4(u"eth0"_s, kEthernet, u"192.168.1.5"_s, u"192.168.1.255"_s)}),
              QString());
    EXPECT_EQ(addressWith({ipv4(u"ppp0"_s, kActiveLink & ~IFF_UP, u"10.64.0.2"_s, u"10.64.0.1"_s)}),
              QString());
    EXPECT_EQ(
        addressWith({ipv4(u"ppp0"_s, kActiveLink & ~IFF_RUNNING, u"10.64.0.2"_s, u"10.64.0.1"_s)}),
        QString());
}

TEST_F(DialupAddress, IsEmptyWhenTheLinkHasNoIpv4Peer) {
    EXPECT_EQ(addressWith({linkLayer(u"ppp0"_s, kActiveLink),
                           {u"ppp0"_s, kActiveLink, AF_INET6, u"fe80::1"_s, u"fe80::2"_s}}),
              QString());
    EXPECT_EQ(addressWith({ipv4(u"ppp0"_s, kActiveLink, u"10.64.0.2"_s)}), QString());
    // Configured without a peer, the link names its own address in the peer's place.
    EXPECT_EQ(addressWith({ipv4(u"tun0"_s, kActiveLink, u"10.8.0.6"_s, u"10.8.0.6"_s)}), QString());
}

TEST_F(DialupAddress, OnlyTheFirstActiveLinkCounts) {
    const InterfaceRecord second = ipv4(u"ppp1"_s, kActiveLink, u"10.99.0.2"_s, u"10.99.0.1"_s);
    EXPECT_EQ(addressWith({ipv4(u"ppp0"_s, kActiveLink, u"10.64.0.2"_s, u"10.64.0.1"_s), second}),
              u"10.64.0.1"_s);
    // An IPv6-only first link is not passed over for the second.
    EXPECT_EQ(addressWith({linkLayer(u"ppp0"_s, kActiveLink),
                           {u"ppp0"_s, kActiveLink, AF_INET6, u"fe80::1"_s, u"fe80::2"_s},
                           second}),
              QString());
    // A link that is down is not active, so the next one is the first.
    EXPECT_EQ(
        addressWith({ipv4(u"ppp0"_s, IFF_POINTOPOINT, u"10.64.0.2"_s, u"10.64.0.1"_s), second}),
        u"10.99.0.1"_s);
}

TEST_F(DialupAddress, ASystemRefusalEndsInEmptyText) {
    modRAS::setInterfaceSource(
        []() -> std::vector<InterfaceRecord> { throw std::runtime_error("no interfaces"); });
    EXPECT_EQ(modRAS::fncGetDialupAddress(), QString());
}

TEST(SystemInterfaces, GiveDottedAddressesAndNoPeerOffPointToPointLinks) {
    const std::vector<InterfaceRecord> records = modRAS::fncSystemInterfaces();
    bool loopbackSeen = false;
    for (const InterfaceRecord& record : records) {
        if (!(record.flags & IFF_POINTOPOINT)) {
            EXPECT_EQ(record.peer, QString()) << record.name.toStdString();
        }
        if ((record.flags & IFF_LOOPBACK) && record.family == AF_INET)
            loopbackSeen = loopbackSeen || record.address.startsWith(u"127."_s);
    }
    EXPECT_TRUE(loopbackSeen);
}
