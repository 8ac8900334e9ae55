#!/usr/bin/env bash
# The real program on a virtual X server, driven as a user would: open a
# drawing, draw a stroke with the mouse, save with Ctrl+S, quit with Ctrl+Q.
# Checks that the saved file grew by a stroke (it is still a Vimo file and
# renders differently), and that a screenshot shows the stroke.
# smoke.sh VIMO VIMO_RENDER SAMPLE OUTDIR
set -euo pipefail

if [ "${1:-}" != "--inner" ]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" --inner "$@"
fi
shift
vimo=$1 render=$2 sample=$3 out=$4
mkdir -p "$out"
file="$out/smoke.vimo"
cp "$sample" "$file"
"$render" "$file" "$out/before.png" >/dev/null

"$vimo" "$file" >"$out/vimo.log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null || true' EXIT

win=$(xdotool search --sync --onlyvisible --name "smoke.vimo" | head -1)
xdotool windowmove "$win" 0 0
sleep 1
xdotool windowfocus --sync "$win"
eval "$(xdotool getwindowgeometry --shell "$win")"
echo "window $WIDTH x $HEIGHT"

# A wavy stroke across the middle of the window, below the menu bar.
y0=$((HEIGHT / 2))
xdotool mousemove --sync $((WIDTH / 4)) $y0 mousedown 1
for i in $(seq 1 40); do
  xdotool mousemove --sync $((WIDTH / 4 + i * WIDTH / 80)) $((y0 + (i % 8) * 3))
done
xdotool mouseup 1
sleep 0.5
import -window root "$out/screen.png"
xdotool key --window "$win" ctrl+s
sleep 1
xdotool key --window "$win" ctrl+q
for _ in $(seq 1 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then
  echo "FAIL: the program did not quit after saving"
  exit 1
fi
trap - EXIT

tail -c 12 "$file" | grep -q "VIMO0100ZLIB" || { echo "FAIL: saved file lacks the trailer"; exit 1; }
"$render" "$file" "$out/after.png" >/dev/null
if cmp -s "$out/before.png" "$out/after.png"; then
  echo "FAIL: the saved drawing did not change"
  exit 1
fi
# The stroke is black on the window: some pixel along it must be dark.
dark=$(convert "$out/screen.png" -crop "$((WIDTH / 2))x40+$((WIDTH / 4))+$((y0 - 5))" \
  -colorspace Gray -format "%[fx:minima.intensity]" info:)
echo "darkest pixel along the stroke: $dark"
awk -v d="$dark" 'BEGIN { exit !(d < 0.3) }' || { echo "FAIL: no stroke on screen"; exit 1; }
echo "smoke test passed"
