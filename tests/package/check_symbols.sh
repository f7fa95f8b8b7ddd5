#!/usr/bin/env bash
# Compares what a library exports with the list of the Debian package: check_symbols.sh LIBRARY LIST
# With "--update VERSION" before them it rewrites the list; names that are new came with VERSION.
set -euo pipefail

since=
if [[ $1 == --update ]]; then
    since=$2
    shift 2
fi
library=$1
list=$2

exported() {
    # Names as they are written in C++; an absolute symbol is only the name of the version, and what
    # is local is not for others.
    nm --dynamic --demangle --defined-only --with-symbol-versions "$library" |
        sed -E -e '/^[0-9a-f]+ [Ar] /d' -e 's/^[0-9a-f]* *[A-Za-z] //' -e 's/@@/@/' | LC_ALL=C sort -u -t @ -k 1,1
}

listed() {
    sed -nE 's/^ \(c\+\+\)"(.*)" .*/\1/p' "$list" | LC_ALL=C sort -u -t @ -k 1,1
}

if [[ -n $since ]]; then
    exported | sed 's/.*/ (c++)"&"/' | awk -v since="$since" '
        { name = $0 }
        NR == FNR && sub(/^ \(c\+\+\).*" /, "") { sub(/ [^ ]+$/, "", name); known[name] = $0; next }
        NR == FNR { print; next }
        { print name, name in known ? known[name] : since }' "$list" - >"$list.new"
    mv "$list.new" "$list"
elif diff -u --label "$list" --label "$library" <(listed) <(exported); then
    echo "the library exports what the list says: $(listed | wc -l) names"
else
    echo "The exported symbols differ. A name that went breaks clients; see docs/abi.md." >&2
    echo "If the change is meant: ./qv symbols" >&2
    exit 1
fi
