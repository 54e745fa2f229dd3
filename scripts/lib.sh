# Common parts of the scripts; sourced, never run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit 1
PATH=$PATH:/usr/sbin:/sbin # depmod and pivot_root are there, where an ordinary user does not look

readonly status_failed=1 status_usage=2 status_packages=3

step() { printf '\n==> %s\n' "$*"; }
say() { printf '    %s\n' "$*"; }

# fail TEXT [WHAT_TO_DO]
fail() {
  printf '\n%s: %s\n' "${0##*/}" "$1" >&2
  [[ $# -lt 2 ]] || printf '%s: %s\n' "${0##*/}" "$2" >&2
  exit "$status_failed"
}

# usage_error TEXT
usage_error() {
  printf '%s: %s; see %s --help\n' "${0##*/}" "$1" "$0" >&2
  exit "$status_usage"
}

# Prints the comment block at the top of the calling script.
print_help() { sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; }

# How many things to do at once.
jobs_count() { echo "${ZOLVEX_JOBS:-$(nproc)}"; }

# How many tests to run at once: most of their time they wait for something.
test_jobs_count() { echo $((5 * $(jobs_count))); }

# packages_of GROUP...: the names in these groups of packaging/debian-packages.
packages_of() {
  awk -v wanted=" $* " '
    /^#/ || NF == 0 { next }
    /^\[/ { group = substr($0, 2, length($0) - 2); next }
    index(wanted, " " group " ") { sub(/\?$/, "", $1); print $1 }' packaging/debian-packages
}

# is_dropped NAME: whether this Debian has no such package, and the list says that it can be done without.
is_dropped() {
  grep -qxF "$1?" packaging/debian-packages && compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null && ! apt_knows "$1"
}

# missing_of GROUP...: those of them that are not installed.
missing_of() {
  local name
  for name in $(not_installed_of "$@"); do
    is_dropped "$name" || echo "$name"
  done
}

not_installed_of() {
  local wanted installed
  wanted=$(packages_of "$@" | sort -u)
  # shellcheck disable=SC2086  # one argument a name
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' $wanted 2>/dev/null |
    awk '$1 == "installed" { print $2 }' | sort -u || true)
  comm -23 <(echo "$wanted") <(echo "$installed")
}

# Whether commands can be run as root. Asks for a password once, and nobody who is not there.
can_sudo() {
  command -v sudo >/dev/null || return 1
  sudo -n true 2>/dev/null || { [[ -t 0 ]] && sudo -v; }
}

# Without the lock of require_packages: a service that a package starts may outlive us.
as_root() {
  if [[ $EUID -eq 0 ]]; then "$@" 9<&-; else sudo -- "$@" 9<&-; fi
}

# Some other program may be installing packages just now, for example the system itself its updates: apt-get says so and
# waits.
apt_install() {
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends "$@"
}

# What is known already may do.
apt_update() {
  as_root apt-get update || say "Not all package lists could be fetched (see above); going on with those that are there"
}

# Without package lists, or with lists from before a package existed, names are unknown.
apt_knows() {
  local name
  for name in "$@"; do
    [[ -n $(apt-cache show --no-all-versions "$name" 2>/dev/null) ]] || return 1
  done
}

# require_packages GROUP...: installs what is missing of these groups; instant when nothing is.
require_packages() {
  if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    say "This is not a Debian system; expecting what these Debian packages hold: $(packages_of "$@" | xargs)"
    return 0
  fi
  local missing
  mapfile -t missing < <(missing_of "$@")
  [[ ${#missing[@]} -gt 0 ]] || return 0

  step "Missing Debian packages: ${#missing[@]}"
  say "${missing[*]}"
  if [[ $EUID -ne 0 ]] && ! can_sudo; then
    printf '\n%s: these packages are missing, and installing them needs root. Run as root:\n\n' "${0##*/}" >&2
    printf 'apt-get update && apt-get install -y --no-install-recommends %s\n\n' "${missing[*]}" >&2
    exit "$status_packages"
  fi
  exec 9<packaging/debian-packages
  take_lock 9 "Another script is installing packages; waiting for it"
  apt_knows "${missing[@]}" || apt_update
  if ! install_missing_of "$@"; then
    say "Trying once more with fresh package lists"
    apt_update
    install_missing_of "$@" ||
      fail "installing packages failed (see above)" "mend the package sources or the network, then run this again"
  fi
  exec 9<&-
}

# Asks anew what is missing: only with package lists is it known what this Debian has dropped, and another script may
# have installed it meanwhile.
install_missing_of() {
  local missing
  mapfile -t missing < <(missing_of "$@")
  [[ ${#missing[@]} -eq 0 ]] || apt_install "${missing[@]}"
}

# take_lock DESCRIPTOR TEXT: locks an open file; says TEXT where that takes waiting.
take_lock() {
  flock --nonblock "$1" && return 0
  say "$2"
  flock "$1"
}

# build_preset PRESET [TARGET...]: configures where needed and builds. Another script that builds the same preset is
# waited for.
build_preset() {
  local preset=$1 arguments=() lock
  shift
  mkdir -p build
  exec {lock}>"build/$preset.lock"
  take_lock "$lock" "Another script is building the preset $preset; waiting for it"
  [[ $# -eq 0 ]] || arguments=(--target "$@")
  # Without directories in its keys, a file that another preset or checkout compiles alike is taken from there. What a
  # file includes the compiler tells ccache, which would run the preprocessor once more to know.
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_NOHASHDIR=1 CCACHE_BASEDIR=$root CCACHE_DEPEND=1
  fi
  step "Building (preset $preset, in build/$preset)"
  # What is built here is mostly built from nothing; ZOLVEX_UNITY=OFF compiles each file alone.
  cmake --preset "$preset" -DZOLVEX_UNITY="${ZOLVEX_UNITY:-ON}" >"$(log_file "configure-$preset")" 2>&1 || {
    cat "$(log_file "configure-$preset")" >&2
    fail "configuring failed (see above)" "if build/$preset is from another machine or compiler, delete it and run this again"
  }
  NINJA_STATUS='    [%f/%t] ' cmake --build --preset "$preset" -j "$(jobs_count)" "${arguments[@]}" ||
    fail "the build failed (see above)"
  exec {lock}>&-
}

# log_file NAME: where a step keeps its output.
log_file() {
  mkdir -p build/logs
  echo "build/logs/$1.log"
}

# Only git knows what belongs to the tree.
require_clone() {
  local top
  if ! top=$(git rev-parse --show-toplevel 2>&1) || [[ ! $top -ef $root ]]; then
    fail "git does not know this tree: $top" "this needs a git clone, not only its files"
  fi
}

# Our own C++ files, tracked or new; shell scripts likewise.
source_files() { git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while read -r f; do [[ ! -e $f ]] || echo "$f"; done; }
cpp_files() { source_files '*.cpp' '*.h'; }
shell_files() {
  source_files scripts .ci | while read -r file; do
    [[ $(head -c 64 "$file" | head -n 1) != '#!'*bash* && $file != *.sh ]] || echo "$file"
  done
}
