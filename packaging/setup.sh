# SPDX-License-Identifier: Apache-2.0
# Shell functions shared by ./demo and ./check; sourced, from the root of the checkout.

# need PACKAGE...: installs the Debian packages that are missing, and says so.
need() {
  missing=
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  as_root=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "these packages are missing and there is no sudo to install them:$missing"
    as_root=sudo
  fi
  echo "Installing with apt-get:$missing"
  # shellcheck disable=SC2086
  step 'apt-get' apt sh -c "$as_root apt-get update && $as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends $missing"
}

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

started=$(date +%s)

# took SINCE: how long ago that was.
took() {
  seconds=$(($(date +%s) - $1))
  if [ $seconds -lt 60 ]; then echo "$seconds s"; else echo "$((seconds / 60)) min $((seconds % 60)) s"; fi
}

# step TITLE LOG COMMAND...: runs a command quietly and says how long it took; on failure shows the end of what it
# printed and stops.
step() {
  step_title=$1
  step_log=build/log/$2.log
  shift 2
  mkdir -p build/log
  step_start=$(date +%s)
  if "$@" >"$step_log" 2>&1 </dev/null; then
    echo "$step_title: ok ($(took "$step_start"))"
  else
    echo "$step_title: FAILED ($(took "$step_start")); the end of $step_log:" >&2
    tail -n 60 "$step_log" >&2
    exit 1
  fi
}
