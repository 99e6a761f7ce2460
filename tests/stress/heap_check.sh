#!/bin/bash
# The component's main course with every block of the heap checked at every step: heap_check.sh ARCHITECTURE PROGRAM
# In one thread only: with several threads, wine's heap checks report errors of their own making.
set -euo pipefail
# shellcheck source=scripts/wine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../scripts/wine.sh"
(($# == 2)) || die "usage: heap_check.sh ARCHITECTURE PROGRAM"
architecture=$1 program=$2
# A copy under another name, because the checks are switched on by program name.
checked=$(dirname -- "$program")/heap_checked.exe
cp -f -- "$program" "$checked"
key='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Image File Execution Options\heap_checked.exe'

run() { "$root/scripts/run-$architecture" "$@"; }
complaints() { grep -aE 'heap:.*(invalid|overwritten|corrupt|beyond|wrong|bad)' "$1" || true; }

for view in 32 64; do
    run reg.exe add "$key" /v GlobalFlag /t REG_DWORD /d 240 /f "/reg:$view" >/dev/null
done
export WINEDEBUG=warn+heap
output=$(mktemp)
trap 'rm -f -- "$output"' EXIT
run "$checked" --overrun >"$output" 2>&1 || true
if [[ -z $(complaints "$output") ]]; then
    echo "The checks do not even notice a block that is overrun."
    exit 1
fi
OANOCACHE=1 run "$checked" '--gtest_filter=Leaks.NothingIsLeftOfManyHosts' --rounds 20 --kept yes >"$output" 2>&1 || true
if ! grep -aq '^after 20 rounds' "$output" || ! grep -aq '^\[  PASSED  \] 1 test\.' "$output"; then
    echo "The course did not come to its end:"
    cat "$output"
    exit 1
fi
if [[ -n $(complaints "$output") ]]; then
    complaints "$output"
    exit 1
fi
echo "No complaint of the heap in 20 rounds; an overrun block is noticed."
