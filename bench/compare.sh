#!/usr/bin/env bash
# Speed of the effects side by side with FFmpeg and SoX, then in process.
#
# 1. Whole process: `ostrana-fx render` of 300 s of stereo 48 kHz 32-bit float white noise to a
#    32-bit float WAV, once per node with its defaults, against FFmpeg and SoX running their
#    nearest filters on the same file to the same format. Each command runs --runs times (one
#    unmeasured warm-up first), all commands taking turns so that changes in the machine's load
#    fall on all of them alike; the table shows medians of cpu time (user + sys of the process).
#    The real-time factor is the audio's 300 s divided by that cpu time. ostrana-fx runs with
#    its default block of 512 frames unless --block says otherwise (it reads and writes the
#    files in chunks of whole blocks of at least 8192 frames, whatever the block).
# 2. In process: node_benchmarks (Google Benchmark), cpu time per channel-sample of each node's
#    process at 32, 256 and 4096-frame stereo blocks, with the oscillators on the vector sine (the
#    library's default) and on sinf ("-sinf"), beside a bare loop of sinf calls and the vector sine
#    alone on the same arguments; medians of --reps repetitions.
# Then it says, target by target, whether the speed targets hold.
#
# Installs FFmpeg and SoX from Debian's packages when missing (with the other build
# dependencies), builds the release preset, and caches the noise file in bench/out/ (git-ignored).
#
# Usage: bench/compare.sh [--runs N] [--reps N] [--block FRAMES] [--no-build] [--no-micro]
#                         [--bin DIR]
#   --runs N        measured runs of each command (default 7, at least 5)
#   --reps N        repetitions of each in-process benchmark (default 5)
#   --block FRAMES  ostrana-fx's block size for the comparison (default 512, its own default)
#   --no-build      use the programs already built
#   --no-micro      skip the in-process benchmarks
#   --bin DIR       where ostrana-fx and node_benchmarks are (default build/bin)
set -euo pipefail
cd "$(dirname "$0")/.."

runs=7
reps=5
block=512
build=1
micro=1
bin=build/bin
while [ $# -gt 0 ]; do
    case $1 in
        --runs) runs=$2; shift 2 ;;
        --reps) reps=$2; shift 2 ;;
        --block) block=$2; shift 2 ;;
        --no-build) build=0; shift ;;
        --no-micro) micro=0; shift ;;
        --bin) bin=$2; shift 2 ;;
        -h | --help) sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
        *) sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//' >&2; exit 2 ;;
    esac
done
if [ "$runs" -lt 5 ]; then echo "compare: --runs must be at least 5" >&2; exit 2; fi

scripts/install-deps.sh ffmpeg sox
if [ "$build" -eq 1 ]; then
    cmake --preset release
    cmake --build --preset release
fi

out=bench/out
mkdir -p "$out"
noise=$out/noise-300s-48k-stereo-f32.wav
audioSeconds=300
channelSamples=$((audioSeconds * 48000 * 2))
if [ ! -s "$noise" ]; then
    echo "compare: generating $noise"
    # Two independent white-noise channels at half scale, so that no effect clips.
    ffmpeg -nostdin -hide_banner -loglevel error -y \
        -f lavfi -i "anoisesrc=d=$audioSeconds:c=white:r=48000:a=0.5:seed=1" \
        -f lavfi -i "anoisesrc=d=$audioSeconds:c=white:r=48000:a=0.5:seed=2" \
        -filter_complex "[0:a][1:a]join=inputs=2:channel_layout=stereo" \
        -fflags +bitexact -flags:a +bitexact -c:a pcm_f32le "$noise.partial.wav"
    mv "$noise.partial.wav" "$noise"
fi

