#!/usr/bin/env bash
# Starts the real app in a real (virtual) X window against tessary-server serving imported
# prices, and checks that the window shows a chart rather than an error.
# Usage: real_window_test.sh TESSARY TESSARY_SERVER SHARED_DATA
set -euo pipefail
app=$1 server=$2 shared=$3
if [[ ! -d "$shared/daily" ]]; then
  echo "SKIP: $shared is not present"; exit 0
fi
work=$(mktemp -d)
trap 'kill "${server_pid:-}" 2>/dev/null || true; rm -rf "$work"' EXIT

"$server" import prices --data-dir "$work/store" "$shared/daily/AAPL.csv" "$shared/daily/MSFT.csv" \
  "$shared/daily/JNJ.csv" "$shared/daily/CARR.csv" >/dev/null
"$server" serve --no-demo --data-dir "$work/store" >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
for _ in $(seq 1 100); do
  [[ -s "$work/server.out" ]] && break
  sleep 0.1
done
url=$(head -n 1 "$work/server.out" | sed 's/^listening on //')
[[ "$url" == http://127.0.0.1:* ]] || { echo "server did not start: $(cat "$work/server.err")"; exit 1; }

mkdir -p "$work/app"
cat >"$work/app/lists.json" <<JSON
[{"id":"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B","name":"Real prices","tickers":["AAPL","MSFT","CARR"],
  "benchmark":"JNJ","preset":"10Y"}]
JSON

unset QT_QPA_PLATFORM
output=$(TESSARY_API="$url" TESSARY_DATA_DIR="$work/app" XDG_CONFIG_HOME="$work/config" \
  TESSARY_SNAPSHOT="$work/window.png" TESSARY_SNAPSHOT_SIZE=1200x800 \
  xvfb-run -a -s "-screen 0 1400x900x24" "$app" 2>"$work/app.err") || status=$?
echo "$output"
[[ "${status:-0}" == 0 ]] || { echo "the app did not show a chart (status ${status}): $(cat "$work/app.err")"; exit 1; }
grep -q '^snapshot: chart ' <<<"$output"
[[ -s "$work/window.png" ]]
[[ -n "${TESSARY_KEEP_SNAPSHOT:-}" ]] && cp "$work/window.png" "$TESSARY_KEEP_SNAPSHOT"
echo "PASS: the window shows a chart"
