# Configures and compiles with the CMake presets.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

# configure_preset NAME: a no-op once configured; ninja itself re-runs CMake when one of its files changes.
configure_preset() {
    local directory="$build/$1" cache="$build/$1/CMakeCache.txt"
    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        # The checkout was moved or copied; a cache of another place cannot be reused.
        rm -rf "$cache" "$directory/CMakeFiles"
    fi
    [[ -f $cache && -f $directory/build.ninja ]] && return
    cmake --preset "$1"
}

build_preset() { configure_preset "$1" && cmake --build "$build/$1" -j "$(nproc)"; }

build_all() {
    local architecture
    for architecture in "${architectures[@]}"; do
        STEP_TAIL=80 step "build-$architecture" "Build $architecture into build/$architecture/bin" \
            build_preset "$architecture"
    done
}
