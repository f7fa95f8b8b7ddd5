#!/bin/sh
# Makes the man pages of what the tool itself tells as help: write_manual.sh QVTOOL DIR
set -eu

tool=$1
dir=$2

man_page() { # NAME [COMMAND]
    name=$1
    shift
    "$tool" help "$@" | awk -v name="$name" -v version="$("$tool" --version)" '
        function roff(text) {
            gsub(/\\/, "\\e", text)
            gsub(/-/, "\\-", text)
            return text ~ /^[.\047]/ ? "\\&" text : text
        }
        NR == 1 { usage = roff(substr($0, length("Usage: ") + 1)); next }
        NR == 2 {
            print ".TH " toupper(roff(name)) " 1 \"\" \"" version "\" \"User Commands\""
            print ".SH NAME\n" roff(name) " \\- " roff($0) "\n.SH SYNOPSIS\n" usage
            next
        }
        /^[A-Z].*:$/ {
            isTable = !/^(Exit|More)/
            sub(/Exit codes:/, "Exit status:")
            print ".SH " toupper(substr($0, 1, length($0) - 1))
            next
        }
        isTable && /^  [^ ]/ {
            sub(/^ +/, "")
            match($0, /  +/)
            print ".TP\n\\fB" roff(substr($0, 1, RSTART - 1)) "\\fR"
            $0 = substr($0, RSTART + RLENGTH)
        }
        NF { sub(/^ +/, ""); print roff($0) }
    ' >"$dir/man1/$name.1"
}

rm -rf "$dir"
mkdir -p "$dir/man1"
man_page qvtool
for command in $("$tool" help | sed -n 's/^  \([a-z-]*\)   *[A-Z].*/\1/p'); do
    man_page "qvtool-$command" "$command"
done
gzip -9n "$dir"/man1/*
