#!/usr/bin/env bash
# Installs the Debian packages that a build needs. Touches no network when all of them are there.
#
#   scripts/setup.sh             what a build and its tests need
#   scripts/setup.sh --ci        also the second compiler and the checkers
#   scripts/setup.sh --coverage  also what counts executed lines
#   scripts/setup.sh --demo      also real circuit boards for the demo
#   scripts/setup.sh --peers     also the libraries that bench/peers compares with
#   scripts/setup.sh --fresh     also what makes a bare Debian to try everything in
#
# What the package manager says goes to build/setup.log.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(g++ cmake ninja-build libgtest-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev libcgal-dev
          librsvg2-bin python3)
for option in "$@"; do
  case $option in
    --ci) packages+=(clang clang-format clang-tidy libclang-rt-14-dev) ;;
    --coverage) packages+=(gcovr) ;;
    --demo) packages+=(kicad-demos) ;;
    --peers)
      packages+=(libhdf5-dev libsqlite3-dev libcapnp-dev capnproto libflatbuffers-dev flatbuffers-compiler
                 libprotobuf-dev protobuf-compiler)
      ;;
    --fresh) packages+=(debootstrap git) ;;
    *)
      echo "setup: unknown option $option" >&2
      exit 2
      ;;
  esac
done

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

if ! command -v dpkg-query >/dev/null; then
  echo "setup: this is no Debian; install the counterparts of: ${packages[*]}" >&2
  exit 1
fi
missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=(env)
elif command -v sudo >/dev/null; then
  as_root=(sudo env)
else
  echo "setup: missing packages, and neither root nor sudo to install them: ${missing[*]}" >&2
  exit 1
fi

log=build/setup.log
mkdir -p build
: >"$log"
install_missing() {
  "${as_root[@]}" DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >>"$log" 2>&1
}
update_lists() { "${as_root[@]}" apt-get update -q >>"$log" 2>&1; }

echo "setup: installing ${missing[*]}"
# The package lists are fetched only when those at hand do not do.
if ! install_missing && ! { update_lists && install_missing; }; then
  tail -n 20 "$log" >&2
  echo "setup: could not install: ${missing[*]} (see $log)" >&2
  exit 1
fi
