// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/router.h"

#include <arpa/inet.h>
#include <miniupnpc/miniupnpc.h>
#include <miniupnpc/upnpcommands.h>
#include <miniupnpc/upnperrors.h>
#include <natpmp.h>
#include <sys/select.h>

#include <algorithm>
#include <cstdint>
#include <optional>

#include "portmap/address.h"

namespace kelvane {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kDescription = "Kelvane";
// How many outside ports are tried when the one asked for is another machine's.
constexpr int kOutsidePortTries = 8;
// UPnP's answer to an outside port another machine already holds.
constexpr int kConflictInMappingEntry = 718;
constexpr int kOnlyPermanentLeasesSupported = 725;
// Part of the bound for hearing UPnP routers; NAT-PMP has the rest.
constexpr std::chrono::milliseconds kUpnpListen{1000};

int MsLeft(Clock::time_point deadline) {
    return static_cast<int>(std::max<long>(
        0, std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count()));
}

int AddUpnp(const Mapping& m, int leaseSeconds) {
    const std::string outside = std::to_string(m.outsidePort),
                      inside = std::to_string(m.insidePort);
    const std::string lease = std::to_string(leaseSeconds);
    int rc = UPNP_AddPortMapping(m.controlUrl.c_str(), m.serviceType.c_str(), outside.c_str(),
                                 inside.c_str(), m.insideAddress.c_str(), kDescription, "TCP",
                                 nullptr, lease.c_str());
    // Old routers keep only mappings without a lease; giving back is then all that removes it.
    if (rc == kOnlyPermanentLeasesSupported)
        rc = UPNP_AddPortMapping(m.controlUrl.c_str(), m.serviceType.c_str(), outside.c_str(),
                                 inside.c_str(), m.insideAddress.c_str(), kDescription, "TCP",
                                 nullptr, "0");
    return rc;
}

// The control points of the router that answers the search, over IPv6 or IPv4: nothing when none
// did.
struct Igd {
    std::string lan;  // this machine, as the router sees it
    std::string control, service;
    std::string firewallControl, firewallService;  // IGD version 2's IPv6 firewall, if offered
};

std::optional<Igd> FindIgd(bool ipv6, Clock::time_point deadline) {
    int error = 0;
    const int listen = std::min(MsLeft(deadline), static_cast<int>(kUpnpListen.count()));
    // One search: a search per kind of device would each wait the whole time. Routers of the
    // second version answer the first version's search too.
    const char* const kinds[] = {"urn:schemas-upnp-org:device:InternetGatewayDevice:1", nullptr};
    UPNPDev* devices =
        upnpDiscoverDevices(kinds, listen, nullptr, nullptr, 0, ipv6 ? 1 : 0, 2, &error, 0);
    if (!devices) return std::nullopt;
    UPNPUrls urls{};
    IGDdatas data{};
    char lan[64] = {};
    const int igd = UPNP_GetValidIGD(devices, &urls, &data, lan, sizeof lan);
    freeUPNPDevlist(devices);
    if (igd != 1 && igd != 2) {
        if (igd) FreeUPNPUrls(&urls);
        return std::nullopt;
    }
    Igd found{lan, urls.controlURL, data.first.servicetype, "", ""};
    if (urls.controlURL_6FC && data.IPv6FC.servicetype[0] != '\0') {
        found.firewallControl = urls.controlURL_6FC;
        found.firewallService = data.IPv6FC.servicetype;
    }
    FreeUPNPUrls(&urls);
    return found;
}

// A router behind its provider's NAT or a second router names a private or shared outside
// address, or none at all: forwarding from it would expose the port for nothing.
bool NoOutsideAddressOfItsOwn(const std::string& outside) {
    return outside.empty() || outside == "0.0.0.0" || IsPrivateOrShared(outside);
}

// UPnP, when a router answers the search: nothing when none did.
std::optional<Granted> AskUpnp(int port, int leaseSeconds, Clock::time_point deadline) {
    const auto igd = FindIgd(false, deadline);
    if (!igd) return std::nullopt;
    Granted granted;
    granted.report.method = "UPnP";
    granted.report.insidePort = port;
    Mapping m;
    m.by = Mapping::By::kUpnp;
    m.insidePort = port;
    m.insideAddress = igd->lan;
    m.controlUrl = igd->control;
    m.serviceType = igd->service;
    char outside[40] = {};
    if (UPNP_GetExternalIPAddress(m.controlUrl.c_str(), m.serviceType.c_str(), outside) != 0) {
        granted.report.outcome = DoorOutcome::kRefused;
        return granted;
    }
    if (NoOutsideAddressOfItsOwn(outside)) {
        granted.report.outcome = DoorOutcome::kShared;
        granted.report.outsideAddress = outside;
        return granted;
    }
    granted.report.outcome = DoorOutcome::kRefused;
    for (int i = 0; i < kOutsidePortTries && port + i <= 65535 && MsLeft(deadline) > 0; ++i) {
        m.outsidePort = port + i;
        const int rc = AddUpnp(m, leaseSeconds);
        if (rc == kConflictInMappingEntry) continue;
        if (rc != 0) break;
        granted.mapping = m;
        // A UPnP router that takes the request keeps the lease asked for.
        granted.report = {DoorOutcome::kOpen, outside, m.outsidePort, port, "UPnP", leaseSeconds};
        granted.report.outcome = JudgeDoor(granted.report);
        break;
    }
    return granted;
}

// Waits for the router's answer to the request just sent, resending as the protocol's
// back-off says; false at the deadline or when the answer is an error.
int AwaitNatPmp(natpmp_t& n, natpmpresp_t& response, Clock::time_point deadline) {
    for (;;) {
        timeval wait{};
        getnatpmprequesttimeout(&n, &wait);
        const int left = MsLeft(deadline);
        if (left == 0) return NATPMP_ERR_NOGATEWAYSUPPORT;
        const long waitMs = wait.tv_sec * 1000 + wait.tv_usec / 1000;
        if (waitMs > left) wait = {left / 1000, (left % 1000) * 1000};
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(n.s, &readable);
        select(n.s + 1, &readable, nullptr, nullptr, &wait);
        const int rc = readnatpmpresponseorretry(&n, &response);
        if (rc != NATPMP_TRYAGAIN) return rc;
    }
}

// A router that answered with an error code refused; one that never answered did not.
DoorOutcome NatPmpFailure(int rc) {
    return rc <= NATPMP_ERR_UNSUPPORTEDVERSION && rc >= NATPMP_ERR_OUTOFRESOURCES
               ? DoorOutcome::kRefused
               : DoorOutcome::kNoAnswer;
}

// What a NAT-PMP router granted: the outside port and for how long.
struct NatPmpGrant {
    int outsidePort = 0;
    int leaseSeconds = 0;
};

int MapNatPmp(const Mapping& m, int leaseSeconds, NatPmpGrant& grant, Clock::time_point deadline) {
    natpmp_t n{};
    if (initnatpmp(&n, 1, m.gateway) < 0) return NATPMP_ERR_SOCKETERROR;
    natpmpresp_t response{};
    int rc = sendnewportmappingrequest(&n, NATPMP_PROTOCOL_TCP, static_cast<uint16_t>(m.insidePort),
                                       static_cast<uint16_t>(m.outsidePort),
                                       static_cast<uint32_t>(leaseSeconds));
    if (rc >= 0) rc = AwaitNatPmp(n, response, deadline);
    if (rc >= 0)
        grant = {response.pnu.newportmapping.mappedpublicport,
                 static_cast<int>(
                     std::min<std::uint32_t>(response.pnu.newportmapping.lifetime, 0x7fffffff))};
    closenatpmp(&n);
    return rc;
}

Granted AskNatPmp(int port, int leaseSeconds, Clock::time_point deadline) {
    Granted granted;
    granted.report.insidePort = port;
    natpmp_t n{};
    if (initnatpmp(&n, 0, 0) < 0) return granted;
    Mapping m;
    m.by = Mapping::By::kNatPmp;
    m.gateway = n.gateway;
    m.insidePort = m.outsidePort = port;
    natpmpresp_t response{};
    int rc = sendpublicaddressrequest(&n);
    if (rc >= 0) rc = AwaitNatPmp(n, response, deadline);
    closenatpmp(&n);
    if (rc < 0) {
        granted.report.outcome = NatPmpFailure(rc);
        return granted;
    }
    char outside[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &response.pnu.publicaddress.addr, outside, sizeof outside);
    granted.report.method = "NAT-PMP";
    // The router chooses another outside port itself when ours is another machine's.
    NatPmpGrant grant;
    rc = MapNatPmp(m, leaseSeconds, grant, deadline);
    if (rc < 0) {
        granted.report.outcome = NatPmpFailure(rc);
        return granted;
    }
    // Whatever the router answered is held until given back, even an answer that is no door.
    if (grant.outsidePort != 0) m.outsidePort = grant.outsidePort;
    granted.mapping = m;
    granted.report = {DoorOutcome::kOpen, outside,           grant.outsidePort, port,
                      "NAT-PMP",          grant.leaseSeconds};
    granted.report.outcome = JudgeDoor(granted.report);
    return granted;
}

}  // namespace

