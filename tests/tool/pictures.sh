# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Pictures that come in: what is looked at before memory is spent, and pipes.
. "$(dirname "$0")/lib.sh"

ok scene scene.png --size 160x160
ok scene scene.ppm --size 160x160
ok scene scene.bmp --size 160x160
few='is not a PNG, binary PPM or PGM, or BMP picture'

# A picture in 66 bytes that says it is 2147483647 pixels wide, 16 bits deep and transparent: a row of 16 GB.
{
  bytes 211 120 116 107 015 012 032 012 000 000 000 015 111 110 104 122 177 377 377 377 000 000 000 001
  bytes 020 006 000 000 000 360 246 357 236 000 000 000 011 111 104 101 124 170 234 003 000 000 000 000 001 000
  bytes 272 227 132 374 000 000 000 000 111 105 116 104 256 102 140 202
} >wide.png
checks=$((checks + 1))
[ "$(wc -c <wide.png)" -eq 66 ] || fail "wide.png has $(wc -c <wide.png) bytes"
most='more than this tool takes (268435456)'
# small ARG...: with little memory, where shells know such a limit and the program runs under it.
small() {
  # shellcheck disable=SC3045
  (ulimit -v 400000 && exec "$kivocam" "$@")
}
if small --version >stdout 2>stderr; then
  checks=$((checks + 2))
  small compare wide.png scene.png 2>stderr >stdout
  [ "$? $(cat stderr)" = "2 kivocam: wide.png: claims 2147483647 x 1 pixels, $most" ] || fail "wide.png: $(cat stderr)"
  small compare - scene.png <wide.png 2>stderr >stdout
  [ "$? $(cat stderr)" = "2 kivocam: standard input: claims 2147483647 x 1 pixels, $most" ] || fail "wide: $(cat stderr)"
  # Texts that unpack to a gigabyte belong to no picture; nor does one that only its header tells of.
  if command -v python3 >stdout; then
    python3 - "$kivocam" <<'END' || fail "texts.png takes memory"
import resource
import struct
import subprocess
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


with open("scene.png", "rb") as file:
    scene = file.read()
text = chunk(b"zTXt", b"Comment\0\0" + zlib.compress(7000000 * b"x", 9))
with open("texts.png", "wb") as file:
    file.write(scene[:33] + 150 * text + scene[33:])
subprocess.run([sys.argv[1], "compare", "texts.png", "scene.png"], stdout=subprocess.DEVNULL, check=True)
assert resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss < 300000
for name, interlaced in (("claim.png", 0), ("woven.png", 1)):
    with open(name, "wb") as file:
        file.write(scene[:8] + chunk(b"IHDR", struct.pack(">IIBBBBB", 16000, 16000, 8, 2, 0, 0, interlaced))
                   + chunk(b"IDAT", zlib.compress(bytes(1000))) + chunk(b"IEND", b""))
END
    checks=$((checks + 5))
    for name in claim woven; do
      bytes=$(wc -c <$name.png)
      wrong="is a damaged PNG picture: $bytes bytes cannot hold 16000 x 16000 pixels"
      small compare $name.png scene.png >stdout 2>stderr
      [ "$? $(cat stderr)" = "2 kivocam: $name.png: $wrong" ] || fail "$name: $(cat stderr)"
      cat $name.png | small compare - scene.png >stdout 2>stderr
      [ "$? $(cat stderr)" = "2 kivocam: standard input: $wrong" ] || fail "$name through a pipe: $(cat stderr)"
    done
  fi
  # Pipes without an end are left as soon as they are seen to be no picture, or when the picture is whole.
  checks=$((checks + 4))
  yes | small compare - scene.png >stdout 2>stderr
  [ "$? $(cat stderr)" = "2 kivocam: standard input: $few" ] || fail "endless: $(cat stderr)"
  { printf 'P6 #' && yes | tr -d '\n'; } | small compare - scene.png >stdout 2>stderr
  [ "$? $(cat stderr)" = '2 kivocam: standard input: has a damaged PPM header' ] || fail "endless PPM: $(cat stderr)"
  { cat scene.png && yes; } 2>complaints | small compare scene.png - >stdout 2>stderr || fail "endless PNG: $(cat stderr)"
  { cat scene.ppm && yes; } 2>complaints | small compare scene.png - >stdout 2>stderr || fail "endless PPM: $(cat stderr)"
  # What a header says is not believed before it has come.
  for header in 'P6 16000 16000 255 ' 'P5 16000 16000 65535 '; do
    checks=$((checks + 1))
    printf '%s12345' "$header" | small compare - scene.png >stdout 2>stderr
    case "$? $(cat stderr)" in
      '2 kivocam: standard input: ends too early: 5 bytes of pixels, '*' needed') ;;
      *) fail "$header: $(cat stderr)" ;;
    esac
  done
fi

# Pictures through pipes of every kind are those of the files.
for type in png ppm bmp; do
  checks=$((checks + 2))
  cat "scene.$type" | "$kivocam" compare scene.png - >stdout 2>stderr || fail "$type: $(cat stderr)"
  says '^CPSNR +equal$'
  mkfifo "fifo.$type" && cat "scene.$type" >"fifo.$type" &
  while [ ! -p "fifo.$type" ]; do :; done
  ok compare "fifo.$type" scene.png && says '^CPSNR +equal$'
done
"$kivocam" scene - --to ppm --size 160x160 | "$kivocam" mosaic - piped.rwh --format BayerRG8 || fail "mosaic of a pipe"
ok mosaic scene.png named.rwh --format BayerRG8 && same named.rwh piped.rwh
"$kivocam" sheet piped.png - scene.png <scene.ppm || fail "sheet of a pipe"
ok sheet named.png scene.png scene.png --labels - scene && same named.png piped.png
fails 1 'standard input: can be read once only' compare - -
fails 1 'standard input: can be read once only' sheet out.png - scene.png -
for type in png ppm bmp; do
  checks=$((checks + 1))
  head -c 20000 "scene.$type" | "$kivocam" compare - scene.png >stdout 2>stderr
  [ $? -eq 2 ] || fail "$type cut short: $(cat stderr)"
done

# Sizes are told as the file has them.
printf 'P6 123456789012 2 255 ' >large.ppm
fails 2 "large.ppm: claims 123456789012 x 2 pixels, $most" mosaic large.ppm out.rwh --format Mono8
printf 'P6 1234567890123456789012 2 255 ' >large.ppm
fails 2 'large.ppm: has a damaged PPM header' mosaic large.ppm out.rwh --format Mono8

finish
