#!/bin/sh
# Installs a build into a prefix of its own and builds the client against it in each of the ways
# that users have: check_install.sh BUILD_DIR WORK_DIR NAME
set -eu

source=$(cd "$(dirname "$0")/client" && pwd)
build=$1
work=$2
name=$3
prefix=$work/prefix
ccache=$(command -v ccache) || ccache=

step() {
    echo "== $*"
}

# with_cmake DIR CMAKE_ARGUMENT...: configures, builds and runs the client.
with_cmake() {
    dir=$work/$1
    shift
    cmake -S "$source" -B "$dir" -G Ninja --fresh ${ccache:+-DCMAKE_CXX_COMPILER_LAUNCHER=$ccache} \
        "-DQVCOMMON=$name" "$@" >"$dir.log" 2>&1 || {
        cat "$dir.log"
        exit 1
    }
    cmake --build "$dir" -- --quiet
    QT_QPA_PLATFORM=offscreen "$dir/client"
}

rm -rf "$work"
mkdir -p "$work"

step "install"
cmake --install "$build" --prefix "$prefix" >/dev/null
"$prefix/bin/qvtool" --version
library=$(find "$prefix" -name "lib$name.so" -printf '%h\n')

step "stays loaded when a plug-in that used it goes"
readelf --dynamic "$library/lib$name.so" | grep NODELETE

step "the module of a Wayland session"
if env -i XDG_SESSION_TYPE=wayland "$prefix/bin/qvtool" idle --log warn 2>&1 | grep "Cannot watch"; then
    exit 1
fi

step "find_package from the prefix; each public header alone"
with_cmake installed "-DCMAKE_PREFIX_PATH=$prefix" "-DHEADERS_DIR=$prefix/include/$name"
echo "$(find "$work/installed" -maxdepth 1 -name '*.cpp' | wc -l) headers compile"

step "find_package from the build tree"
with_cmake buildtree "-D${name}_DIR=$build"

step "the target is there already, as of another version of Qt"
echo "add_library(qvcommon::qvcommon INTERFACE IMPORTED)" >"$work/other.cmake"
with_cmake both "-D${name}_DIR=$build" "-DCMAKE_PROJECT_INCLUDE=$work/other.cmake" |
    grep "another version of Qt"

step "pkg-config, after the prefix was moved"
mv "$prefix" "$work/moved"
library=$work/moved${library#"$prefix"}
export PKG_CONFIG_PATH="$library/pkgconfig"
mkdir "$work/pkgconfig"
eval "set -- $(pkg-config --cflags --libs "$name")" # which quotes what is no plain word
c++ -std=c++17 -fPIC "$source/main.cpp" "$@" -o "$work/pkgconfig/client"
LD_LIBRARY_PATH=$library QT_QPA_PLATFORM=offscreen "$work/pkgconfig/client"
