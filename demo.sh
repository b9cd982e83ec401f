#!/usr/bin/env bash
# The main job on a small installation of its own: makes one, puts the messages of examples/ into its queue, runs the
# connector until the queue is empty and shows where every message went.
# usage: ./demo.sh [DIRECTORY]   (a new directory below the temporary one)
set -eu
cd "$(dirname "$0")"

say() { printf '\n== %s\n' "$*"; }

say "Building (the first time takes some minutes)"
./packaging/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target product -j "$(nproc)" >/dev/null
bin=$PWD/build/release/bin

place=${1:-$(mktemp -d)/corvane}
say "A new installation in $place"
"$bin/cvctl" init "$place"
export CORVANE_SETTINGS=$place/settings.db
cvctl() { echo "\$ cvctl $*"; "$bin/cvctl" "$@"; }

say "A postoffice with three mailboxes"
cvctl postoffice add acme
for mailbox in anna bert postmaster; do cvctl mailbox add "acme/$mailbox"; done
cvctl mailbox set acme/bert --quota 10240
cvctl settings set 'CONNECTORS\SF' 'Activity Log Enabled' 1
cvctl settings set 'CONNECTORS\SF' 'Post Delivery Thread Creation Delay' 0

say "The messages of examples/ go into the queue"
for file in examples/*.eml; do
  cvctl queue submit "$file" --from "sender@example.com" --to acme/anna acme/bert
done
cvctl queue list

say "The connector runs until the queue is empty"
"$bin/CorvanePOConnector" -debug &
connector=$!
trap 'kill $connector 2>/dev/null || true' EXIT
for _ in $(seq 60); do
  [ "$("$bin/cvctl" queue list --json | tr -d ' \n')" = "[]" ] && break
  sleep 0.5
done
kill -INT $connector
wait $connector
trap - EXIT
cvctl queue list

say "Where every message went"
find "$place" -path '*MAILROOT*' -name '*.MAI' -printf '%P\t%s bytes\n' | sort
say "The activity log"
cat "$place"/logs/POC-Activity-*.log
printf '\nLook around: export CORVANE_SETTINGS=%s; %s --help\n' "$CORVANE_SETTINGS" "$bin/cvctl"
