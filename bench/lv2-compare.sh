#!/usr/bin/env bash
# Speed of the LV2 plug-ins side by side with the Debian LV2 plug-ins people use for the same
# effects, measured in one run by LV2's own benchmark host.
#
# 1. lv2bench: the time of run() on silent input with default controls at 48 kHz, in blocks of
#    512 frames, --frames frames per measurement, every plug-in in turn for --rounds rounds (so
#    that changes in the machine's load fall on all of them alike); the table shows the median,
#    in ns per channel-frame (a stereo plug-in's frame counts as two), so that mono and stereo
#    plug-ins compare fairly.
# 2. callgrind: instructions per frame and per channel-frame, the instruction count of
#    `lv2bench -b 512 -n N URI` minus the same with -n 0, divided by N. Stable from run to run,
#    whatever the load.
#
# Peers: mda Delay and ThruZero (mda-lv2), swh multivoiceChorus and flanger (swh-lv2), Calf
# VintageDelay, Flanger and MultiChorus (calf-plugins), LSP Slap-back Delay (lsp-plugins-lv2).
# x42-plugins has no delay, chorus, flanger or vibrato effect. The set-up installs them, with
# lilv-utils and valgrind, from Debian's packages when missing, and builds the release preset.
#
# Usage: bench/lv2-compare.sh [--rounds N] [--frames N] [--callgrind-frames N] [--no-build]
#   --rounds N            lv2bench rounds (default 5)
#   --frames N            frames per lv2bench measurement (default 2400000, 50 s of audio)
#   --callgrind-frames N  frames of the callgrind runs (default 96000)
#   --no-build            use the bundle already built in build/lv2
set -euo pipefail
cd "$(dirname "$0")/.."

rounds=5
frames=2400000
callgrindFrames=96000
build=1
usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
while [ $# -gt 0 ]; do
    case $1 in
        --rounds) rounds=$2; shift 2 ;;
        --frames) frames=$2; shift 2 ;;
        --callgrind-frames) callgrindFrames=$2; shift 2 ;;
        --no-build) build=0; shift ;;
        -h | --help) usage; exit 0 ;;
        *) usage >&2; exit 2 ;;
    esac
done

scripts/install-deps.sh valgrind mda-lv2 swh-lv2 calf-plugins lsp-plugins-lv2 x42-plugins
if [ "$build" -eq 1 ]; then
    cmake --preset release >/dev/null
    cmake --build --preset release
fi

# Ours first, then the peers. The build's bundle comes before the installed ones.
export LV2_PATH="$PWD/build/lv2:/usr/lib/lv2"
ours=https://dravolt.com/lv2/ostrana-effects
plugins=(
    "$ours/delay" "$ours/delay-mono" "$ours/ping-pong-delay"
    "$ours/chorus" "$ours/chorus-mono" "$ours/flanger" "$ours/flanger-mono"
    "$ours/vibrato" "$ours/vibrato-mono"
    http://drobilla.net/plugins/mda/Delay
    http://drobilla.net/plugins/mda/ThruZero
    http://plugin.org.uk/swh-plugins/multivoiceChorus
    http://plugin.org.uk/swh-plugins/flanger
    http://calf.sourceforge.net/plugins/VintageDelay
    http://calf.sourceforge.net/plugins/Flanger
    http://calf.sourceforge.net/plugins/MultiChorus
    http://lsp-plug.in/plugins/lv2/slap_delay_stereo
)

# The number of audio input ports of a plug-in, from lv2info.
channelsOf() {
    lv2info "$1" | awk '
        /^\tPort [0-9]+:/ { if (audio && input) n++; audio = 0; input = 0 }
        /lv2core#AudioPort/ { audio = 1 }
        /lv2core#InputPort/ { input = 1 }
        END { if (audio && input) n++; print n + 0 }'
}

# A folder holding only the plug-in's bundle (a link to it), for LV2_PATH: lv2bench then loads
# that bundle alone, not every installed one.
pathOf() {
    echo "$out/path/$(echo "$1" | tr -c 'a-zA-Z0-9\n' '_')"
}
makePath() {
    local bundle
    bundle=$(lv2info "$1" | sed -n 's|^\tBundle: *file://||p')
    mkdir -p "$(pathOf "$1")"
    ln -sfn "${bundle%/}" "$(pathOf "$1")/$(basename "$bundle")"
}

# lv2bench on one plug-in, its bundle alone on the path.
bench() {
    LV2_PATH=$(pathOf "$1") lv2bench -b 512 -n "$2" "$1" 2>/dev/null
}

# The instructions callgrind counts in one lv2bench run.
instructions() {
    LV2_PATH=$(pathOf "$1") valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        lv2bench -b 512 -n "$2" "$1" 2>&1 | sed -n 's/^==[0-9]*== Collected : \([0-9]*\)$/\1/p'
}

median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

out=$PWD/bench/out/lv2
rm -rf "$out"
mkdir -p "$out"
declare -A channels
for plugin in "${plugins[@]}"; do
    makePath "$plugin"
    channels[$plugin]=$(channelsOf "$plugin")
    if [ "${channels[$plugin]}" -eq 0 ]; then
        echo "lv2-compare: $plugin is not installed" >&2
        exit 1
    fi
done

started=$(date -u +%Y-%m-%dT%H:%M:%SZ)
loadBefore=$(cut -d' ' -f1 /proc/loadavg)
echo "lv2bench: $rounds rounds of $frames frames per plug-in, blocks of 512"
for ((round = 1; round <= rounds; round++)); do
    for plugin in "${plugins[@]}"; do
        name=$(echo "$plugin" | tr -c 'a-zA-Z0-9\n' '_')
        bench "$plugin" "$frames" | awk '{ print $1 }' >>"$out/$name.times"
    done
    echo "  round $round of $rounds done"
done

echo "callgrind: $callgrindFrames frames against 0"
declare -A perFrame
for plugin in "${plugins[@]}"; do
    full=$(instructions "$plugin" "$callgrindFrames")
    none=$(instructions "$plugin" 0)
    perFrame[$plugin]=$(awk -v a="$full" -v b="$none" -v n="$callgrindFrames" 'BEGIN { printf "%.1f", (a - b) / n }')
done
loadAfter=$(cut -d' ' -f1 /proc/loadavg)

cpu=$(lscpu | sed -n 's/^Model name: *//p')
echo
echo "Run $started, CPU \"$cpu\" ($(nproc) cores), load average $loadBefore before and $loadAfter after;"
echo "lilv $(dpkg-query -W -f='${Version}' lilv-utils), $(valgrind --version)."
echo
echo "| plug-in | channels | lv2bench ns per channel-frame (median) | instructions per frame | instructions per channel-frame |"
echo "|---|---:|---:|---:|---:|"
for plugin in "${plugins[@]}"; do
    name=$(echo "$plugin" | tr -c 'a-zA-Z0-9\n' '_')
    seconds=$(median <"$out/$name.times")
    awk -v p="$plugin" -v c="${channels[$plugin]}" -v s="$seconds" -v n="$frames" \
        -v i="${perFrame[$plugin]}" \
        'BEGIN { printf "| `%s` | %d | %.2f | %.1f | %.1f |\n", p, c, s / n / c * 1e9, i, i / c }'
done
