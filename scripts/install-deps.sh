#!/bin/sh
# Installs the Debian packages that building and testing the library needs.
# Does nothing when every package is already present.
set -eu

PACKAGES="
g++
make
cmake
ninja-build
pkg-config
binutils
libicu-dev
libtre-dev
libpcre2-dev
libssl-dev
libcrypt-dev
libgtest-dev
libgmock-dev
libbenchmark-dev
libspdlog-dev
libglib2.0-dev
locales
"

missing=""
for pkg in $PACKAGES; do
    status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
    case "$status" in
        *"install ok installed"*) ;;
        *) missing="$missing $pkg" ;;
    esac
done

[ -z "$missing" ] && exit 0

echo "install-deps: installing:$missing" >&2
if [ "$(id -u)" -eq 0 ]; then
    SUDO=""
elif command -v sudo >/dev/null 2>&1; then
    SUDO="sudo"
else
    echo "install-deps: missing packages and neither root nor sudo:$missing" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# shellcheck disable=SC2086
$SUDO apt-get install -y -qq --no-install-recommends $missing
