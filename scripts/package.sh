# Installer and zip of both architectures from what was built, and the kits that examine it on a real Windows.
# shellcheck shell=bash

packages="$build/packages"

make_packages() {
    PYTHONDONTWRITEBYTECODE=1 python3 "$root/packaging/make_packages.py" "$build/$1" "$packages"
}

# The measuring program is built for it alone.
make_kit() {
    cmake --build "$build/$1" -j "$(nproc)" --target kandora_benchmarks &&
        PYTHONDONTWRITEBYTECODE=1 python3 "$root/packaging/make_kit.py" "$build/$1" "$packages"
}

run_package() {
    local architecture
    rm -rf "$packages"
    for architecture in "${architectures[@]}"; do
        step "package-$architecture" "Package $architecture into build/packages" make_packages "$architecture"
        step "kit-$architecture" "Kit for a real Windows, $architecture, into build/packages" make_kit "$architecture"
    done
    # Whether there are signatures is the same for all.
    grep -hE '^(Signed|Nothing is signed)' "$logs"/package-*.log | sort -u
    say ""
    (cd "$packages" && sha256sum -- * | tee SHA256SUMS)
}
