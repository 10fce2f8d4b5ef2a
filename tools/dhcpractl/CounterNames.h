#pragma once

#include <array>
#include <string_view>

/// Names of the counters by their index.
namespace dhcpractl {

inline constexpr std::array<std::string_view, 19> counterNames{
    "discover",         "request",        "offer",         "ack",
    "decline",          "nack",           "release",       "inform",
    "discard-opt82",    "discard-giaddr", "discard-both",  "discard-invalid",
    "discard-reaction", "opt82-no-room",  "discard-other", "reserved-15",
    "reserved-16",      "reserved-17",    "reserved-18"};

inline constexpr std::array<std::string_view, 17> counterNamesV6{"solicit",
                                                                 "advertise",
                                                                 "request",
                                                                 "confirm",
                                                                 "renew",
                                                                 "rebind",
                                                                 "type-7",
                                                                 "release",
                                                                 "type-9",
                                                                 "reconfigure",
                                                                 "inform-req",
                                                                 "relay-forward",
                                                                 "relay-reply",
                                                                 "discard-reaction",
                                                                 "reserved-14",
                                                                 "discard-mtu",
                                                                 "discard-no-interface"};

inline constexpr std::array<std::string_view, 2> counterNamesNdp{"received", "dropped"};

} // namespace dhcpractl
