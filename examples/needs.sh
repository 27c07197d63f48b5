# shellcheck shell=bash
# needs PROGRAM...: for the check scripts, which end here when a program that they run is missing.
needs() {
  local program missing=()
  for program; do
    command -v "$program" >/dev/null || missing+=("$program")
  done
  [ "${#missing[@]}" -eq 0 ] || { echo "error: $0 needs ${missing[*]}" >&2; exit 2; }
}
