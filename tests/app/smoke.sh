#!/usr/bin/env bash
# The real program on a virtual X server, driven as a user would: start it,
# draw a stroke with the mouse, save with Ctrl+S (typing the name into the
# save dialog), quit with Ctrl+Q. Checks the saved file (trailer, and its
# rendering shows the stroke) and a screenshot of the window.
# smoke.sh VIMO VIMO_RENDER OUTDIR
set -euo pipefail

if [ "${1:-}" != "--inner" ]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" --inner "$@"
fi
shift
vimo=$1 render=$2 out=$3
rm -rf "$out"
mkdir -p "$out"
file="$out/smoke.vimo"

"$vimo" >"$out/vimo.log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null || true' EXIT

win=$(xdotool search --sync --onlyvisible --name "Untitled" | head -1)
xdotool windowmove "$win" 0 0
sleep 1
xdotool windowfocus --sync "$win"
eval "$(xdotool getwindowgeometry --shell "$win")"
echo "window $WIDTH x $HEIGHT"

# A zigzag stroke across the middle of the window, below the menu bar.
y0=$((HEIGHT / 2))
xdotool mousemove --sync $((WIDTH / 4)) $y0 mousedown 1
for i in $(seq 1 40); do
  xdotool mousemove --sync $((WIDTH / 4 + i * WIDTH / 80)) $((y0 + (i % 8) * 3))
done
xdotool mouseup 1
sleep 0.5
import -window root "$out/screen.png"

xdotool key ctrl+s
xdotool search --sync --onlyvisible --name "^Save$" >/dev/null
sleep 0.5
xdotool type --delay 20 "$file"
xdotool key Return
for _ in $(seq 1 50); do [ -s "$file" ] && break; sleep 0.1; done
sleep 0.5
# Without a window manager nobody gives the focus back after the dialog.
xdotool windowfocus --sync "$win"
xdotool key ctrl+q
for _ in $(seq 1 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then
  import -window root "$out/stuck.png"
  echo "FAIL: the program did not quit after saving (see stuck.png)"
  exit 1
fi
trap - EXIT

[ -s "$file" ] || { echo "FAIL: nothing was saved"; exit 1; }
tail -c 12 "$file" | grep -q "VIMO0100ZLIB" || { echo "FAIL: saved file lacks the trailer"; exit 1; }
"$render" "$file" "$out/saved.png" >/dev/null

darkest() { convert "$1" -background white -flatten -colorspace Gray -format "%[fx:minima.intensity]" info:; }
dark=$(darkest "$out/saved.png")
echo "darkest pixel of the saved drawing: $dark"
awk -v d="$dark" 'BEGIN { exit !(d < 0.3) }' || { echo "FAIL: the saved drawing is empty"; exit 1; }
# On screen: the band the stroke went through.
convert "$out/screen.png" -crop "$((WIDTH / 2))x40+$((WIDTH / 4))+$((y0 - 5))" "$out/band.png"
dark=$(darkest "$out/band.png")
echo "darkest pixel along the stroke on screen: $dark"
awk -v d="$dark" 'BEGIN { exit !(d < 0.3) }' || { echo "FAIL: no stroke on screen"; exit 1; }
echo "smoke test passed"