Granted AskFirewall(const std::string& address, int port, int leaseSeconds,
                    Clock::time_point deadline) {
    Granted granted;
    granted.report = {DoorOutcome::kNoAnswer, address, port, port, "", 0, DoorFamily::kIPv6};
    // Asked over IPv6, so that a router checking who asks sees the address to open.
    const auto igd = FindIgd(true, deadline);
    if (!igd) return granted;
    granted.report.method = "UPnP";
    granted.report.outcome = DoorOutcome::kRefused;
    if (igd->firewallControl.empty()) return granted;
    Mapping m;
    m.by = Mapping::By::kPinhole;
    m.insidePort = m.outsidePort = port;
    m.insideAddress = address;
    m.controlUrl = igd->firewallControl;
    m.serviceType = igd->firewallService;
    const std::string inside = std::to_string(port), lease = std::to_string(leaseSeconds);
    // From any host and port ("empty" is the library's word for the empty wildcard); 6 is TCP.
    char id[8] = {};
    if (UPNP_AddPinhole(m.controlUrl.c_str(), m.serviceType.c_str(), "empty", "0", address.c_str(),
                        inside.c_str(), "6", lease.c_str(), id) != 0)
        return granted;
    m.pinholeId = id;
    granted.mapping = m;
    granted.report.outcome = DoorOutcome::kOpen;
    granted.report.leaseSeconds = leaseSeconds;
    granted.report.outcome = JudgeDoor(granted.report);
    return granted;
}

