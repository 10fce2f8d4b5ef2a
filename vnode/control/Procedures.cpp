#include "vnode/control/Procedures.h"

#include "vnode/control/Xdr.h"

#include <algorithm>
#include <array>
#include <exception>

namespace vnode::control {

namespace {

enum class Outcome { answered, badArguments, failed };

template <typename Function>
struct ShapeOf;
template <typename Record>
struct ShapeOf<bool_t (*)(XDR*, Record*)>
{
    using Type = Record;
};
template <auto filter>
using RecordOf = typename ShapeOf<decltype(filter)>::Type;

template <auto filter, typename Record>
xdrproc_t genericFilter(Record*)
{
    // The library calls a filter with two arguments through this type, whatever its declaration says.
    return reinterpret_cast<xdrproc_t>(static_cast<bool_t (*)(XDR*, Record*)>(filter));
}

template <auto resultFilter, typename Result>
Outcome reply(SVCXPRT* transport, Result result)
{
    const bool sent = svc_sendreply(transport, genericFilter<resultFilter>(&result), &result);
    return sent ? Outcome::answered : Outcome::failed;
}

/// A procedure without argument.
template <auto resultFilter, auto handler>
Outcome ask(Service& service, SVCXPRT* transport)
{
    return reply<resultFilter>(transport, (service.*handler)());
}

/// A procedure with one argument record, or with several arguments that rpcgen made a record of.
template <auto argumentFilter, auto resultFilter, auto handler>
Outcome ask(Service& service, SVCXPRT* transport)
{
    using Argument = RecordOf<argumentFilter>;
    Decoded<Argument, argumentFilter> argument;
    if (!svc_getargs(transport, genericFilter<argumentFilter>(argument.get()),
                     reinterpret_cast<char*>(argument.get())))
        return Outcome::badArguments;
    return reply<resultFilter>(transport, (service.*handler)(*argument));
}

struct ProcedureRow
{
    rpcproc_t number;
    Outcome (*serve)(Service&, SVCXPRT*);
};

constexpr std::array procedures{
    ProcedureRow{VNODE_STAMP, ask<xdr_u_quad_t, &Service::stamp>},
    ProcedureRow{VNODE_FACTS, ask<xdr_vnodeFactsReply, &Service::facts>},
    ProcedureRow{VNODE_INTERFACES, ask<xdr_u_int, xdr_vnodeInterfacePage, &Service::interfaces>},
    ProcedureRow{VNODE_VLANS, ask<xdr_u_int, xdr_vnodeVlanPage, &Service::vlans>},
    ProcedureRow{VNODE_INTERFACE_ADD, ask<xdr_vnodeInterface, xdr_vnodeChange, &Service::addInterface>},
    ProcedureRow{VNODE_INTERFACE_RENAME,
                 ask<xdr_vnode_interface_rename_1_argument, xdr_vnodeChange, &Service::renameInterface>},
    ProcedureRow{
        VNODE_INTERFACE_SET_PARENT,
        ask<xdr_vnode_interface_set_parent_1_argument, xdr_vnodeChange, &Service::setInterfaceParent>},
    ProcedureRow{
        VNODE_INTERFACE_SET_POSITION,
        ask<xdr_vnode_interface_set_position_1_argument, xdr_vnodeChange, &Service::setInterfacePosition>},
    ProcedureRow{VNODE_INTERFACE_DESCRIBE,
                 ask<xdr_vnode_interface_describe_1_argument, xdr_vnodeChange, &Service::describeInterface>},
    ProcedureRow{VNODE_MAC_VLANS, ask<xdr_vnode_mac_vlans_1_argument, xdr_vnodeMacVlans, &Service::macVlans>},
    ProcedureRow{VNODE_PSEUDO_CREATE, ask<xdr_vnodeText, xdr_int, &Service::createPseudoDevice>},
    ProcedureRow{VNODE_OPEN_CONTROL, ask<xdr_int, &Service::openControl>},
    ProcedureRow{VNODE_DRIVER_OPEN,
                 ask<xdr_vnode_driver_open_1_argument, xdr_vnodeDriverReply, &Service::driverOpen>},
    ProcedureRow{VNODE_DRIVER_IOCTL,
                 ask<xdr_vnode_driver_ioctl_1_argument, xdr_vnodeDriverReply, &Service::driverIoctl>},
    ProcedureRow{VNODE_DRIVER_WRITE,
                 ask<xdr_vnode_driver_write_1_argument, xdr_vnodeDriverReply, &Service::driverWrite>},
    ProcedureRow{VNODE_DRIVER_CLOSE, ask<xdr_int, xdr_vnodeDriverReply, &Service::driverClose>},
    ProcedureRow{VNODE_NOTE, ask<xdr_vnodeText, xdr_int, &Service::note>},
    ProcedureRow{VNODE_STATUS, ask<xdr_vnodeStatus, &Service::status>},
    ProcedureRow{VNODE_DEVICES, ask<xdr_u_int, xdr_vnodeDevicePage, &Service::devices>},
    ProcedureRow{VNODE_INTERFACE_COUNTERS,
                 ask<xdr_u_int, xdr_vnodeInterfaceCountersPage, &Service::interfaceCounters>},
    ProcedureRow{VNODE_MACS, ask<xdr_vnodeMacKey, xdr_vnodeMacPage, &Service::macs>},
    ProcedureRow{VNODE_FILTERS, ask<xdr_vnodeFilterList, &Service::filters>},
    ProcedureRow{VNODE_NOTES, ask<xdr_vnodeNotes, &Service::notes>},
    ProcedureRow{VNODE_DRIVER_CALLS, ask<xdr_vnodeDriverCalls, &Service::driverCalls>},
    ProcedureRow{VNODE_INTERFACE_REMOVE, ask<xdr_u_int, xdr_vnodeChange, &Service::removeInterface>},
    ProcedureRow{VNODE_VLAN_NAME, ask<xdr_vnode_vlan_name_1_argument, xdr_vnodeChange, &Service::nameVlan>},
    ProcedureRow{VNODE_SET_FACTS, ask<xdr_vnodeFacts, xdr_vnodeChange, &Service::setFacts>},
    ProcedureRow{VNODE_SET_OPTION,
                 ask<xdr_vnode_set_option_1_argument, xdr_vnodeChange, &Service::setOption>},
    ProcedureRow{VNODE_MACS_CLEAR, ask<xdr_int, &Service::clearMacs>},
    ProcedureRow{VNODE_COUNTERS_CLEAR, ask<xdr_int, &Service::clearCounters>},
    ProcedureRow{VNODE_FILTER_DETACH, ask<xdr_vnodeText, xdr_int, &Service::detachFilter>},
    ProcedureRow{VNODE_FAULT_ADD, ask<xdr_vnodeFault, xdr_int, &Service::addFault>},
    ProcedureRow{VNODE_FAULTS_CLEAR, ask<xdr_int, &Service::clearFaults>},
};

/// Exceptions (an allocation that failed) must not cross the C library's frames.
Outcome serveGuarded(const ProcedureRow& row, Service& service, SVCXPRT* transport)
{
    try {
        return row.serve(service, transport);
    } catch (const std::exception&) {
        return Outcome::failed;
    }
}

} // namespace

void serveProcedure(Service& service, rpcproc_t number, SVCXPRT* transport)
{
    if (number == NULLPROC) {
        constexpr auto nothing = [](XDR*, void*) -> bool_t { return TRUE; };
        svc_sendreply(transport, reinterpret_cast<xdrproc_t>(static_cast<bool_t (*)(XDR*, void*)>(nothing)),
                      nullptr);
        return;
    }
    const auto row = std::ranges::find(procedures, number, &ProcedureRow::number);
    if (row == procedures.end()) {
        svcerr_noproc(transport);
        return;
    }
    switch (serveGuarded(*row, service, transport)) {
    case Outcome::answered:
        return;
    case Outcome::badArguments:
        svcerr_decode(transport);
        return;
    case Outcome::failed:
        svcerr_systemerr(transport);
        return;
    }
}

} // namespace vnode::control
