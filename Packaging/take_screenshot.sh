#!/usr/bin/env bash
# Takes the app's picture for the metainfo: one list on the simulated demo market, in a virtual
# X server, saved once the chart is drawn. Nothing of the user's is read or kept.
# Usage: take_screenshot.sh TESSARY WIDTHxHEIGHT OUTPUT.png
set -euo pipefail
app=$1 size=$2 output=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$(dirname "$output")" "$work/data"
cat >"$work/data/lists.json" <<JSON
[{"id":"0B7D6C1E-5F2A-4C3B-8D9E-7A6F5E4D3C2B","name":"Big Tech","benchmark":"SPY","preset":"1Y",
  "tickers":["AAPL","MSFT","NVDA","GOOGL","AMZN","META","QQQ"]}]
JSON
unset QT_QPA_PLATFORM TESSARY_API TESSARY_SESSION_API TESSARY_WEB
TESSARY_DATA_DIR="$work/data" XDG_CONFIG_HOME="$work/config" TESSARY_APPEARANCE=light \
  TESSARY_SNAPSHOT="$output" TESSARY_SNAPSHOT_SIZE="$size" \
  xvfb-run -a -s "-screen 0 $((${size%x*} + 100))x$((${size#*x} + 100))x24" "$app"