Granted AskRouter(int port, int leaseSeconds, Clock::time_point deadline) {
    if (auto upnp = AskUpnp(port, leaseSeconds, deadline)) return *upnp;
    return AskNatPmp(port, leaseSeconds, deadline);
}

bool RenewMapping(const Mapping& mapping, int leaseSeconds) {
    if (mapping.by == Mapping::By::kUpnp) return AddUpnp(mapping, leaseSeconds) == 0;
    if (mapping.by == Mapping::By::kPinhole)
        return UPNP_UpdatePinhole(mapping.controlUrl.c_str(), mapping.serviceType.c_str(),
                                  mapping.pinholeId.c_str(),
                                  std::to_string(leaseSeconds).c_str()) == 0;
    if (mapping.by != Mapping::By::kNatPmp) return false;
    NatPmpGrant grant;
    const int rc = MapNatPmp(mapping, leaseSeconds, grant, Clock::now() + kRouterBound);
    return rc >= 0 && grant.outsidePort == mapping.outsidePort && grant.leaseSeconds > 0;
}

void GiveBack(const Mapping& mapping) {
    if (mapping.by == Mapping::By::kUpnp) {
        const std::string outside = std::to_string(mapping.outsidePort);
        UPNP_DeletePortMapping(mapping.controlUrl.c_str(), mapping.serviceType.c_str(),
                               outside.c_str(), "TCP", nullptr);
    } else if (mapping.by == Mapping::By::kPinhole) {
        UPNP_DeletePinhole(mapping.controlUrl.c_str(), mapping.serviceType.c_str(),
                           mapping.pinholeId.c_str());
    } else if (mapping.by == Mapping::By::kNatPmp) {
        // A lifetime of 0 deletes the mapping.
        NatPmpGrant grant;
        MapNatPmp(mapping, 0, grant, Clock::now() + kGiveBackBound);
    }
}

}  // namespace kelvane