# The commands. Settings of the other tools are the nearest to our defaults that they offer:
#   delay   200 ms, dry 0.7, wet 0.3, feedback 0.2  -> FFmpeg aecho, SoX echo (200 ms, 0.3)
#   chorus  21-46 ms swept at 0.2 Hz, wet 0.8       -> 30 ms +- 10 ms (their limit), 0.2 Hz, 0.8
#   flanger 0-5 ms swept at 0.4 Hz, feedback 0.6,
#           wet 0.8, channels a quarter cycle apart -> 0 ms + 5 ms, 60 %, 80 %, 0.4 Hz, sine, 25 %
#   vibrato 0-10 ms swept at 4 Hz                   -> FFmpeg vibrato 4 Hz, depth 0.5
ffmpegAecho="aecho=0.7:1:200:0.3"
ffmpegChorus="chorus=1:1:30:0.8:0.2:10"
ffmpegFlanger="flanger=delay=0:depth=5:regen=60:width=80:speed=0.4"
ffmpegFlanger+=":shape=sinusoidal:phase=25:interp=linear"
ffmpegVibrato="vibrato=f=4:d=0.5"
soxEcho=(echo 0.7 1 200 0.3)
soxChorus=(chorus 1 1 30 0.8 0.2 10 -s)
soxFlanger=(flanger 0 5 60 80 0.4 sine 25 lin)

ours() {
    "$bin/ostrana-fx" render "$noise" "$out/ours.wav" --quiet --tail 0 --block "$block" --node "$@"
}
ffmpegRender() {
    ffmpeg -nostdin -hide_banner -loglevel error -y -i "$noise" "$@" -c:a pcm_f32le \
        "$out/ffmpeg.wav"
}
soxRender() { sox -V1 "$noise" -b 32 -e floating-point "$out/sox.wav" "$@"; }

runCommand() {
    case $1 in
        ours-none) ours AudioEffects.Delay --set enabled=false ;;
        ours-delay) ours AudioEffects.Delay ;;
        ours-pingpong) ours AudioEffects.PingPongDelay ;;
        ours-chorus) ours AudioEffects.Chorus ;;
        ours-flanger) ours AudioEffects.Flanger ;;
        ours-vibrato) ours AudioEffects.Vibrato ;;
        ffmpeg-none) ffmpegRender ;;
        ffmpeg-delay) ffmpegRender -af "$ffmpegAecho" ;;
        ffmpeg-chorus) ffmpegRender -af "$ffmpegChorus" ;;
        ffmpeg-flanger) ffmpegRender -af "$ffmpegFlanger" ;;
        ffmpeg-vibrato) ffmpegRender -af "$ffmpegVibrato" ;;
        sox-none) soxRender ;;
        sox-delay) soxRender "${soxEcho[@]}" ;;
        sox-chorus) soxRender "${soxChorus[@]}" ;;
        sox-flanger) soxRender "${soxFlanger[@]}" ;;
    esac
}
commands=(ours-none ours-delay ours-pingpong ours-chorus ours-flanger ours-vibrato
    ffmpeg-none ffmpeg-delay ffmpeg-chorus ffmpeg-flanger ffmpeg-vibrato
    sox-none sox-delay sox-chorus sox-flanger)

declare -A cpuTimes=()
stderrFile=$out/stderr.txt
# Runs one command, its output discarded; with "keep", adds its cpu time to cpuTimes.
timeCommand() {
    local TIMEFORMAT='%3U %3S' measured user sys
    if ! measured=$( { time runCommand "$1" >/dev/null 2>"$stderrFile"; } 2>&1); then
        echo "compare: $1 failed:" >&2
        cat "$stderrFile" >&2
        exit 1
    fi
    read -r user sys <<<"$measured"
    if [ "$2" = keep ]; then
        cpuTimes[$1]+="$(awk -v u="$user" -v s="$sys" 'BEGIN { printf "%.3f", u + s }') "
    fi
}

median() {
    tr ' ' '\n' <<<"$1" | grep -v '^$' | sort -g |
        awk '{ v[NR] = $1 }
             END { h = int((NR + 1) / 2); m = NR % 2 ? v[h] : (v[h] + v[h + 1]) / 2
                   printf "%.3f", m }'
}
# calc EXPRESSION [VAR=VALUE...]: awk arithmetic on the given values.
calc() {
    local expression=$1
    shift
    local assignments=()
    for a in "$@"; do assignments+=(-v "$a"); done
    awk "${assignments[@]}" "BEGIN { printf \"%s\", $expression }"
}

