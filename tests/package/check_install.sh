#!/bin/sh
# Installs a build into a prefix of its own and builds the client against it in each of the ways
# that users have: check_install.sh BUILD_DIR WORK_DIR
set -eu

source=$(cd "$(dirname "$0")/client" && pwd)
build=$1
work=$2
prefix=$work/prefix
ccache=$(command -v ccache) || ccache=

step() {
    echo "== $*"
}

# with_cmake NAME CMAKE_ARGUMENT...: configures, builds and runs the client.
with_cmake() {
    name=$1
    shift
    cmake -S "$source" -B "$work/$name" -G Ninja --fresh ${ccache:+-DCMAKE_CXX_COMPILER_LAUNCHER=$ccache} \
        "$@" >"$work/$name.log" || {
        cat "$work/$name.log"
        exit 1
    }
    cmake --build "$work/$name" -- --quiet
    QT_QPA_PLATFORM=offscreen "$work/$name/client"
}

rm -rf "$work"
mkdir -p "$work"

step "install"
cmake --install "$build" --prefix "$prefix" >/dev/null
"$prefix/bin/qvtool" --version
library=$(find "$prefix" -name 'libqvcommon.so' -printf '%h\n')

step "stays loaded when a plug-in that used it goes"
readelf --dynamic "$library/libqvcommon.so" | grep NODELETE

step "the module of a Wayland session"
if env -i XDG_SESSION_TYPE=wayland "$prefix/bin/qvtool" idle --log warn 2>&1 | grep "Cannot watch"; then
    exit 1
fi

step "find_package from the prefix; each public header alone"
with_cmake installed "-DCMAKE_PREFIX_PATH=$prefix" "-DHEADERS_DIR=$prefix/include/qvcommon"
echo "$(find "$work/installed" -maxdepth 1 -name '*.cpp' | wc -l) headers compile"

step "find_package from the build tree"
with_cmake buildtree "-Dqvcommon_DIR=$build"

step "pkg-config, after the prefix was moved"
mv "$prefix" "$work/moved"
library=$work/moved${library#"$prefix"}
export PKG_CONFIG_PATH="$library/pkgconfig"
mkdir "$work/pkgconfig"
eval "set -- $(pkg-config --cflags --libs qvcommon)" # which quotes what is no plain word
c++ -std=c++17 -fPIC "$source/main.cpp" "$@" -o "$work/pkgconfig/client"
LD_LIBRARY_PATH=$library QT_QPA_PLATFORM=offscreen "$work/pkgconfig/client"
