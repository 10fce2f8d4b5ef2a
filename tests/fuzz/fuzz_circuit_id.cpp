#include "Require.h"
#include "relay/frame/CircuitIdText.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Of its own size, so that a read behind the text is seen.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto vlan = frame::vlanOfCircuitId(text);
    const auto cvlan = frame::cvlanOfCircuitId(text);
    const auto port = frame::portOfCircuitId(text);

    const bool atm = vlan.result == frame::VlanFieldResult::atmForm;
    require(atm == (cvlan.result == frame::VlanFieldResult::atmForm));
    require(vlan.result != frame::VlanFieldResult::noCvlan);
    require(vlan.result == frame::VlanFieldResult::found || vlan.vlan == 0);
    require(!atm || port.result != frame::PortFieldResult::found);
    const bool found =
        port.result == frame::PortFieldResult::found || port.result == frame::PortFieldResult::foundAtm;
    require(found != port.port.empty());
    return 0;
}
