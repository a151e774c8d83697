#!/usr/bin/env bash
# Starts the real app in a real (virtual) X window against tessary-server serving imported
# prices: checks that the window shows a chart rather than an error, and that Shift+Ctrl+C
# in that window leaves the chart's export card on the X clipboard for another program.
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
  "benchmark":"JNJ","preset":"10Y"},
 {"id":"0B5E7A11-8C2D-4F3E-9D6A-7B8C9D0E1F2A","name":"Two","tickers":["JNJ","CARR"],"benchmark":"AAPL"}]
JSON

unset QT_QPA_PLATFORM
export TESSARY_API="$url" TESSARY_DATA_DIR="$work/app" XDG_CONFIG_HOME="$work/config"
output=$(TESSARY_SNAPSHOT="$work/window.png" TESSARY_SNAPSHOT_SIZE=1200x800 \
  xvfb-run -a -s "-screen 0 1400x900x24" "$app" 2>"$work/app.err") || status=$?
echo "$output"
[[ "${status:-0}" == 0 ]] || { echo "the app did not show a chart (status ${status}): $(cat "$work/app.err")"; exit 1; }
grep -q '^snapshot: chart ' <<<"$output"
[[ -s "$work/window.png" ]]
[[ -n "${TESSARY_KEEP_SNAPSHOT:-}" ]] && cp "$work/window.png" "$TESSARY_KEEP_SNAPSHOT"
echo "PASS: the window shows a chart"

# Inside one X server: the app runs until its first chart is saved (TESSARY_EXPORT says when),
# the shortcut goes to its focused window, and xclip, another client, asks for image/png.
cat >"$work/clipboard.sh" <<'INNER'
set -euo pipefail
app=$1 work=$2
TESSARY_EXPORT="$work/saved.png" "$app" >"$work/export.out" 2>"$work/export.err" &
app_pid=$!
trap 'kill "$app_pid" 2>/dev/null || true' EXIT
for _ in $(seq 1 600); do
  grep -q '^export: ' "$work/export.out" && break
  kill -0 "$app_pid" 2>/dev/null || { echo "the app ended: $(cat "$work/export.err")"; exit 1; }
  sleep 0.2
done
grep -qx "export: $work/saved.png" "$work/export.out" || { echo "no chart was exported: $(cat "$work/export.out")"; exit 1; }
window=$(xdotool search --sync --onlyvisible --name 'Real prices' | head -n 1)
xdotool windowfocus --sync "$window"
xdotool key --clearmodifiers shift+ctrl+c
for _ in $(seq 1 50); do
  xclip -selection clipboard -t image/png -o >"$work/clipboard.png" 2>/dev/null && [[ -s "$work/clipboard.png" ]] && break
  sleep 0.2
done
INNER
xvfb-run -a -s "-screen 0 1400x900x24" bash "$work/clipboard.sh" "$app" "$work" 2>/dev/null
# A PNG starts with its signature, then the IHDR chunk with the width and height.
png_size() {
  local bytes
  bytes=$(head -c 24 "$1" | od -An -tx1 | tr -d ' \n')
  [[ "${bytes:0:16}" == 89504e470d0a1a0a ]] || { echo "not a PNG"; return; }
  echo "$((16#${bytes:32:8}))x$((16#${bytes:40:8}))"
}
copied=$(png_size "$work/clipboard.png") saved=$(png_size "$work/saved.png")
[[ "$copied" == 2400x* && "$copied" == "$saved" ]] ||
  { echo "the clipboard held $copied, the saved card is $saved"; exit 1; }
echo "PASS: Shift+Ctrl+C put the $copied card on the clipboard"

# The start-up and memory hooks of Benchmarks/startup-memory: both paints are reported, the
# tour reaches the second list's chart, and the app ends by itself.
output=$(TESSARY_STARTUP_TIMES=1 TESSARY_LIST_TOUR=1 \
  timeout 120 xvfb-run -a -s "-screen 0 1400x900x24" "$app" 2>"$work/app.err") ||
  { echo "the measured start failed: $output $(cat "$work/app.err")"; exit 1; }
grep -Eq '^startup: window [0-9]+ ms$' <<<"$output" && grep -Eq '^startup: chart [0-9]+ ms$' <<<"$output" &&
  grep -Eq '^memory: list 2 of 2 \([23] tickers\): resident [0-9.]+ MB, peak [0-9.]+ MB$' <<<"$output" ||
  { echo "unexpected measurement: $output"; exit 1; }
echo "PASS: the start and the switch to a second list were measured"
