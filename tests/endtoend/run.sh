#!/bin/bash
# Runs one of the tests of this folder in a Windows session of its own, so that registrations and killed programs concern
# nobody else: run.sh ARCHITECTURE BIN WORK MODULE...
# BIN holds the built files; WORK takes the wine prefix, which is made on demand and kept, and the files of the run.
set -euo pipefail
# shellcheck source=scripts/wine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../scripts/wine.sh"
(($# >= 4)) || die "usage: run.sh ARCHITECTURE BIN WORK MODULE..."
architecture=$1 bin=$2 work=$3
shift 3

finish() {
    trap '' HUP INT TERM
    stop_wineserver
    stop_display
}

# A Swiss workstation writes dates as 31.12.2026. Set before a session begins to use it.
set_swiss_dates() {
    "$(wine_loader x64)" reg.exe add 'HKCU\Control Panel\International' /v sShortDate /d dd.MM.yyyy /f
}

mkdir -p "$work"
use_prefix "$work/wine"
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
[[ -n ${DISPLAY:-} ]] || start_display
ensure_prefix
hold_session
set_swiss_dates >/dev/null
PYTHONDONTWRITEBYTECODE=1 python3 "$(dirname -- "${BASH_SOURCE[0]}")/run.py" --loader "$(wine_loader "$architecture")" \
    --system "$(wine_system_directory "$architecture")" --bin "$bin" --work "$work" "$@"
