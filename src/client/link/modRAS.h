#pragma once

// Dial-up detection: the address of the server at the far end of the dial-up connection the user
// has already opened. On Linux a dial-up connection is a point-to-point network interface (ppp0
// and the like) whose peer address is the server's.

#include <QString>
#include <functional>
#include <vector>

namespace modRAS {

// One address of one network interface, as the system lists them: an interface appears once per
// address family it has (and once more for its link layer), always in the system's order.
struct InterfaceRecord {
    QString name;
    unsigned int flags = 0; // IFF_UP, IFF_RUNNING, IFF_POINTOPOINT, ...
    int family = 0;         // AF_INET, AF_INET6, AF_PACKET; 0 when the record has no address
    QString address;        // this computer's address on the interface, as text
    QString peer;           // the far end's address on a point-to-point interface, as text
};

// The system's interface list; empty when it cannot be had.
std::vector<InterfaceRecord> fncSystemInterfaces();

// Where the interface list comes from, for tests. Returns the previous source; an empty source
// restores the system's list.
using InterfaceSource = std::function<std::vector<InterfaceRecord>()>;
InterfaceSource setInterfaceSource(InterfaceSource source);

// The dotted IPv4 peer address of the first active (up and running) point-to-point interface, or
// empty text when there is none, or when that first interface has no IPv4 peer. Never raises.
QString fncGetDialupAddress();

} // namespace modRAS
