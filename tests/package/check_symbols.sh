#!/bin/sh
# Compares what a library exports with the checked-in list: check_symbols.sh LIBRARY LIST
# With --update before them it rewrites the list.
set -eu

update=
if [ "$1" = --update ]; then
    update=yes
    shift
fi
library=$1
list=$2

exported() {
    # Names as they are written in C++; an absolute symbol is only the name of the version.
    nm --dynamic --demangle --defined-only --without-symbol-versions "$library" |
        sed -E -e '/^[0-9a-f]+ A /d' -e 's/^[0-9a-f]* *[A-Za-z] //' | LC_ALL=C sort -u
}

if [ -n "$update" ]; then
    exported >"$list"
elif exported | diff -u --label "$list" --label "$library" "$list" -; then
    echo "the library exports what the list says: $(wc -l <"$list") names"
else
    echo "The exported symbols differ. A name that went breaks clients; see docs/abi.md." >&2
    echo "If the change is meant: ./qv symbols" >&2
    exit 1
fi
