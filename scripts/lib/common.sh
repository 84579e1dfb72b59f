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
    local started=$SECONDS
    say "Installing: $(echo $missing)"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    # shellcheck disable=SC2086
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
    phase "Installed $(echo "$missing" | wc -w) packages" "$started"
}

# phase WHAT STARTED: one line for a piece of work that has ended, with its seconds.
phase() { printf '%6d s  %s\n' $((SECONDS - $2)) "$1"; }

# The processor time of all children so far. Reads a file, since a shell of its own would tell its own times.
processor_seconds() {
    awk 'END { split($1, u, /[ms]/); split($2, s, /[ms]/); printf "%d", (u[1] + s[1]) * 60 + u[2] + s[2] }' "$1"
}

# configure PRESET [OPTION...]: makes the preset's folder, or brings it up to date.
configure() {
    local preset=$1 log="$root/build/$1.configure.log"
    shift
    cmake --preset "$preset" -S "$root" "$@" >"$log" 2>&1 || {
        cat "$log"
        return 1
    }
    grep -E '^-- (qtx|WARNING)|^CMake Warning' -A3 "$log" || true
}

# Ninja's lines as they come: on a terminal over each other, else one every half minute. What is no progress is an error.
show_progress() {
    local line last=$SECONDS
    while IFS= read -r line; do
        if [[ $line != "["*/*"]"* ]]; then
            printf '%s\n' "$line"
        elif [ -t 1 ]; then
            printf '\r\033[K          %.100s' "$line"
        elif ((SECONDS - last >= 30)); then
            last=$SECONDS
            printf '          %.100s\n' "$line"
        fi
    done
    if [ -t 1 ]; then
        printf '\r\033[K'
    fi
}

# build PRESET [TARGET...]: builds the targets in the preset's folder, or all.
build() {
    local preset=$1 started=$SECONDS target targets=()
    shift
    [ -f "$root/build/$preset/build.ninja" ] || configure "$preset"
    for target in "$@"; do
        targets+=(--target "$target")
    done
    cmake --build "$root/build/$preset" "${targets[@]}" 2>&1 | show_progress || {
        phase "FAILED to build $preset" "$started"
        return 1
    }
    phase "Built $preset${*:+: $*}" "$started"
}
