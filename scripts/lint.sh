# Formatting, static analysis, scripts. Changes nothing; `./dev format` applies the formatting.
# shellcheck shell=bash

# Lists the project's files with the given endings, NUL-terminated.
project_files() {
    local arguments=() ending
    for ending in "$@"; do
        arguments+=(-o -name "*.$ending")
    done
    find "$root" -path "$build" -prune -o -path "$root/.git" -prune -o -type f \( "${arguments[@]:1}" \) -print0 | sort -z
}

format_sources() { project_files cpp h | xargs -0 -r clang-format-14 "$@"; }

# Shell scripts have no ending when they are commands.
shell_scripts() {
    find "$root" -path "$build" -prune -o -path "$root/.git" -prune -o -type f \( -perm -u=x -o -name '*.sh' \) -print0 |
        xargs -0 grep -lIZE '^#!/bin/(ba)?sh|^# shellcheck shell=' | sort -z
}

check_shell() { shell_scripts | xargs -0 shellcheck; }

check_python() { project_files py | PYTHONPYCACHEPREFIX="$build/pycache" xargs -0 -r python3 -m py_compile; }

tidy() {
    local without=()
    # What depends on the width of a pointer stands in the product; the tests are analysed once.
    [[ $1 == x86 ]] || without=(--without /tests/)
    python3 "$root/scripts/tidy.py" --architecture "$1" --database "$build/$1/compile_commands.json" \
        --root "$root" --output "$build/lint/$1" --jobs "$(nproc)" "${without[@]}"
}

# clang reads the headers that come out of the interface files, so these are generated first.
generate_headers() { configure_preset "$1" && cmake --build "$build/$1" --target kandora_typelibs -j "$(nproc)"; }

run_lint() {
    local architecture failed=0
    ensure_packages "Install the linters" setup-lint "${packagesLint[@]}"
    step lint-format "Formatting (./dev format corrects it)" format_sources --dry-run --Werror || failed=1
    step lint-shell "Shell scripts" check_shell || failed=1
    step lint-python "Python scripts" check_python || failed=1
    for architecture in "${architectures[@]}"; do
        step "lint-headers-$architecture" "Generate the headers for $architecture" generate_headers "$architecture"
        STEP_TAIL=200 step "lint-tidy-$architecture" "Static analysis for $architecture" tidy "$architecture" || failed=1
    done
    return "$failed"
}

run_format() {
    ensure_packages "Install the linters" setup-lint "${packagesLint[@]}"
    step format "Format the C++ sources" format_sources -i
}
