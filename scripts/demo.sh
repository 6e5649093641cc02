#!/bin/sh
# The main job: builds the library and simcardctl, then runs a short gateway
# session on a copy of the sample card image with the sample document: start-up
# and gets, a set, a new WAN connection and port mapping, a synchronisation
# traced to a pcap file that tshark decodes, and a restart that shows what was
# kept.
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

echo "== a set, a new WAN connection and a port mapping, then sync (one session, traced)"
ctl --pcap "$work/session.pcap" set $igd.ManagementServer.URL http://acs.operator.example:7547/ \
    -- add $dev. 4 -- add $dev.4.WANIPConnection. 1 \
    -- set $conn.Name 4_INTERNET_R_VID_48 \
    -- add $conn.PortMapping. 1 -- add $conn.PortMapping. 2 \
    -- set $conn.PortMapping.2.PortMappingDescription camera \
    -- sync

echo "== the session's card writes as Wireshark decodes them (tshark): the file each"
echo "   UPDATE BINARY went to (the SELECT before it), the bytes and the status word"
tshark -r "$work/session.pcap" -T fields -e frame.number -e gsm_sim.apdu.ins \
    -e gsm_sim.file_id -e gsm_sim.bin_offset -e gsm_sim.apdu.data -e gsm_sim.apdu.sw 2>/dev/null |
    awk -F '\t' '$2 == "0xa4" { file = toupper(substr($3, 3)) }
        $2 == "0xd6" { printf "frame %3d  UPDATE BINARY %s offset %d, %d bytes -> %s\n",
                       $1, file, $4, length($5) / 2, toupper(substr($6, 3)) }'
echo "$(tshark -r "$work/session.pcap" 2>/dev/null | wc -l) card commands in all," \
    "$(tshark -r "$work/session.pcap" -Y _ws.malformed 2>/dev/null | wc -l) malformed"
echo

echo "== restart: a new process on the saved card image (get -v: values only)"
ctl get -v $igd.ManagementServer.URL $conn.Name $conn.PortMapping.2.PortMappingDescription

echo "== the card files now"
ctl card ls

echo "card image: $work/card.img (sandbox with the log: $work/card.img.d)"
echo "card trace: $work/session.pcap (wireshark $work/session.pcap)"
