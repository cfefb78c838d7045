# SPDX-License-Identifier: MIT
# What the scripts share; sourced by them.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

say() { printf '\n== %s\n' "$*"; }

# Every script takes --yes first: packages that are missing are installed with sudo without asking.
yes=${CI:+y}
if [ "${1:-}" = --yes ]; then
    yes=y
    shift
fi

# Installs the packages named that are missing: as root, or with sudo by consent. Otherwise says which they are, and ends.
need_packages() {
    local package missing=()
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=() answer=$yes
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        if ! command -v sudo >/dev/null; then
            answer=
        elif [ -z "$yes" ] && [ -t 0 ]; then
            read -rp "Install ${missing[*]} with sudo? [y/N] " answer
        fi
        if [[ $answer != [yY]* ]]; then
            echo "Please install these packages first: ${missing[*]}" >&2
            exit 1
        fi
    fi
    echo "Installing: ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# What the program and the simulated engine are built with.
build_packages=(g++ cmake ninja-build libtomlplusplus-dev)
# What reads the records of the companions, and keeps them.
record_packages=(libsimdjson-dev libsqlitecpp-dev libzstd-dev)
# What serves metrics, and what reads them in the tests.
metrics_packages=(libmicrohttpd-dev)
metrics_test_packages=(prometheus python3-prometheus-client)
# What the screen is drawn with, and what shows it in the tests.
screen_packages=(libncurses-dev)
screen_test_packages=(tmux ncurses-term)
# What shows the pages of reports in the tests.
report_test_packages=(chromium)
# What reads manual pages, units, log rotation and completion in the tests.
install_test_packages=(mandoc man-db jq sqlite3 systemd logrotate bash-completion)
# What the back end for MariaDB is built with, and the server that its tests run.
mariadb_packages=(pkg-config libmariadb-dev mariadb-server-core mariadb-client-core openssl)
# The same for PostgreSQL.
postgres_packages=(pkg-config libpq-dev postgresql)
test_packages=("${build_packages[@]}" "${record_packages[@]}" "${metrics_packages[@]}"
    "${metrics_test_packages[@]}" "${screen_packages[@]}" "${screen_test_packages[@]}" "${report_test_packages[@]}"
    "${install_test_packages[@]}" "${mariadb_packages[@]}" "${postgres_packages[@]}" libgtest-dev locales
    nlohmann-json3-dev python3 python3-jsonschema python3-psycopg2 valgrind)
check_packages=("${test_packages[@]}" clang clang-format clang-tidy libclang-rt-14-dev libbenchmark-dev git)
# What the Debian packages are made with, and looked at.
package_packages=("${build_packages[@]}" "${record_packages[@]}" "${metrics_packages[@]}"
    "${screen_packages[@]}" pkg-config libmariadb-dev libpq-dev libgtest-dev debhelper dpkg-dev git lintian blhc python3)

# Configures build/NAME; further arguments go to cmake.
configure() {
    local name=$1
    shift
    cmake -S "$root" -B "$root/build/$name" -G Ninja "$@" >"$root/build/$name.log" ||
        { cat "$root/build/$name.log"; return 1; }
}

# The same, and builds everything there.
build_in() {
    configure "$@"
    cmake --build "$root/build/$1" -- --quiet
}

# Runs the tests of build/NAME; further arguments go to ctest. Many of them wait most of the time.
test_in() {
    local name=$1
    shift
    ctest --test-dir "$root/build/$name" --output-on-failure -j "$((2 * jobs))" "$@"
}

mkdir -p "$root/build"
