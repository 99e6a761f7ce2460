# Installer and zip of both architectures from what was built.
# shellcheck shell=bash

packages="$build/packages"

# Debian's own Python finds the libraries of Debian's packages.
make_packages() {
    PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 "$root/packaging/make_packages.py" "$1" "$build/$1/bin" "$packages"
}

run_package() {
    local architecture
    rm -rf "$packages"
    for architecture in "${architectures[@]}"; do
        step "package-$architecture" "Package $architecture into build/packages" make_packages "$architecture"
    done
    say ""
    (cd "$packages" && sha256sum -- *)
}
