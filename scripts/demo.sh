#!/bin/sh
# The main job: builds the library and simcardctl, then runs a short gateway
# session on a copy of the sample card image with the sample document: start-up
# and gets, a set, a new WAN connection and port mapping, a synchronisation,
# and a restart that shows what was kept.
set -eu
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

cmake -S . -B build-demo -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_TESTING=OFF >/dev/null
cmake --build build-demo -j"$(nproc 2>/dev/null || echo 2)" --target simcardctl

work=out/demo
rm -rf "$work"
mkdir -p "$work"
cp sample/card.img "$work/card.img"

ctl() {
    echo "\$ simcardctl $*"
    ./build-demo/tools/simcardctl/simcardctl --quiet \
        --virtual "$work/card.img" --config sample/simcardconfig.xml "$@"
    echo
}

igd=InternetGatewayDevice
dev=$igd.WANDevice.1.WANConnectionDevice
conn=$dev.4.WANIPConnection.1

echo "== start-up and a few gets"
ctl get $igd.DeviceInfo.ProvisioningCode $igd.ManagementServer.URL \
    $igd.ManagementServer.PeriodicInformEnable $dev.2.WANPPPConnection.1.Username

echo "== a set, a new WAN connection and a port mapping, then sync (one session)"
ctl set $igd.ManagementServer.URL http://acs.operator.example:7547/ \
    -- add $dev. 4 -- add $dev.4.WANIPConnection. 1 \
    -- set $conn.Name 4_INTERNET_R_VID_48 \
    -- add $conn.PortMapping. 1 -- add $conn.PortMapping. 2 \
    -- set $conn.PortMapping.2.PortMappingDescription camera \
    -- sync

echo "== restart: a new process on the saved card image"
ctl get $igd.ManagementServer.URL $conn.Name $conn.PortMapping.2.PortMappingDescription

echo "== the card files now"
ctl card ls

echo "card image: $work/card.img (sandbox with the log: $work/card.img.d)"
