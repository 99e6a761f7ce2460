# Formatting, floors, scripts, static analysis. Changes no source; `./dev format` applies the formatting.
# shellcheck shell=bash

# Lists the project's files with the given endings, NUL-terminated.
project_files() {
    local arguments=() ending
    for ending in "$@"; do
        arguments+=(-o -name "*.$ending")
    done
    find "$root" -path "$build" -prune -o -path "$root/.git" -prune -o -type f \( "${arguments[@]:1}" \) -print0 | sort -z
}

format_sources() { project_files cpp h | xargs -0 -r "clang-format-$clang" "$@"; }

# Commands have no ending, so shell scripts are found by their first lines.
shell_scripts() {
    find "$root" -path "$build" -prune -o -path "$root/.git" -prune -o -type f \( -perm -u=x -o -name '*.sh' \) -print0 |
        xargs -0 grep -lIZE '^#!/bin/(ba)?sh|^# shellcheck shell=' | sort -z
}

check_shell() { shell_scripts | xargs -0 shellcheck; }

# Of packages with stand-in files: what is built need not be there.
check_packages() { PYTHONDONTWRITEBYTECODE=1 python3 "$root/packaging/check_package.py"; }

check_workflows() {
    project_files yml | xargs -0 -r yamllint --strict --config-file "$root/.yamllint" &&
        python3 "$root/scripts/workflows.py" "$root"
}

check_python() { project_files py | xargs -0 -r flake8 --config "$root/.flake8"; }

# Clang needs the commands of single sources, and the headers that come out of the interface files. Nothing is compiled.
prepare_analysis() { configure_preset "lint-$1" && cmake --build "$build/lint-$1" --target kandora_typelibs -j "$(nproc)"; }

# Runs as a step in the background, in place of its shell: what ends the step ends the analysis.
tidy() {
    exec python3 "$root/scripts/tidy.py" --clang-tidy "clang-tidy-$clang" --root "$root" --build "$build" \
        --base "$root/scripts/lint-base.json" --jobs "$(nproc)" "$@"
}

# ensure_linters: sets `clang` to the first version that can be had. That a later one is installed already is no reason to do
# without the reference.
clang=
ensure_linters() {
    local version packages missing
    for version in "${clangVersions[@]}"; do
        packages=("${packagesLint[@]}" "clang-format-$version" "clang-tidy-$version")
        mapfile -t missing < <(missing_packages "${packages[@]}")
        if ((${#missing[@]} == 0)) ||
            STEP_TAIL=3 step "setup-lint-$version" "Install the linters, clang $version" install_packages "${missing[@]}"; then
            clang=$version
            break
        fi
    done
    [[ -n $clang ]] || die "none of the versions of clang can be installed: ${clangVersions[*]}."
    [[ $clang == "${clangVersions[0]}" ]] ||
        warn "  *** clang ${clangVersions[0]} cannot be had; $clang judges instead. It formats alike but may find other things."
}

# run_lint [--changed] [--record]
run_lint() {
    local architecture argument failed=0 what="Static analysis"
    for argument in "$@"; do
        case $argument in
            --changed) what="Static analysis of what changed" ;;
            --record) ;;
            *) die "lint does not know '$argument'; './dev help' lists the commands." ;;
        esac
    done
    ensure_linters
    step lint-format "Formatting (./dev format corrects it)" format_sources --dry-run --Werror || failed=1
    step lint-floors "Floors: who includes whom" python3 "$root/scripts/floors.py" "$root" || failed=1
    step lint-shell "Shell scripts" check_shell || failed=1
    step lint-python "Python scripts" check_python || failed=1
    step lint-workflows "Workflows of a hosted CI" check_workflows || failed=1
    step lint-packages "Tables of the installer packages" check_packages || failed=1
    for architecture in "${architectures[@]}"; do
        step "lint-prepare-$architecture" "Prepare the analysis for $architecture" prepare_analysis "$architecture"
    done
    STEP_TAIL=300 build_step lint-tidy "$what" tidy "$@" || failed=1
    tail -n 1 "$logs/lint-tidy.log"
    return "$failed"
}

run_format() {
    ensure_linters
    step format "Format the C++ sources" format_sources -i
}
