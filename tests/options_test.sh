#!/usr/bin/env bash
# Compares the options that the program reads with those of its usage, the manual page, the README
# and the completion for bash. SOURCE comes from CTest.
set -euo pipefail
cd "$SOURCE"

# One option a line; what is attached to a letter, such as a level, is cut off.
options() { grep -oE -- '--?[A-Za-z0-9]+' | sed -E 's/^(-[A-Za-z])[A-Z]+$/\1/' | sort -u; }

program=$({
    grep -ohE '"--?[A-Za-z0-9]+"' src/driver/command_line.cpp src/driver/help.cpp
    grep -oE "option == '.'" src/driver/command_line.cpp | sed -E "s/.*'(.)'/-\1/"
    sed -nE 's/^ *\{"([a-z0-9]+)", [0-9].*/--\1/p' src/driver/method.h
} | options)
usage=$(grep -E '^ *"  -' src/driver/help.cpp | options)
manual=$(sed -n 's/^\.It Fl/Fl/p' share/man/man1/devscout.1 | sed 's/Fl /-/g' | options)
# shellcheck disable=SC2016 # the backticks are the README's
readme=$(grep '^|' README.md | grep -oE '`-[^` ]+' | options)
completion=$(sed -n "/options='/,/'\$/p" share/bash-completion/completions/devscout | options)

status=0
compare() # PLACE OPTIONS
{
    diff -u --label 'the program' <(echo "$program") --label "$1" <(echo "$2") || status=1
}
compare 'the usage' "$usage"
compare 'the manual' "$manual"
compare 'the README' "$readme"
compare 'the completion' "$completion"
[ "$(wc -l <<<"$program")" -gt 10 ] || { echo "the program's options are not found"; status=1; }
exit $status