machine="$(nproc) cpus, $(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //')"
echo
echo "compare: $(date +%F), $machine, load average $(cut -d' ' -f1-3 /proc/loadavg)"
echo "compare: $(c++ --version | head -1); $(ffmpeg -version | head -1 | cut -d' ' -f1-3);" \
    "SoX $(sox --version | sed 's/.*SoX v//')"
echo "compare: ostrana-fx --block $block; $runs runs of each command, medians"
for command in "${commands[@]}"; do timeCommand "$command" warm-up; done
for ((run = 1; run <= runs; run++)); do
    for command in "${commands[@]}"; do timeCommand "$command" keep; done
done
rm -f "$out/ours.wav" "$out/ffmpeg.wav" "$out/sox.wav" "$stderrFile"
declare -A med=()
for command in "${commands[@]}"; do med[$command]=$(median "${cpuTimes[$command]}"); done

ratio() { calc 'sprintf("%.2f", a / b)' "a=$1" "b=$2"; }
rtf() { calc 'sprintf("%.0fx", s / c)' "s=$audioSeconds" "c=$1"; }
# Effect's own cost: cpu time above the tool's no-effect run, per channel-sample, in ns.
own() { calc 'sprintf("%.1f", (c - n) * 1e9 / k)' "c=$1" "n=$2" "k=$channelSamples"; }

printf '\n'
printf '| effect | ours cpu s | FFmpeg cpu s | ours/FFmpeg | SoX cpu s | ours/SoX '
printf '| real-time factor ours / FFmpeg / SoX '
printf '| own cost ns per channel-sample ours / FFmpeg / SoX |\n'
printf '|---|---:|---:|---:|---:|---:|---:|---:|\n'
for effect in none delay pingpong chorus flanger vibrato; do
    o=${med[ours-$effect]}
    f=${med[ffmpeg-$effect]:-}
    s=${med[sox-$effect]:-}
    name=$effect
    case $effect in
        none) name="no effect" ;;
        delay) name="delay (aecho, echo)" ;;
        pingpong) name="ping-pong delay ($(ratio "$o" "${med[ours-delay]}") x our delay)" ;;
    esac
    fRatio=-; sRatio=-; fRtf=-; sRtf=-; fOwn=-; sOwn=-; oOwn=-
    if [ -n "$f" ]; then fRatio=$(ratio "$o" "$f"); fRtf=$(rtf "$f"); fi
    if [ -n "$s" ]; then sRatio=$(ratio "$o" "$s"); sRtf=$(rtf "$s"); fi
    if [ "$effect" != none ]; then
        oOwn=$(own "$o" "${med[ours-none]}")
        if [ -n "$f" ]; then fOwn=$(own "$f" "${med[ffmpeg-none]}"); fi
        if [ -n "$s" ]; then sOwn=$(own "$s" "${med[sox-none]}"); fi
    fi
    printf '| %s | %s | %s | %s | %s | %s | %s / %s / %s | %s / %s / %s |\n' \
        "$name" "$o" "${f:--}" "$fRatio" "${s:--}" "$sRatio" "$(rtf "$o")" "$fRtf" "$sRtf" \
        "$oOwn" "$fOwn" "$sOwn"
done

verdicts=()
# check DESCRIPTION VALUE LIMIT STRICT: whether VALUE <= LIMIT (< LIMIT when STRICT is 1).
check() {
    local verdict
    verdict=$(calc 'ok ? "holds" : sprintf("MISSED by %.1f %%", (v / l - 1) * 100)' \
        "v=$2" "l=$3" "ok=$(calc "(s ? v < l : v <= l) ? 1 : 0" "v=$2" "l=$3" "s=$4")")
    verdicts+=("$1: $verdict ($2 against $3)")
}
check "delay at most 0.7 x FFmpeg aecho" "${med[ours-delay]}" \
    "$(calc '0.7 * f' "f=${med[ffmpeg-delay]}")" 0
