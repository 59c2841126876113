#!/usr/bin/env bash
# Runs the README's two commands on a bare Debian 12 that is made for it:  tools/fresh_machine.sh [COMMAND...]
#
# What is committed is cloned into a folder that debootstrap has filled with the smallest Debian there is, and each command
# (by default scripts/demo.sh and scripts/test.sh) runs there as root. Needs root, debootstrap (scripts/setup.sh --fresh)
# and the right to mount /proc; ends with 3 where it can't make such a folder. Packages come from where this machine
# gets its own.
set -euo pipefail
cd "$(dirname "$0")/.."

cannot() {
  echo "fresh_machine: $*" >&2
  exit 3
}

commands=("$@")
[ $# -gt 0 ] || commands=(scripts/demo.sh scripts/test.sh)
[ "$(id -u)" -eq 0 ] || cannot "only root can make one"
command -v debootstrap >/dev/null || cannot "debootstrap is not installed"
mirror=$(apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' |
  awk '$1 == "bookworm" {print $2; exit}')
[ -n "$mirror" ] || cannot "this machine names no source of Debian 12 packages"

root=$(mktemp -d /var/tmp/fresh_machine.XXXXXX)
clean_up() {
  umount -l "$root/proc" "$root/dev" "$root" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

echo "fresh_machine: making a bare Debian 12"
debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" 2>&1 || {
  tail -n 5 "$root.log" >&2
  rm -f "$root.log"
  cannot "debootstrap failed"
}
rm -f "$root.log"
chmod 755 "$root"  # other users may enter
mount --bind "$root" "$root" && mount -t proc proc "$root/proc" && mount --bind /dev "$root/dev" || cannot "may not mount"
# The sources and settings of this machine's package manager, and its names of hosts.
for kept in /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf.d /etc/apt/auth.conf.d /etc/resolv.conf /etc/hosts; do
  [ ! -e "$kept" ] || cp -rL "$kept" "$root$(dirname "$kept")/"
done
git clone -q --no-hardlinks . "$root/corvane"

for command in "${commands[@]}"; do
  echo "fresh_machine: $command"
  SECONDS=0
  chroot "$root" /usr/bin/env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    CORVANE_JOBS="${CORVANE_JOBS:-$(nproc)}" bash -c "cd /corvane && exec $command" </dev/null
  echo "fresh_machine: $command passed in $SECONDS s"
done
