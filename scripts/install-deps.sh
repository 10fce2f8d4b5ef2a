#!/usr/bin/env bash
# Installs what building, testing and the demonstration need, from Debian 12. Does nothing when all of it is there.
set -euo pipefail

packages=(
    # build
    g++ cmake ninja-build ccache pkg-config git
    libboost-dev libboost-thread-dev libboost-system-dev libboost-date-time-dev libboost-graph-dev
    libboost-program-options-dev libcli11-dev nlohmann-json3-dev libxml2-dev librabbitmq-dev libtirpc-dev rpcsvc-proto
    # tests and checks
    libgtest-dev libgmock-dev libbenchmark-dev clang-14 libclang-rt-14-dev clang-format-14 clang-tidy-14 python3
    # the lab: hosts, servers, clients
    util-linux procps iproute2 iputils-ping ethtool rpcbind busybox udhcpc isc-dhcp-client kea-dhcp4-server
    kea-dhcp6-server wide-dhcpv6-client radvd
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ "${#missing[@]}" -eq 0 ]; then
    echo "Dependencies: all ${#packages[@]} packages are installed."
    exit 0
fi

echo "Dependencies: installing ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
    echo "This needs root: apt-get install ${missing[*]}" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
# Packages of services must not start them here: the lab runs its own, each in its own namespace.
policy=/usr/sbin/policy-rc.d
if [ ! -e "$policy" ]; then
    printf '#!/bin/sh\nexit 101\n' > "$policy"
    chmod 755 "$policy"
    trap 'rm -f "$policy"' EXIT
fi
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" > /dev/null