check "flanger at most 0.7 x FFmpeg flanger" "${med[ours-flanger]}" \
    "$(calc '0.7 * f' "f=${med[ffmpeg-flanger]}")" 0
check "vibrato at most 0.7 x FFmpeg vibrato" "${med[ours-vibrato]}" \
    "$(calc '0.7 * f' "f=${med[ffmpeg-vibrato]}")" 0
check "chorus at most 0.55 x FFmpeg chorus" "${med[ours-chorus]}" \
    "$(calc '0.55 * f' "f=${med[ffmpeg-chorus]}")" 0
check "delay below SoX echo" "${med[ours-delay]}" "${med[sox-delay]}" 1
check "chorus below SoX chorus" "${med[ours-chorus]}" "${med[sox-chorus]}" 1
check "flanger below SoX flanger" "${med[ours-flanger]}" "${med[sox-flanger]}" 1
check "ping-pong delay at most 1.2 x our delay" "${med[ours-pingpong]}" \
    "$(calc '1.2 * d' "d=${med[ours-delay]}")" 0

if [ "$micro" -eq 1 ]; then
    echo
    echo "compare: node_benchmarks, $reps repetitions, medians of cpu time per channel-sample"
    csv=$("$bin/node_benchmarks" --benchmark_repetitions="$reps" \
        --benchmark_report_aggregates_only=true --benchmark_min_time=0.2 \
        --benchmark_format=csv 2>/dev/null)
    declare -A ns=()
    while IFS=, read -r name value; do ns[$name]=$value; done < <(
        awk -F, '$1 ~ /_median"$/ { name = $1; gsub(/"|_median/, "", name);
                                     printf "%s,%.3f\n", name, $NF * 1e9 }' <<<"$csv")
    # The benchmarks are named by the node types' short names, which ostrana-fx lists.
    mapfile -t nodes < <("$bin/ostrana-fx" list | sed -n 's/^  [^ ]* (\(.*\))$/\1/p')
    printf '\n| node | 32 frames ns | 256 frames ns | 4096 frames ns | 32 / 4096 | 256 frames / sinf floor |\n'
    printf '|---|---:|---:|---:|---:|---:|\n'
    floor=${ns[BareSinfFloor/256]}
    rows=()
    for node in "${nodes[@]}"; do rows+=("$node" "$node-sinf"); done
    for node in "${rows[@]}" VectorSine BareSinfFloor; do
        small=${ns[$node/32]}
        large=${ns[$node/4096]}
        printf '| %s | %s | %s | %s | %s | %s |\n' "$node" "$small" "${ns[$node/256]}" "$large" \
            "$(ratio "$small" "$large")" "$(ratio "${ns[$node/256]}" "$floor")"
    done
    check "in process, delay at 256 frames at most 1.5 ns" "${ns[delay/256]}" 1.5 0
    check "in process, ping-pong delay at 256 frames at most 1.5 ns" \
        "${ns[ping-pong-delay/256]}" 1.5 0
    for node in chorus flanger; do
        check "in process, $node at 256 frames at most 0.85 x the sinf floor" \
            "${ns[$node/256]}" "$(calc '0.85 * f' "f=$floor")" 0
    done
    check "in process, vibrato at 256 frames at most 3.5 ns" "${ns[vibrato/256]}" 3.5 0
    check "in process, vibrato at 256 frames at most 0.65 x the sinf floor" "${ns[vibrato/256]}" \
        "$(calc '0.65 * f' "f=$floor")" 0
    for node in "${nodes[@]}"; do
        check "in process, $node at 32 frames at most 1.25 x at 4096" "${ns[$node/32]}" \
            "$(calc '1.25 * l' "l=${ns[$node/4096]}")" 0
    done
fi

echo
echo "compare: targets (load average now $(cut -d' ' -f1-3 /proc/loadavg))"
missed=0
for verdict in "${verdicts[@]}"; do
    echo "  $verdict"
    case $verdict in *MISSED*) missed=$((missed + 1)) ;; esac
done
if [ "$missed" -ne 0 ]; then
    echo "compare: $missed target(s) missed"
    exit 1
fi
echo "compare: every target holds"
