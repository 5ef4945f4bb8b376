// Sending the requests of an SNMP session through several interfaces.
#include "snmp/everywhere.h"

#include "snmp/snmp_session.h"

#include <functional>

namespace
{

using transport_send = decltype(netsnmp_transport::f_send);

/// A transport has no place for a context of its own.
transport_send g_library_send = nullptr;
egress_plan g_plan;

} // namespace

// The library keeps one request id and one set of time-outs per request, so a request of its own
// for each interface would be repeated through all of them. Taking the place of the transport's
// send function, below the requests, keeps it one request.
void snmp_send_everywhere(netsnmp_session *session, const egress_plan &plan)
{
    netsnmp_transport *transport = snmp_sess_transport(snmp_sess_pointer(session));
    if (transport == nullptr || plan.count == 0)
        return;
    g_plan = plan;
    g_library_send = transport->f_send;
    // `data` is a pointer to what is sent, whose constness depends on the library's release.
    transport->f_send = [](netsnmp_transport *sender, auto data, int size, void **peer,
                           int *peer_size) -> int {
        const auto send_once = [&] { return g_library_send(sender, data, size, peer, peer_size); };
        return send_everywhere(sender->sock, g_plan, std::cref(send_once));
    };
}
