#!/usr/bin/env bash
# Runs the command lines of the README's ostrana-fx section as written there, in a fresh
# folder with the files they name, and checks what the finishing example promises: the
# normalised song-wide.flac clips nothing and peaks at -1 dBFS.
# Usage: readme-examples-test.sh README BIN_DIR
set -euo pipefail
readme="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
PATH="$(cd "$2" && pwd):$PATH"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# play sends audio to the sound card; here the whole stream is decoded into nothing (stat reads
# it to the end, as play would), which still fails on a stream it cannot read.
play() { sox -q "$@" -n stat 2> /dev/null; }

sox -n -r 48000 -c 1 -b 16 voice.wav synth 3 sine 300-900 vol 0.5
sox -n -r 44100 -c 2 -b 16 song.flac synth 4 sine 220 sine 330 vol 0.9
sox -n -r 48000 -c 2 -b 24 take.wav synth 40 pinknoise vol 0.3
sox -n -r 48000 -c 2 -e floating-point in.wav synth 2 sine 440 vol 0.5

# The indented lines of the section that start with ostrana-fx or sox, comments dropped.
examples=$(awk '/^## ostrana-fx/ {inside = 1; next} /^## / {inside = 0}
                inside && /^    (ostrana-fx|sox) / {sub(/^    /, ""); sub(/  +# .*$/, ""); print}' \
               "$readme")
[ -n "$examples" ] || { echo "no examples found in $readme"; exit 1; }
count=0
while IFS= read -r example; do
    echo "+ $example"
    eval "$example" > /dev/null
    count=$((count + 1))
done <<< "$examples"
echo "$count examples ran"

stats=$(ostrana-fx stats song-wide.flac --json)
echo "$stats" | grep -q '"clipped_samples": 0' || { echo "song-wide.flac clips: $stats"; exit 1; }
echo "$stats" | grep -Eq '"peak_dbfs": -(0\.99|1\.00)' || { echo "peak not -1 dBFS: $stats"; exit 1; }
[ -s processed/take.wav ] && [ -s take-fx.wav ] && [ -s voice-echo.wav ] && [ -s voice-slap.wav ] &&
    [ -s out.wav ] || { echo "an example wrote no output"; exit 1; }

# The README's preset table holds every preset as `ostrana-fx presets` lists it.
ostrana-fx presets | awk -F '  +' 'NR > 1 && NF == 4 {
    printf "| `%s` | `%s` | %s | %s |\n", $1, $2, $3, $4 }' > listed-presets
[ -s listed-presets ] || { echo "ostrana-fx presets listed nothing"; exit 1; }
while IFS= read -r row; do
    grep -qF -- "$row" "$readme" || { echo "the README's preset table lacks: $row"; exit 1; }
done < listed-presets
echo "$(wc -l < listed-presets) presets in the README's table"
