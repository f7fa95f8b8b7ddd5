#!/bin/sh
# Installs the packages into a fresh system with nothing in it but their dependencies, runs the tool
# there and builds a client with each version of Qt: check_packages.sh DEB_DIR WORK_DIR
set -eu

client=$(cd "$(dirname "$0")/client" && pwd)
debs=$(cd "$1" && pwd)
work=$2
root=$work/root

if [ "$(id -u)" != 0 ]; then
    echo "only root can make a fresh system: the packages are not tried out"
    exit 0
fi

step() {
    echo "== $*"
}

in_root() {
    chroot "$root" env -i PATH=/usr/bin:/bin HOME=/root LANG=C.UTF-8 QT_QPA_PLATFORM=offscreen "$@"
}

rm -rf "$work"
mkdir -p "$work"

step "a fresh system with the packages, a compiler and CMake"
codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
# shellcheck disable=SC2046 # several sources, several arguments
mmdebstrap --quiet --variant=apt --hook-dir=/usr/share/mmdebstrap/hooks/file-mirror-automount \
    --include="g++ cmake make $(find "$debs" -name '*.deb' ! -name '*-dbgsym_*' -printf '%p ')" "$codename" "$root" \
    $(find /etc/apt/sources.list /etc/apt/sources.list.d -type f -size +0 2>/dev/null)
in_root dpkg-query -W 'libqvcommon*' qvcommon-tools

step "qvtool demo"
in_root qvtool demo

cp -r "$client" "$root/root/client"
for name in qvcommon qvcommon-qt6; do
    step "the client, by find_package($name)"
    log=$work/$name.log
    { in_root cmake -S /root/client -B "/root/$name" "-DQVCOMMON=$name" &&
        in_root cmake --build "/root/$name"; } >"$log" || {
        cat "$log"
        exit 1
    }
    in_root "/root/$name/client"
done

step "a project takes one of them"
echo "find_package(qvcommon-qt6 REQUIRED)" >"$root/root/other.cmake"
in_root cmake -S /root/client -B /root/both -DCMAKE_PROJECT_INCLUDE=/root/other.cmake 2>&1 |
    grep "another version of Qt"
rm -rf "$root"
