#!/usr/bin/env bash
# Installs what is missing, builds, and shows the main job on real DHCP clients and a real server. Needs root.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
echo "Building (preset dev) ..."
cmake --preset dev > /dev/null
cmake --build --preset dev --parallel "$(nproc)" --target dhcpra vnode dhcpractl vnodectl | tail -n 1
exec /usr/bin/python3 lab/demo.py
