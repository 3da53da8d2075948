#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# report.sh KIVOCAM CHROMIUM WORK_DIR: a report in a browser. Its pictures load, nothing of a file's name runs, and it
# is a page of light or of dark colours as the reader likes. The screenshots stay in WORK_DIR.
set -eu
kivocam=$1
chromium=$2
work=$3
rm -rf "$work"
mkdir -p "$work/frames"
cd "$work"

"$kivocam" scene scene.png --size 640x480
for format in Mono8 BayerRG8 BayerGB12p BayerBG10Packed RGB10 YUV422_8_UYVY; do
  "$kivocam" mosaic scene.png "frames/$format.rwh" --format "$format"
done
mv frames/Mono8.rwh "frames/<img src=x onerror=document.title=1>.rwh"
head -c 99 frames/RGB10.rwh >frames/rotten.rwh
"$kivocam" report frames -o page.html --title 'Frames of a test' 2>errors && exit 1

# browse OPTION... PAGE: the page at a size, in a browser that talks to nobody.
browse() {
  rm -rf profile
  timeout 120 "$chromium" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-sync --hide-scrollbars \
    --user-data-dir="$work/profile" "$@" 2>browser.log
}

# A copy with a script that tells what the browser made of it.
sed 's|</body>|<script>addEventListener("load", () => {\
  const images = [...document.images];\
  document.body.setAttribute("data-facts", [document.querySelectorAll("section.card").length, images.length,\
    images.filter(i => i.complete \&\& i.naturalWidth > 0).length, document.querySelectorAll("[onerror]").length,\
    document.title, document.documentElement.scrollWidth <= innerWidth].join("; "));\
});</script></body>|' page.html >probe.html
for width in 1280 400; do
  browse --window-size=$width,1000 --dump-dom "file://$work/probe.html" >dom.html
  facts=$(sed -n 's/.*data-facts="\([^"]*\)".*/\1/p' dom.html)
  [ "$facts" = '6; 17; 17; 0; Frames of a test; true' ] || { echo "at width $width the page has: $facts"; exit 1; }
done

# A long page loads what it shows: nothing below the table at first, and then the frames that somebody goes to. A
# browser without a window loads all at once if nobody tells it.
mkdir many
i=0
while [ $i -lt 60 ]; do ln frames/BayerRG8.rwh "many/$i.rwh" && i=$((i + 1)); done
"$kivocam" report many -o 'a 100% #1?.html' --quiet --pictures beside
sed 's|</body>|<script>addEventListener("load", () => {\
  const loaded = () => [...document.images].filter(i => i.complete \&\& i.naturalWidth > 0).length;\
  const first = loaded(), card = document.getElementById("frame-60");\
  card.scrollIntoView();\
  const look = () => {\
    if (![...card.querySelectorAll("img")].every(i => i.naturalWidth > 0)) return setTimeout(look, 50);\
    document.body.setAttribute("data-facts", [document.images.length, first, loaded() < 60].join("; "));\
  };\
  look();\
});</script></body>|' 'a 100% #1?.html' >probe.html
browse --window-size=1280,1000 --blink-settings=lazyLoadEnabled=true --virtual-time-budget=20000 --dump-dom \
  "file://$work/probe.html" >dom.html
facts=$(sed -n 's/.*data-facts="\([^"]*\)".*/\1/p' dom.html)
[ "$facts" = '240; 0; true' ] || { echo "of a long page the browser loads: $facts"; exit 1; }

browse --window-size=1280,1600 --screenshot="$work/light.png" "file://$work/page.html" >/dev/null
browse --window-size=400,1600 --screenshot="$work/narrow.png" "file://$work/page.html" >/dev/null
browse --window-size=1280,1600 --force-dark-mode --blink-settings=preferredColorScheme=0 \
  --screenshot="$work/dark.png" "file://$work/page.html" >/dev/null

# mean PICTURE: of its green channel.
mean() {
  "$kivocam" mosaic "$1" shot.rwh --format RGB8
  "$kivocam" info --json shot.rwh | sed 's/.*"G": {"min": \([0-9]*\), "max": \([0-9]*\), "mean": \([0-9]*\).*/\1 \2 \3/'
}
for shot in light narrow; do
  # shellcheck disable=SC2046
  set -- $(mean $shot.png)
  if [ "$1" -ge 60 ] || [ "$2" -le 240 ] || [ "$3" -le 180 ]; then
    echo "$shot.png has green from $1 to $2, mean $3"
    exit 1
  fi
done
# shellcheck disable=SC2046
set -- $(mean dark.png)
if [ "$2" -le 200 ] || [ "$3" -ge 90 ]; then
  echo "dark.png has green from $1 to $2, mean $3"
  exit 1
fi
rm -rf profile shot.rwh
