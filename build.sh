#!/usr/bin/env bash
# The one front door: sets up what is missing, builds, and runs. See usage below.
set -euo pipefail
called_from=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
root=$PWD

usage() {
    cat <<'TEXT'
usage: ./build.sh COMMAND

  demo [FOLDER]    build zbvolume and run its demonstration; pictures go to FOLDER (zbvolume-demo)
  test [PRESET]    build everything and run all tests (preset release)
  asan | tsan      the tests under AddressSanitizer and UndefinedBehaviorSanitizer | ThreadSanitizer
  fuzz [SECONDS]   every fuzz target for so long (60)
  coverage         the tests with counts of lines and branches; a report in build/coverage/report
  headers [PRESET] compile every public header alone
  symbols          renew zblib/ExportedSymbols.txt, the list of exported symbols that the tests compare with
  docs             write the pages of the public headers to build/release/docs/html; a warning is an error
  tidy             clang-tidy and clang-format over the sources
  bench [FILTER]   build the benchmarks, and those against other libraries that are installed, run them, and print
                   one table; bench/report.py compares two folders of results
  setup optional   install what only some builds use: Coin, Google Benchmark, curl, gdb
  setup peers      install the libraries that the benchmarks compare with (large)
  install PREFIX   build and install below PREFIX
  package          build the Debian packages libzblib1, libzblib-dev and zbvolume, in build/package/packages

The first run installs missing Debian or Ubuntu packages; later runs install nothing.
TEXT
}

say() { printf '%s\n' "$*" >&2; }

# ensure PACKAGE...: installs those that are missing, as root or with sudo; otherwise prints the command and stops.
ensure() {
    command -v dpkg-query >/dev/null || return 0  # not Debian: the build says what it lacks
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }; then
            as_root=(sudo)
        else
            say "Missing packages. Install them with:"
            say "    sudo apt-get install ${missing[*]}"
            exit 1
        fi
    fi
    say "Installing: ${missing[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

build_packages=(g++ cmake ninja-build pkg-config qt6-base-dev libgl-dev libcli11-dev libnifti2-dev
    libniftiio-dev libtbb-dev zlib1g-dev)
test_packages=(libgtest-dev libgmock-dev)

# configure PRESET [CMAKE OPTION...]: quiet unless it fails. ZBLIB_CMAKE_OPTIONS adds options to every configuration.
configure() {
    local preset=$1 output
    shift
    # shellcheck disable=SC2086  # the variable holds several words
    output=$(cmake --preset "$preset" "$@" ${ZBLIB_CMAKE_OPTIONS:-} 2>&1) || { say "$output"; exit 1; }
}

build() {  # build PRESET [TARGET...]
    cmake --build --preset "$1" ${2:+--target "${@:2}"}
}

# build_product: the library and the tool. They need no test packages, so a new tree is set up without tests.
build_product() {
    ensure "${build_packages[@]}"
    [ -f build/release/build.ninja ] || configure release -D ZBLIB_BUILD_TESTS=OFF
    build release zblib zbvolume
}

run_tests() {  # run_tests PRESET
    ensure "${build_packages[@]}" "${test_packages[@]}"
    case $1 in
    ci-clang) ensure clang libomp-dev ;;
    asan) export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}" UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}" ;;
    esac
    configure "$1" -D ZBLIB_BUILD_TESTS=ON
    build "$1"
    ctest --preset "$1"
}

command=${1:-}
[ $# -eq 0 ] || shift
case $command in
demo)
    build_product >&2
    cd "$called_from"
    "$root/build/release/tools/zbvolume/zbvolume" demo "$@"
    ;;
