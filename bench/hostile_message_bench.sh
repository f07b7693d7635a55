#!/usr/bin/env bash
# Opens the request-vector message (tests/data/request-vectors) in `zvwk view`
# and times it: wall time until the screenshot is written and the program has
# ended, and the CPU time the viewer's own (UI) process spent, from its
# /proc/PID/stat at its last breath. Each zvwk given is run in turn, so an old
# build and a new one compare in one run; none may take longer than LIMIT
# seconds (default 100).
#   bench/hostile_message_bench.sh ZVWK... [--limit SECONDS]
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
limit=100
binaries=()
while [ $# -gt 0 ]; do
  case "$1" in
    --limit) limit=$2; shift 2 ;;
    *) binaries+=("$1"); shift ;;
  esac
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/box/cur" "$work/box/new" "$work/box/tmp"
# Port 9 (discard) on loopback: nothing answers, so a request that got out
# would fail fast instead of waiting for a name lookup.
{
  printf 'From: Ann <ann@example.org>\r\nTo: bob@example.org\r\nSubject: Vectors\r\n'
  printf 'Date: Mon, 16 Nov 2026 10:00:00 +0000\r\nMessage-ID: <vectors@x>\r\nMIME-Version: 1.0\r\n'
  printf 'Content-Type: text/html; charset=utf-8\r\n\r\n'
  sed 's/origin\.invalid/127.0.0.1:9/g' "$root/tests/data/request-vectors/vectors.html"
} > "$work/box/cur/1.vectors"
export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1 XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache
echo "binary | wall s | UI-process CPU s | screenshot | finished loading"
for zvwk in "${binaries[@]}"; do
  rm -f "$work/shot.png"
  start=$(date +%s.%N)
  "$root/scripts/with-display" timeout "$limit" "$zvwk" view --screenshot "$work/shot.png" --select 1 "$work/box" \
    >/dev/null 2>"$work/stderr" &
  runner=$!
  cpu=0
  ticks=$(getconf CLK_TCK)
  while kill -0 "$runner" 2>/dev/null; do
    pid=$(pgrep -n -f "^$zvwk view --screenshot $work/shot.png" || true)
    if [ -n "$pid" ] && [ -r "/proc/$pid/stat" ]; then
      # utime and stime, fields 14 and 15 after the ")" that ends the name
      cpu=$(sed 's/.*) //' "/proc/$pid/stat" | awk -v t="$ticks" '{ printf "%.2f", ($12 + $13) / t }')
    fi
    sleep 0.2
  done
  wait "$runner"
  end=$(date +%s.%N)
  shot=$([ -s "$work/shot.png" ] && echo written || echo none)
  finished=$(grep -q "did not finish loading" "$work/stderr" && echo no || echo yes)
  [ "$shot" = none ] && finished=no
  printf '%s | %.1f | %s | %s | %s\n' "$zvwk" "$(echo "$end - $start" | bc)" "$cpu" "$shot" "$finished"
done
