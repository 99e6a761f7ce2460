#!/bin/bash
# Runs one of the tests of this folder in a Windows session of its own, so that registrations and killed programs concern
# nobody else: run_in_session.sh ARCHITECTURE BIN WORK MODULE...
# BIN holds the built files; WORK takes the wine prefix, which is made for the run, and its files.
set -euo pipefail
# shellcheck source=scripts/wine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../scripts/wine.sh"
(($# >= 4)) || die "usage: run_in_session.sh ARCHITECTURE BIN WORK MODULE..."
architecture=$1 bin=$2 work=$3 other=x86
shift 3
[[ $architecture == x64 ]] || other=x64

finish() {
    trap '' HUP INT TERM
    end_session
}

# A Swiss workstation writes dates as 31.12.2026. Set before a session begins to use it.
set_swiss_dates() {
    "$(wine_loader x64)" "$(system_program x64 reg.exe)" add 'HKCU\Control Panel\International' /v sShortDate /d dd.MM.yyyy /f
}

mkdir -p "$work"
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
# Modules with which the tests report their cases and are judged.
export PYTHONPATH="$root/tests/support:$root/scripts${PYTHONPATH:+:$PYTHONPATH}"
begin_session "$work/wine"
set_swiss_dates >/dev/null
PYTHONDONTWRITEBYTECODE=1 python3 "$(dirname -- "${BASH_SOURCE[0]}")/run.py" \
    --loader "$(wine_loader "$architecture")" --other-loader "$(wine_loader "$other")" \
    --system "$(wine_system_directory "$architecture")" --bin "$bin" --work "$work" "$@"