test) run_tests "${1:-release}" ;;
asan | tsan) run_tests "$command" ;;
fuzz)
    # Each target starts from the inputs in the tree and keeps what it finds interesting in the build folder.
    ensure "${build_packages[@]}" clang libclang-rt-dev libomp-dev
    configure fuzz
    build fuzz
    mkdir -p build/fuzz/findings
    for program in build/fuzz/fuzz/fuzz_*; do
        name=${program##*/fuzz_}
        say "== $name"
        mkdir -p "build/fuzz/corpus/$name"
        "$program" -max_total_time="${1:-60}" -timeout=10 -rss_limit_mb=4096 -verbosity=0 -print_final_stats=1 \
            -artifact_prefix="build/fuzz/findings/$name-" "build/fuzz/corpus/$name" "fuzz/corpus/$name"
    done
    ;;
coverage)
    ensure gcovr
    find build/coverage -name '*.gcda' -delete 2>/dev/null || true
    # What gcov adds allocates, writes files and complains where they are full: tests that look for that fail.
    run_tests coverage || say "Whether the tests pass is for ./build.sh test to say."
    mkdir -p build/coverage/report
    gcovr --root . --object-directory build/coverage --filter 'zblib/' --filter 'tools/' --exclude-throw-branches \
        --exclude-unreachable-branches --gcov-ignore-parse-errors --html-details \
        build/coverage/report/index.html --print-summary
    say "line by line: build/coverage/report/index.html"
    ;;
headers)
    ensure "${build_packages[@]}" "${test_packages[@]}"
    configure "${1:-release}"
    build "${1:-release}" all_verify_interface_header_sets
    ;;
symbols)
    build_product
    cmake -D nm=nm -D library=build/release/zblib/libzblib.so -D list=zblib/ExportedSymbols.txt -D update=ON \
        -P tests/tree/CheckSymbols.cmake
    ;;
docs)
    ensure "${build_packages[@]}" doxygen
    [ -f build/release/build.ninja ] || configure release -D ZBLIB_BUILD_TESTS=OFF
    cmake build/release >/dev/null  # Doxygen may be new here
    build release docs
    ;;
tidy)
    ensure "${build_packages[@]}" "${test_packages[@]}" clang clang-tidy clang-format libomp-dev
    git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
    configure ci-clang -D CMAKE_EXPORT_COMPILE_COMMANDS=ON
    git ls-files 'zblib/*.cpp' 'tools/*.cpp' | xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p build/ci-clang
    ;;
bench)
    ensure "${build_packages[@]}" libbenchmark-dev python3
    configure bench
    build bench
    results=build/bench/results
    rm -rf "$results"
    mkdir -p "$results"
    for program in build/bench/bench/*/bench_*; do
        if [ ! -f "$program" ] || [ ! -x "$program" ]; then continue; fi
        say "== ${program##*/}"
        # The least time of several runs, in an order that spreads what else goes on in the machine.
        "$program" --benchmark_min_time=0.1 --benchmark_repetitions=3 --benchmark_enable_random_interleaving=true \
            --benchmark_out="$results/${program##*/}.json" --benchmark_out_format=json ${1:+--benchmark_filter="$1"} >&2
        [ -s "$results/${program##*/}.json" ] || rm -f "$results/${program##*/}.json"
    done
    bench/report.py table "$results"
    ;;
setup)
    case ${1:-} in
    optional) ensure libcoin-dev libbenchmark-dev curl gdb ;;
    peers)
        ensure libinsighttoolkit5-dev libopencv-dev libabsl-dev libboost-dev libeigen3-dev libglm-dev \
            libopenblas-dev libcairo2-dev libgsl-dev pkg-config \
            python3-numpy python3-scipy
        ;;
    *) usage >&2; exit 2 ;;
    esac
    ;;
install)
    [ $# -eq 1 ] || { usage >&2; exit 2; }
    build_product
    cd "$called_from"
    cmake --install "$root/build/release" --prefix "$1"
    ;;
package)
    ensure "${build_packages[@]}" dpkg-dev file
    configure package
    build package >&2
    (cd build/package && rm -rf packages && cpack >cpack.log) || { say "$(cat build/package/cpack.log)"; exit 1; }
    rm -rf build/package/packages/_CPack_Packages
    ls "$root"/build/package/packages/*.deb
    ;;
-h | --help | help) usage ;;
*)
    usage >&2
    exit 2
    ;;
esac
