#include "vnode/model/Faults.h"

#include <array>

namespace vnode {

namespace {

constexpr std::array names{
    std::string_view("driverOpen"),     std::string_view("driverIoctl"),
    std::string_view("driverWrite"),    std::string_view("createPseudoDevice"),
    std::string_view("openControl"),    std::string_view("registryRead"),
    std::string_view("registryWrite"),  std::string_view("vlanRead"),
    std::string_view("membershipRead"), std::string_view("macTableRead"),
    std::string_view("networkInfo"),    std::string_view("systemMac"),
    std::string_view("boardPosition"),  std::string_view("ipv6Info"),
    std::string_view("serviceProfile"),
};
static_assert(names.size() == static_cast<std::size_t>(Operation::serviceProfile) + 1);

bool matches(const Fault& rule, Operation operation, std::string_view path, unsigned long request)
{
    return rule.operation == operation && (rule.path.empty() || rule.path == path) &&
           (rule.request == 0 || rule.request == request);
}

} // namespace

std::string_view operationName(Operation operation) { return names[static_cast<std::size_t>(operation)]; }

int Faults::take(Operation operation, std::string_view path, unsigned long request)
{
    for (Fault& rule : rules) {
        if (!matches(rule, operation, path, request) || rule.times == 0)
            continue;
        if (rule.skip > 0) {
            --rule.skip;
            return 0;
        }
        if (rule.times != Fault::always)
            --rule.times;
        return rule.error;
    }
    return 0;
}

} // namespace vnode
