# Installer and zip of both architectures from what was built.
# shellcheck shell=bash

packages="$build/packages"

make_packages() {
    PYTHONDONTWRITEBYTECODE=1 python3 "$root/packaging/make_packages.py" "$build/$1" "$packages"
}

run_package() {
    local architecture
    rm -rf "$packages"
    for architecture in "${architectures[@]}"; do
        step "package-$architecture" "Package $architecture into build/packages" make_packages "$architecture"
    done
    # Whether there are signatures is the same for all.
    grep -hE '^(Signed|Nothing is signed)' "$logs"/package-*.log | sort -u
    say ""
    (cd "$packages" && sha256sum -- *)
}
