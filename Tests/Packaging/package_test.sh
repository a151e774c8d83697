#!/usr/bin/env bash
# Builds the Debian package from a build tree with CPack, then: lintian finds no error in it
# (its warnings are printed), it holds everything the desktop and man need, and once unpacked
# with dpkg -x, the programs in it run from there on the system's Qt alone.
# Usage: package_test.sh BUILD_DIR CPACK
set -euo pipefail
build=$1 cpack=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cpack" --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log"; exit 1; }
debs=("$work"/out/tessary_*.deb)
[[ -f "${debs[0]}" && ${#debs[@]} == 1 ]] || { echo "cpack made no single tessary_*.deb"; ls "$work/out"; exit 1; }
deb=${debs[0]}
echo "built $(basename "$deb") ($(du -k "$deb" | cut -f1) KiB)"
dpkg-deb --field "$deb" Depends

status=0
lintian --fail-on error --tag-display-limit 0 "$deb" >"$work/lintian.log" 2>&1 || status=$?
# Run as root, lintian says so; that line is not about the package.
grep -v 'running with root privileges' "$work/lintian.log" || true
((status == 0)) || { echo "lintian found errors (status $status)"; exit 1; }

dpkg -x "$deb" "$work/root"
app_id=$(basename "$work"/root/usr/share/applications/*.desktop .desktop)
expected=(
  usr/bin/tessary usr/bin/tessary-server
  "usr/share/applications/$app_id.desktop" "usr/share/metainfo/$app_id.metainfo.xml"
  "usr/share/icons/hicolor/scalable/apps/$app_id.svg" "usr/share/icons/hicolor/48x48/apps/$app_id.png"
  usr/share/man/man1/tessary.1.gz usr/share/man/man1/tessary-server.1.gz
  usr/lib/systemd/user/tessary-server.service usr/share/doc/tessary/copyright
  usr/share/doc/tessary/changelog.gz
)
for file in "${expected[@]}"; do
  [[ -s "$work/root/$file" ]] || { echo "the package lacks /$file"; exit 1; }
done
grep -qx "Icon=$app_id" "$work/root/usr/share/applications/$app_id.desktop" ||
  { echo "the desktop entry does not name the icon $app_id"; exit 1; }

# No library path set: whatever the programs need beyond the package is the system's.
unset LD_LIBRARY_PATH
help=$("$work/root/usr/bin/tessary" compare --help)
[[ "$help" == "usage: tessary compare "* ]] || { echo "tessary compare --help did not run from the package"; exit 1; }
help=$("$work/root/usr/bin/tessary-server" --help)
[[ "$help" == *"tessary-server serve"* ]] || { echo "tessary-server --help did not run from the package"; exit 1; }
for page in tessary tessary-server; do
  man -l "$work/root/usr/share/man/man1/$page.1.gz" 2>&1 >/dev/null | grep . &&
    { echo "man reports problems in $page.1"; exit 1; }
done
echo "PASS: $(basename "$deb") passes lintian and runs from its unpacked root"
