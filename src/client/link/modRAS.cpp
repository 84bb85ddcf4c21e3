#include "link/modRAS.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace modRAS {

namespace {

InterfaceSource& interfaceSource() {
    static InterfaceSource source;
    return source;
}

// Text for the two IP families; other families (the link layer) have no address worth showing.
QString addressText(const sockaddr* address) {
    if (!address) return {};
    char text[INET6_ADDRSTRLEN] = {};
    const void* bytes = nullptr;
    if (address->sa_family == AF_INET)
        bytes = &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    else if (address->sa_family == AF_INET6)
        bytes = &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    if (!bytes || !inet_ntop(address->sa_family, bytes, text, sizeof text)) return {};
    return QString::fromLatin1(text);
}

InterfaceRecord recordOf(const ifaddrs& entry) {
    InterfaceRecord record;
    record.name = QString::fromLocal8Bit(entry.ifa_name);
    record.flags = entry.ifa_flags;
    record.family = entry.ifa_addr ? entry.ifa_addr->sa_family : 0;
    record.address = addressText(entry.ifa_addr);
    // The same slot holds the broadcast address on other interfaces.
    if (entry.ifa_flags & IFF_POINTOPOINT) record.peer = addressText(entry.ifa_dstaddr);
    return record;
}

bool isActiveLink(const InterfaceRecord& record) {
    constexpr unsigned int wanted = IFF_UP | IFF_RUNNING | IFF_POINTOPOINT;
    return (record.flags & wanted) == wanted;
}

// Only the first active link counts, whatever the ones after it offer: the user opens one
// dial-up connection, and guessing among several would connect somewhere unexpected.
QString firstActiveLink(const std::vector<InterfaceRecord>& records) {
    const auto found = std::find_if(records.begin(), records.end(), isActiveLink);
    return found == records.end() ? QString() : found->name;
}

// A link configured without a peer reports its own address in the peer's place; that is this
// computer, not a server, so it counts as no peer.
QString ipv4PeerOf(const std::vector<InterfaceRecord>& records, const QString& name) {
    for (const InterfaceRecord& record : records) {
        if (record.name == name && record.family == AF_INET && !record.peer.isEmpty() &&
            record.peer != record.address)
            return record.peer;
    }
    return {};
}

} // namespace

std::vector<InterfaceRecord> fncSystemInterfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, &freeifaddrs);
    std::vector<InterfaceRecord> records;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next)
        records.push_back(recordOf(*entry));
    return records;
}

InterfaceSource setInterfaceSource(InterfaceSource source) {
    return std::exchange(interfaceSource(), std::move(source));
}

QString fncGetDialupAddress() {
    try {
        const std::vector<InterfaceRecord> records =
            interfaceSource() ? interfaceSource()() : fncSystemInterfaces();
        const QString link = firstActiveLink(records);
        return link.isEmpty() ? QString() : ipv4PeerOf(records, link);
    } catch (...) {
        // Whatever the system refuses ends as "no dial-up connection" for the caller.
        return {};
    }
}

} // namespace modRAS
