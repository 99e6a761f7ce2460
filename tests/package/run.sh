#!/bin/bash
# Runs the installer's tests in a Windows session of their own: run.sh ARCHITECTURE BIN WORK PACKAGES SAVE TEST...
# BIN holds the built files, PACKAGES the packages of two versions, SAVE is the program that saves the registry. WORK is
# emptied and takes the session.
set -euo pipefail
(($# >= 6)) || {
    echo "usage: run.sh ARCHITECTURE BIN WORK PACKAGES SAVE TEST..." >&2
    exit 1
}
architecture=$1 bin=$2 work=$3
export KANDORA_PACKAGES=$4 KANDORA_REGISTRY_SAVE=$5
shift 5
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
rm -rf "$work"
export PYTHONPATH="$here:$here/../../packaging:$here/../../scripts"
exec "$here/../endtoend/run_in_session.sh" "$architecture" "$bin" "$work" "$@"
