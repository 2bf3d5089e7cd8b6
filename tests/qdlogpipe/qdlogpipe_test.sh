#!/usr/bin/env bash
# qdlogpipe as a user runs it: lines through unchanged, the child's status back,
# signals handed on, and each kind of bad input.
# Usage: qdlogpipe_test.sh QDLOGPIPE [LINES, 1000000 by default]
set -euo pipefail
pipe=$1 lines=${2:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
# The texts of one title's lines, in file order, head and CR LF taken off.
texts() { cat "$1"/log*.log | LC_ALL=C sed -n "s/^[^|]*|$2://p" | LC_ALL=C sed 's/\r$//'; }
run() { # expected-status, then the command; its standard error goes to $work/said
  local want=$1; shift
  set +e; "$@" 2>"$work/said"; local got=$?; set -e
  [ "$got" = "$want" ] || fail "status $got, not $want: $* ($(cat "$work/said"))"
}

# Many lines on each stream, none lost or changed, and the child's status.
run 7 "$pipe" -d "$work/many" -s 8M -r 2 -t out -T err -- \
  sh -c "seq $lines; seq $lines | sed s/^/e/ >&2; exit 7"
[ "$(texts "$work/many" out | md5sum)" = "$(seq "$lines" | md5sum)" ] || fail "output lines changed"
[ "$(texts "$work/many" err | md5sum)" = "$(seq "$lines" | sed s/^/e/ | md5sum)" ] || fail "error lines changed"

# From standard input, echoed like tee.
[ "$(printf 'one\ntwo' | "$pipe" -d "$work/tee" -e -t out)" = "$(printf 'one\ntwo')" ] || fail tee

# A program that closes its output early is still waited for; a signal is handed on.
run 5 "$pipe" -d "$work/early" -T err -- sh -c 'exec 1>&-; sleep 0.2; echo late >&2; exit 5'
[ "$(texts "$work/early" err)" = late ] || fail "line after an early close"
"$pipe" -d "$work/sig" -f 1 -t out -- sh -c 'trap "echo got TERM; exit 42" TERM; echo up; while :; do sleep 0.05; done' \
  2>/dev/null & qp=$!
for _ in $(seq 100); do grep -qs up "$work"/sig/log*.log && break; sleep 0.05; done
kill -TERM $qp
set +e; wait $qp; got=$?; set -e
[ "$got" = 42 ] || fail "status $got after SIGTERM, not 42"
[ "$(texts "$work/sig" out)" = "$(printf 'up\ngot TERM')" ] || fail "lines around SIGTERM"

# A line of 100 MB is written in pieces, every byte kept; NUL and invalid UTF-8.
run 3 sh -c "head -c 100000000 /dev/zero | tr '\\0' x | \"$pipe\" -d \"$work/long\" -s 8M -r 2 -t out"
grep -q "in pieces" "$work/said" || fail "no note on the split"
[ "$(texts "$work/long" out | tr -d '\n' | wc -c)" = 100000000 ] || fail "bytes of the long line"
run 3 sh -c "printf 'a\\0b\\n\\377\\n' | \"$pipe\" -d \"$work/bad\" -t out"
grep -q "NUL bytes" "$work/said" && grep -q "not valid UTF-8" "$work/said" || fail "notes on bad bytes"
[ "$(texts "$work/bad" out | od -An -tx1 | tr -d ' \n')" = "61e29080620aff0a" ] || fail "bad bytes"

# Refusals: no program, a directory that cannot be made, a bad option.
run 127 "$pipe" -d "$work/none" -- "$work/no-such-program"
grep -q "cannot run" "$work/said" || fail "message for a missing program"
: >"$work/plain"
run 2 "$pipe" -d "$work/plain/sub" -- true
grep -q "cannot make the log directory" "$work/said" || fail "message for the directory"
run 2 "$pipe" --size lots
run 0 "$pipe" --help >/dev/null
echo ok
