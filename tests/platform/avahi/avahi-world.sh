#!/bin/sh
# Two computers with two network cables between them, of which one is plugged in, in namespaces of their own; each gets
# an avahi-daemon.
# Run as: unshare --net --mount --pid --fork --mount-proc --kill-child avahi-world.sh BUS0 BUS1
# and by an ordinary user with --user --map-current-user --keep-caps, too: the buses are outside and must see the user
# that they know.
# Commands on standard input: "start N", "stop N", "kill N", "hang N", "resume N" for the daemon of computer N,
# "unplug N", "plug N" for cable N. Each is answered with a line "done".
# Everything ends with this script.
set -eu

bus0=$1
bus1=$2
pid0=
pid1=

mount -t tmpfs tmpfs /run
mkdir /run/avahi-daemon

# The daemon gives its directory to the user avahi, which must be one that exists in this user namespace.
sed "s/^\(avahi:[^:]*\):[0-9]*:[0-9]*:/\1:$(id -u):$(id -g):/" /etc/passwd > /run/passwd
sed "s/^\(avahi:[^:]*\):[0-9]*:/\1:$(id -g):/" /etc/group > /run/group
mount --bind /run/passwd /etc/passwd
mount --bind /run/group /etc/group

for n in 0 1; do
  cat > "/run/avahi-$n.conf" << CONFIGURATION
[server]
host-name=computer$n
allow-interfaces=cable$n,spare$n
enable-dbus=yes
use-ipv4=yes
use-ipv6=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
CONFIGURATION
done

unshare --net --mount sh -c 'mount -t tmpfs tmpfs /run/avahi-daemon; touch /run/other; exec sleep infinity' &
other=$!
until [ -e /run/other ]; do sleep 0.01; done

in_other() { nsenter --target "$other" --net --mount "$@"; }

ip link add cable0 type veth peer name cable1 netns "$other"
# Without looking for duplicates first the IPv6 addresses are there as soon as the cable is up.
echo 0 > /proc/sys/net/ipv6/conf/cable0/accept_dad || true
in_other sh -c 'echo 0 > /proc/sys/net/ipv6/conf/cable1/accept_dad || true'
ip addr add 10.77.0.1/24 dev cable0
ip link set cable0 up
in_other ip addr add 10.77.0.2/24 dev cable1
in_other ip link set cable1 up

# The tests know its interfaces by their number.
ip link add spare0 index 77 type veth peer name spare1 netns "$other"
echo 0 > /proc/sys/net/ipv6/conf/spare0/accept_dad || true
in_other sh -c 'echo 0 > /proc/sys/net/ipv6/conf/spare1/accept_dad || true'
ip addr add 10.78.0.1/24 dev spare0
in_other ip addr add 10.78.0.2/24 dev spare1
in_other ip link set spare1 up

start_daemon() {
  case $1 in
    0)
      DBUS_SYSTEM_BUS_ADDRESS=$bus0 avahi-daemon -f /run/avahi-0.conf \
        --no-drop-root --no-chroot --no-rlimits > /dev/null 2>&1 &
      pid0=$!
      ;;
    1)
      DBUS_SYSTEM_BUS_ADDRESS=$bus1 nsenter --target "$other" --net --mount avahi-daemon -f /run/avahi-1.conf \
        --no-drop-root --no-chroot --no-rlimits > /dev/null 2>&1 &
      pid1=$!
      ;;
  esac
}

choose_daemon() {
  case $1 in
    0) pid=$pid0 ;;
    1) pid=$pid1 ;;
  esac
}

choose_cable() {
  case $1 in
    0) cable=cable0 ;;
    1) cable=spare0 ;;
  esac
}

stop_daemon() {
  choose_daemon "$1"
  kill -"$2" "$pid" || true # it may have ended with its bus
  wait "$pid" || true
}

echo ready
while read -r command argument; do
  case $command in
    start) start_daemon "$argument" ;;
    stop) stop_daemon "$argument" TERM ;;
    kill) stop_daemon "$argument" KILL ;;
    hang) choose_daemon "$argument" && kill -STOP "$pid" ;;
    resume) choose_daemon "$argument" && kill -CONT "$pid" ;;
    unplug) choose_cable "$argument" && ip link set "$cable" down ;;
    plug) choose_cable "$argument" && ip link set "$cable" up ;;
  esac
  echo 'done'
done
