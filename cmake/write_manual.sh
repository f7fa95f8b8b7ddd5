#!/bin/sh
# Writes what is made of the tool's own help, man pages and completions: write_manual.sh QVTOOL DIR
set -eu

tool=$1
dir=$2

rm -rf "$dir"
mkdir -p "$dir/man1"
"$tool" help --as bash >"$dir/qvtool"
"$tool" help --as zsh >"$dir/_qvtool"
"$tool" help --as man >"$dir/man1/qvtool.1"
for command in $("$tool" help --as names); do
    "$tool" help --as man "$command" >"$dir/man1/qvtool-$command.1"
done
gzip -9n "$dir"/man1/*
