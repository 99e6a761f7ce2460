#!/bin/bash
# Measures what the component costs beyond the calls that it has to make, on one processor, for both architectures.
#
#   run_benchmarks.sh [--architecture x86|x64] [--quick] [--only TEXT]     the last two are the program's, see README.md
set -euo pipefail

# shellcheck source=scripts/wine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../scripts/wine.sh"

# Another processor can be given.
here=$root/benchmarks
processor=${KANDORA_BENCHMARK_PROCESSOR:-0}

# Everything started from here stays on one processor, the wine server and the simulators that COM starts included: calls
# between programs vary by a factor of two otherwise.
pin() { taskset --cpu-list --pid "$processor" "$$" >/dev/null; }

# measure ARCHITECTURE ARGUMENT...: registers the simulators as archive and host, measures, and takes them away again.
measure() {
    local architecture=$1 work loader bin result=0
    shift
    work=$build/benchmarks/$architecture
    bin=$build/$architecture/bin
    loader=$(wine_loader "$architecture")
    rm -rf "$work"
    mkdir -p "$work"
    python3 "$here/make_surroundings.py" store "$work/Archiv"
    python3 "$here/make_surroundings.py" store "$work/Leer" 0
    python3 "$here/make_surroundings.py" store "$work/Gross" 100000
    python3 "$here/make_surroundings.py" client "$work/client.json" "$(windows_path "$work/Platzhalter.pdf")"
    "$loader" "$bin/ArchiveSimulator.exe" --register --hidden --store "$(windows_path "$work/Archiv")" >/dev/null
    "$loader" "$bin/HostSimulator.exe" --register --client "$(windows_path "$work/client.json")" >/dev/null
    printf '%s\n' "$architecture, $(date +%F)" "$(stat -c 'Kandora.dll: %s bytes' "$bin/Kandora.dll")"
    "$loader" "$build/$architecture/benchmarks/kandora_benchmarks.exe" \
        --directory "$(windows_path "$work")" \
        --component "$(windows_path "$bin/Kandora.dll")" \
        --empty "$(windows_path "$build/$architecture/benchmarks/empty_server.dll")" \
        --table "$(windows_path "$work/figures.txt")" \
        --curve "$(windows_path "$work/searches.txt")" \
        --simulator "$(windows_path "$bin/ArchiveSimulator.exe")" \
        --large "$(windows_path "$work/Gross")" --small "$(windows_path "$work/Leer")" "$@" || result=$?
    "$loader" "$bin/HostSimulator.exe" --unregister >/dev/null || true
    "$loader" "$bin/ArchiveSimulator.exe" --unregister >/dev/null || true
    [[ ! -s $work/searches.txt ]] || python3 "$here/plot.py" "$work/searches.txt" "$work/searches.svg"
    return "$result"
}

main() {
    local architecture selected=()
    if [[ ${1:-} == --architecture ]]; then
        selected=("$2")
        shift 2
    elif has_32_bit_wine; then
        selected=(x86 x64)
    else
        selected=(x64)
    fi
    pin
    for architecture in "${selected[@]}"; do
        ninja -C "$build/$architecture" kandora_benchmarks >"$build/benchmarks-$architecture.log"
        use_prefix "$build/$architecture/wine"
        start_display
        ensure_prefix >&2
        stop_wineserver
        hold_session
        measure "$architecture" "$@"
        stop_wineserver
        stop_display
    done
}

trap 'stop_wineserver; stop_display' EXIT
main "$@"
