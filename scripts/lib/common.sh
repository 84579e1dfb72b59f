# Shared by the scripts of this folder: packages, configuring, building. To be sourced with 'set -euo pipefail' in force.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# Copies of the tree, as the mutants', share the cache.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1

say() { printf '\n\033[1m%s\033[0m\n' "$*"; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

wanted_packages() { sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$root/scripts/lib/packages.txt"; }

missing_packages() {
    local package
    for package in $(wanted_packages); do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || echo "$package"
    done
}

# Installs what is missing, and asks the mirror only then.
install_packages() {
    local missing
    missing=$(missing_packages)
    [ -n "$missing" ] || return 0
    say "Installing: $(echo $missing)"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    # shellcheck disable=SC2086
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

# build PRESET [TARGET...]: configures the preset's folder and builds the targets in it, or all.
build() {
    local preset=$1
    shift
    say "Building ($preset)"
    cmake --preset "$preset" -S "$root" >"$root/build/$preset.configure.log" 2>&1 || {
        cat "$root/build/$preset.configure.log"
        return 1
    }
    grep -E '^-- (qtx|WARNING)|^CMake Warning' -A3 "$root/build/$preset.configure.log" || true
    local target targets=()
    for target in "$@"; do
        targets+=(--target "$target")
    done
    cmake --build "$root/build/$preset" "${targets[@]}" -- --quiet
}
