# Configures and compiles with the CMake presets.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

# configure_preset NAME: does nothing once configured; ninja itself runs CMake again when one of its files changes. With CI set,
# warnings are errors; other people's compilers may warn of more.
configure_preset() {
    local directory="$build/$1" cache="$build/$1/CMakeCache.txt" warnings=()
    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        # The checkout was moved or copied; a cache of another place cannot be reused.
        rm -rf "$cache" "$directory/CMakeFiles"
    fi
    [[ -z ${CI:-} ]] || warnings=(-D KANDORA_WERROR=ON)
    if [[ -f $cache && -f $directory/build.ninja ]]; then
        [[ -z ${CI:-} ]] || grep -qxF KANDORA_WERROR:BOOL=ON "$cache" || cmake "${warnings[@]}" "$directory"
        return
    fi
    cmake --preset "$1" "${warnings[@]}"
}

# build_preset NAME [TARGET...]
build_preset() { configure_preset "$1" && cmake --build "$build/$1" -j "$(nproc)" --target "${@:2}"; }

build_all() {
    local architecture
    for architecture in "${architectures[@]}"; do
        STEP_TAIL=80 build_step "build-$architecture" "Build $architecture into build/$architecture/bin" \
            build_preset "$architecture" all
    done
}
