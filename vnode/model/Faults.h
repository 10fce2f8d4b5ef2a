#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vnode {

/// What a test can make fail.
enum class Operation : std::uint8_t {
    driverOpen,
    driverIoctl,
    driverWrite,
    createPseudoDevice,
    openControl,
    registryRead,
    registryWrite,
    vlanRead,
    membershipRead,
    macTableRead,
    networkInfo,
    systemMac,
    boardPosition,
    ipv6Info,
    serviceProfile,
};

[[nodiscard]] std::string_view operationName(Operation operation); ///< "driverOpen" and so on

/// One rule: the calls that match it fail with @ref error, after the first @ref skip and at most @ref times.
struct Fault
{
    static constexpr unsigned always = ~0U;

    Operation operation = Operation::driverOpen;
    int error = 0; ///< an errno, not 0
    unsigned skip = 0;
    unsigned times = always;
    std::string path;          ///< only on this driver node or device; empty: any
    unsigned long request = 0; ///< only this ioctl request; 0: any
};

/// Faults on demand. The first rule that matches a call and is not used up decides.
class Faults
{
public:
    void add(const Fault& fault) { rules.push_back(fault); }
    void clear() { rules.clear(); }
    [[nodiscard]] bool empty() const { return rules.empty(); }

    /// 0, or the errno with which this call has to fail; counts the call.
    [[nodiscard]] int take(Operation operation, std::string_view path = {}, unsigned long request = 0);

private:
    std::vector<Fault> rules;
};

} // namespace vnode
