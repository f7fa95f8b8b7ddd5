#!/bin/sh
# Whether binaries are hardened as a release is: check_hardening.sh FILE...
# Of _FORTIFY_SOURCE nothing shows: what is copied fits provably, or goes where the compiler knows no size.
set -eu

problems=0
complain() {
    echo "$file: $*" >&2
    problems=1
}

for file in "$@"; do
    segments=$(readelf --wide --program-headers "$file")
    dynamic=$(readelf --wide --dynamic "$file")
    imports=$(readelf --wide --dyn-syms "$file")

    case $segments in *GNU_RELRO*) ;; *) complain "can be rewritten once it is linked (no RELRO)" ;; esac
    case $dynamic in *BIND_NOW* | *"Flags: NOW"*) ;; *) complain "is bound lazily" ;; esac
    case $dynamic in *TEXTREL*) complain "has relocations in its code" ;; esac
    case $dynamic in *'(RPATH)'*) complain "has an RPATH" ;; esac
    echo "$segments" | grep -q 'GNU_STACK.* RW ' || complain "has an executable stack"
    echo "$segments" | grep -q 'LOAD.* RWE ' && complain "has a segment that is written and executed"
    case $imports in *__stack_chk_fail*) ;; *) complain "has no guarded stacks" ;; esac
done
[ "$problems" = 0 ] && echo "hardened: $*"
