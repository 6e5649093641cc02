#!/bin/sh
# Makes the sysroot of the library's dependencies for 32-bit MIPS from
# Debian's mipsel packages: downloaded and unpacked, never installed (the
# host's and mipsel's libssl3 need not be the same version, which a
# multi-arch installation refuses). The C library and libstdc++ come from the
# cross toolchain in /usr/mipsel-linux-gnu, not from here.
#
# Usage: scripts/mips-sysroot.sh [DIR]     (default: out/sysroot-mipsel)
# Prints the directory last; does nothing else when it is already made.
set -eu
cd "$(dirname "$0")/.."

root=${1:-out/sysroot-mipsel}
arch=mipsel
triplet=mipsel-linux-gnu

# libupnp13 only so that libupnp-dev's symlinks resolve; the library links IXML.
PACKAGES="libupnp-dev libixml10 libupnp13 libssl-dev libssl3 libgtest-dev libgmock-dev"
# The same for every architecture (headers only): downloaded as they are.
COMMON="nlohmann-json3-dev"

stamp="$root/.packages"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$PACKAGES $COMMON" ]; then
    echo "$root"
    exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
export DEBIAN_FRONTEND=noninteractive

# The download lists need the architecture known to dpkg.
if ! dpkg --print-foreign-architectures | grep -qx "$arch"; then
    $SUDO dpkg --add-architecture "$arch"
    $SUDO apt-get update -qq
elif ! apt-cache show "libixml10:$arch" >/dev/null 2>&1; then
    $SUDO apt-get update -qq
fi

debs=out/debs-$arch
mkdir -p "$debs"
# apt fetches as its own unprivileged user, which must be able to write here.
chmod 0777 "$debs"
pkgs=""
for p in $PACKAGES; do
    pkgs="$pkgs $p:$arch"
done
# shellcheck disable=SC2086
(cd "$debs" && apt-get download -q $pkgs $COMMON)
chmod 0755 "$debs"

rm -rf "$root"
mkdir -p "$root"
for p in $PACKAGES $COMMON; do
    deb=$(ls -t "$debs/${p}"_*_"$arch".deb "$debs/${p}"_*_all.deb 2>/dev/null | head -n1)
    dpkg -x "$deb" "$root"
done

# A symlink to an absolute path would leave the sysroot for the host's own
# files: point each into the sysroot, relative to where it stands.
find "$root" -type l | while read -r link; do
    target=$(readlink "$link")
    case $target in
    /*)
        rel=$(realpath -m --relative-to="$(dirname "$link")" "$root$target")
        ln -sfn "$rel" "$link"
        ;;
    esac
done

lib=$root/usr/lib/$triplet
for f in usr/include/upnp/ixml.h "usr/include/$triplet/openssl/configuration.h" \
    usr/include/gtest/gtest.h usr/include/gmock/gmock.h usr/include/nlohmann/json.hpp; do
    [ -f "$root/$f" ] || { echo "sysroot: $f missing" >&2; exit 1; }
done
for f in libixml.so libcrypto.so libgtest.a libgtest_main.a libgmock.a \
    cmake/GTest/GTestConfig.cmake; do
    [ -e "$lib/$f" ] || { echo "sysroot: $lib/$f missing" >&2; exit 1; }
done

# The big-endian target has no Debian packages; it compiles against these
# headers. All of them are the same for both byte orders except OpenSSL's
# configuration header, which is per target: mipsel's serves for mips as long
# as it sets nothing about byte order and describes a 32-bit word.
conf=$root/usr/include/$triplet/openssl/configuration.h
if grep -qi 'endian' "$conf" || ! grep -q 'define THIRTY_TWO_BIT' "$conf"; then
    echo "sysroot: $conf is not usable for big-endian mips" >&2
    exit 1
fi
mkdir -p "$root/usr/include/mips-linux-gnu"
cp -r "$root/usr/include/$triplet/openssl" "$root/usr/include/mips-linux-gnu/"

echo "$PACKAGES $COMMON" > "$stamp"
echo "$root"
