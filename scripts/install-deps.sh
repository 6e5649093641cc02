#!/bin/sh
# Installs the Debian packages that the build and the tests need (or those
# named as arguments), skipping those already present. Safe to run again.
set -eu

# nlohmann-json3-dev: simcardctl's JSON output; tshark: the tests decode the
# pcap traces of the tool and of the preload library.
PACKAGES="cmake g++ make pkg-config libupnp-dev libssl-dev libgtest-dev libgmock-dev libbenchmark-dev valgrind clang-format nlohmann-json3-dev tshark"
if [ $# -gt 0 ]; then
    PACKAGES="$*"
fi

missing=""
for p in $PACKAGES; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing="$missing $p"
    fi
done

if [ -z "$missing" ]; then
    exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
echo "installing:$missing"
export DEBIAN_FRONTEND=noninteractive
case " $missing " in
*" tshark "*)
    # Wireshark asks whether ordinary users may capture; the answer is no.
    echo "wireshark-common wireshark-common/install-setuid boolean false" |
        $SUDO debconf-set-selections
    ;;
esac
$SUDO apt-get update -qq
# shellcheck disable=SC2086
$SUDO apt-get install -y -qq --no-install-recommends $missing
