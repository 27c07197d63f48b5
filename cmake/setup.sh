# Shared by ./run and ./test: installs missing packages, and runs steps with a header and a time.
# shellcheck shell=bash
# shellcheck disable=SC2034  # the scripts use the lists

native_packages=(cmake ninja-build g++ libgtest-dev pkg-config dpkg-dev file python3)
docs_packages=(doxygen mawk)
server_packages=(nginx-light tinyproxy)
windows_packages=(googletest g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix wine64 clang lld llvm)
machine_packages=(qemu-system-x86 e2fsprogs cpio)
clang_packages=(clang libclang-rt-14-dev)
browser_packages=(curl chromium chromium-driver)
lint_packages=(clang-format clang-tidy)

fail() {
  printf 'error: %s\n' "$1" >&2
  exit "${2:-1}"
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# need_packages NAME...: installs missing packages; contacts no package server if none is missing.
need_packages() {
  local package missing=() as_root=() attempt
  command -v dpkg-query >/dev/null || fail "dpkg is not available: install $* manually and use the presets"
  for package; do
    is_installed "$package" || missing+=("$package")
  done
  [ "${#missing[@]}" -gt 0 ] || return 0
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "run as root or install sudo, to install: ${missing[*]}"
    as_root=(sudo)
  fi
  printf 'Installing %s\n' "${missing[*]}"
  for attempt in 1 2 3; do
    [ "$attempt" -eq 1 ] || sleep $((attempt * 5))
    # An unreachable source does not matter if the packages come from another one.
    "${as_root[@]}" apt-get -q update </dev/null || true
    if "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Acquire::Retries=3 \
      -o DPkg::Lock::Timeout=300 install --no-install-recommends "${missing[@]}" </dev/null; then
      return 0
    fi
  done
  fail "apt-get could not install: ${missing[*]}"
}

# need_servers NAME...: like need_packages, but installed servers are not started as services.
need_servers() {
  local package policy=/usr/sbin/policy-rc.d as_root=() all_here=yes
  for package; do is_installed "$package" || all_here=no; done
  if [ "$all_here" = yes ] || [ -e "$policy" ]; then
    need_packages "$@"
    return
  fi
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  (
    trap '"${as_root[@]}" rm -f "$policy"' EXIT
    trap 'exit 1' HUP INT TERM
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null &&
      "${as_root[@]}" chmod +x "$policy" && need_packages "$@"
  ) || exit 1
}

# build PRESET [TARGET...]: configures and builds in the source directory.
build() {
  local preset=$1
  shift
  cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}
}

# step TITLE COMMAND...: runs the command under a header; exits if it fails.
step() {
  local title=$1 start=$SECONDS status=0
  shift
  printf '\n== %s\n' "$title"
  "$@" || status=$?
  if [ "$status" -ne 0 ]; then
    printf '== FAILED: %s (exit status %d after %d s)\n' "$title" "$status" $((SECONDS - start)) >&2
    exit 1
  fi
  printf '== %s: %d s\n' "$title" $((SECONDS - start))
}

CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
export CMAKE_BUILD_PARALLEL_LEVEL
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER-ccache}
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi
