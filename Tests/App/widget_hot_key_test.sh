#!/usr/bin/env bash
# A floating widget in a real (virtual) X server: the frameless panel is mapped at least
# 300×200; once another window covers it, Ctrl+Alt+Super+E — sent while that window has the
# focus — and `tessary --show-widgets` from a second process each bring it back on top.
# Usage: widget_hot_key_test.sh TESSARY TESSARY_SERVER
set -euo pipefail
app=$1 server=$2
command -v xwininfo >/dev/null || { echo "SKIP: xwininfo is not installed"; exit 0; }
work=$(mktemp -d)
trap 'kill "${server_pid:-}" 2>/dev/null || true; rm -rf "$work"' EXIT
"$server" serve --data-dir "$work/store" >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
for _ in $(seq 1 300); do [[ -s "$work/server.out" ]] && break; sleep 0.1; done
url=$(head -n 1 "$work/server.out" | sed 's/^listening on //')
[[ "$url" == http://127.0.0.1:* ]] || { echo "server did not start: $(cat "$work/server.err")"; exit 1; }
mkdir -p "$work/app"
cat >"$work/app/lists.json" <<JSON
[{"id":"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B","name":"Megacaps","tickers":["AAPL","MSFT"],"benchmark":"SPY","preset":"1Y"}]
JSON
cat >"$work/inner.sh" <<'INNER'
set -euo pipefail
app=$1 work=$2
"$app" >"$work/app.out" 2>"$work/app.err" &
app_pid=$!
trap 'kill "$app_pid" 2>/dev/null || true' EXIT
panel=$(xdotool search --sync --onlyvisible --name '^Tessary Widget$' | head -n 1)
main=$(xdotool search --sync --onlyvisible --name 'Megacaps' | head -n 1)
read -r width height < <(xwininfo -id "$panel" | awk '/Width:/{w=$2} /Height:/{h=$2} END{print w, h}')
((width >= 300 && height >= 200)) || { echo "the panel is ${width}x${height}"; exit 1; }
xwininfo -id "$panel" | grep -q 'Map State: IsViewable'
# xwininfo lists the root's children top first.
above_main() {
  local order; order=$(xwininfo -root -children | grep -oE '^ +0x[0-9a-f]+' | tr -d ' ')
  local p m; p=$(grep -nx "$(printf '0x%x' "$panel")" <<<"$order" | cut -d: -f1)
  m=$(grep -nx "$(printf '0x%x' "$main")" <<<"$order" | cut -d: -f1)
  ((p < m))
}
# Polled, with room for a loaded machine or a sanitizer build: a pass returns at once.
wait_above() { for _ in $(seq 1 200); do above_main && return 0; sleep 0.1; done; return 1; }
wait_below() { for _ in $(seq 1 200); do above_main || return 0; sleep 0.1; done; return 1; }
bury() { xdotool windowraise "$main" windowfocus --sync "$main"; wait_below || { echo "could not cover the panel"; exit 1; }; }
bury
xdotool key ctrl+alt+super+e
wait_above || { echo "Ctrl+Alt+Super+E did not raise the panel"; exit 1; }
echo "PASS: Ctrl+Alt+Super+E brought the widget forward"
bury
"$app" --show-widgets
wait_above || { echo "--show-widgets did not raise the panel"; exit 1; }
echo "PASS: tessary --show-widgets brought the widget forward"
# A second start on the same lists raises the running window and ends, opening nothing.
timeout 20 "$app" >"$work/second.out" 2>"$work/second.err" || { echo "the second start failed: $(cat "$work/second.err")"; exit 1; }
wait_below || { echo "the second start did not raise the window"; exit 1; }
[[ $(xdotool search --onlyvisible --name 'Megacaps' | wc -l) == 1 ]] || { echo "a second window opened"; exit 1; }
echo "PASS: a second tessary raised the running window"
INNER
unset QT_QPA_PLATFORM
export TESSARY_API="$url" TESSARY_DATA_DIR="$work/app" XDG_CONFIG_HOME="$work/config" TESSARY_WIDGET=1 \
  XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$work/runtime"
xvfb-run -a -s "-screen 0 1600x1000x24" bash "$work/inner.sh" "$app" "$work"
