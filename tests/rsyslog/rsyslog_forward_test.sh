#!/usr/bin/env bash
# contrib/rsyslog/qdlog-forward.conf at work: an rsyslogd with that file (its
# directory, tag and host filled in) follows the rotating files of qdlogpipe and
# forwards their lines to a second rsyslogd on 127.0.0.1, which writes them to a
# file; every line must arrive once. Exit 77 (skipped) only where rsyslogd cannot
# start. Usage: rsyslog_forward_test.sh QDLOGPIPE CONF
set -euo pipefail
pipe=$1 conf=$2
skip() { echo "SKIPPED: $*"; exit 77; }
command -v rsyslogd >/dev/null || skip "rsyslogd is not installed (Debian package rsyslog)"
work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; wait; rm -rf "$work"' EXIT
mkdir -p "$work/rx" "$work/tx" "$work/logs"
port=$((20000 + $$ % 20000))

cat >"$work/receiver.conf" <<CONF
global(workDirectory="$work/rx")
module(load="imtcp")
template(name="text" type="string" string="%msg%\n")
ruleset(name="in") { action(type="omfile" file="$work/arrived" template="text") }
input(type="imtcp" address="127.0.0.1" port="$port" ruleset="in")
CONF
{
  echo "global(workDirectory=\"$work/tx\")"
  sed -e "s|/var/log/myprogram/log\*\.log|$work/logs/log*.log|" -e 's|myprogram:|qdlogtest:|' \
      -e "s|loghost.example.com|127.0.0.1|" -e "s|port=\"514\"|port=\"$port\"|" "$conf"
} >"$work/sender.conf"
grep -q "$work/logs/log\*.log" "$work/sender.conf" || { echo "the pattern line changed" >&2; exit 1; }

for side in receiver sender; do
  rsyslogd -N1 -f "$work/$side.conf" || { echo "FAIL: $side configuration refused" >&2; exit 1; }
  rsyslogd -n -f "$work/$side.conf" -i "$work/$side.pid" >"$work/$side.out" 2>&1 &
  pids+=($!)
done
sleep 1
for p in "${pids[@]}"; do
  kill -0 "$p" 2>/dev/null || { cat "$work"/*.out; skip "rsyslogd could not start here"; }
done

# About four seconds of lines at a small size limit: several file switches.
for i in $(seq 40); do
  for j in $(seq 50); do echo "line $i.$j"; done
  sleep 0.1
done | "$pipe" -d "$work/logs" -s 16K -f 1 -r 2 -t out
files=$(ls "$work/logs" | wc -l)
[ "$files" -ge 3 ] || { echo "FAIL: only $files files; no switches to follow" >&2; exit 1; }

expected=2000
for _ in $(seq 300); do
  [ "$(cat "$work/arrived" 2>/dev/null | wc -l)" -ge $expected ] && break
  sleep 0.1
done
sleep 0.5  # anything beyond the expected lines would show as a duplicate
seq 40 | while read -r i; do seq 50 | sed "s/^/line $i./"; done | sort >"$work/want"
sed -e 's/^[^|]*|out://' "$work/arrived" | sort >"$work/got"
if ! cmp -s "$work/want" "$work/got"; then
  echo "FAIL: lines lost, changed or doubled across $files files:" >&2
  diff "$work/want" "$work/got" | head -20 >&2
  exit 1
fi
echo "ok: $expected lines across $files files arrived once"
