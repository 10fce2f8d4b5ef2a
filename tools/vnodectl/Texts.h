#pragma once

#include "vnode_control.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Values as operators read and write them. Readers answer nothing for a text that is none.
namespace vnodectl {

[[nodiscard]] std::string macText(const vnodeMac& mac);
[[nodiscard]] std::optional<vnodeMac> readMac(const std::string& text);

[[nodiscard]] std::string interfaceTypeText(u_int type);
[[nodiscard]] const std::vector<std::string>& interfaceTypes(); ///< in the order of their numbers

[[nodiscard]] std::string hexText(std::string_view bytes);
[[nodiscard]] std::string requestText(std::uint64_t request);

} // namespace vnodectl
