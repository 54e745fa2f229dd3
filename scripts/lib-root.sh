# Roots of other Debian releases, and commands that run in them; sourced after lib.sh.
# shellcheck shell=bash

# The mirror that has this machine's own release, without the security and update suites.
mirror() {
  # shellcheck disable=SC2016  # apt fills these in
  apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk '$3 == "main" && $2 !~ /-/ { print $1; exit }'
}

# enter DIRECTORY COMMAND...: everything that runs there does so in namespaces of its own: whatever is mounted or left
# running there ends with the command. A job of its own, so that an interrupt reaches this script first, which then calls
# end_inside.
inside=
enter() {
  local status=0 namespaces=(--mount --pid --fork --kill-child)
  [[ $EUID -eq 0 ]] || namespaces+=(--user --map-root-user --map-auto)
  set -m
  # shellcheck disable=SC2016  # expanded inside
  unshare "${namespaces[@]}" bash -c '
    set -e
    target=$1; shift
    mount --make-rprivate /
    mount --bind "$target" "$target"  # so that / is a mount there too, as on any machine
    mount -t proc proc "$target/proc"
    mount --rbind /dev "$target/dev"
    mount --rbind /sys "$target/sys"
    # Not a mere chroot, which everything that enters a mount namespace by name would leave.
    cd "$target"
    pivot_root . .
    umount -l .
    cd /
    exec /usr/bin/env -i HOME=/root TERM=dumb LANG=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin "$@"
  ' enter "$@" <&0 &
  inside=$!
  set +m
  wait "$inside" || status=$?
  inside=
  return "$status"
}

# With the first process of the namespaces all others end.
end_inside() {
  [[ -n $inside ]] || return 0
  kill -KILL "$inside" 2>/dev/null || true
  wait "$inside" 2>/dev/null || true
}

# remove_root DIRECTORY: the users in it are others than ours, so that only who is root of them all can remove their files.
remove_root() {
  local as_their_root=()
  [[ $EUID -eq 0 ]] || as_their_root=(unshare --user --map-root-user --map-auto)
  "${as_their_root[@]}" rm -rf --one-file-system "$1"
}

# make_root SUITE DIRECTORY PACKAGE...: a bare root with these packages.
make_root() {
  local suite=$1 target=$2 uri proxy
  shift 2
  local options=(--variant=minbase --aptopt='Acquire::Check-Valid-Until "false"')
  uri=$(mirror)
  [[ -n $uri ]] || fail "apt's configuration names no mirror for this release"
  while read -r proxy; do options+=(--aptopt="$proxy"); done < <(apt-config dump | grep -E '^Acquire::https?::Proxy ' || true)
  mmdebstrap "${options[@]}" --include="$(IFS=,; echo "$*")" --quiet "$suite" "$target" "deb $uri $suite main" ||
    fail "mmdebstrap could not make a $suite root (see above)"
}
