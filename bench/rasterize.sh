#!/bin/sh
# Whole-process time and peak memory of `corridor rasterize` on two processors, as a ratio to a bare read of all points
# in one thread (LASzip's where the build has it), for clouds of growing size: the ratio should stay below 1.3 and the
# memory below 500 MB, whatever the size. Beside it CloudCompare, where installed, which gets 20 million points as PLY:
# Debian's reads no LAS. Ours and the read take turns and the fastest of each counts; the other runs once.
#
#     bench/rasterize.sh BUILD_DIR [WORK_DIR] [REPEATS] [MILLIONS ...]      default: a folder under /tmp, 3, 10 50 100
#
# WORK_DIR needs 5 GB for 100 million points; it is removed at the end unless it was given. PEERS=no leaves the other
# out.
set -eu

build=${1:?usage: bench/rasterize.sh BUILD_DIR [WORK_DIR] [REPEATS] [MILLIONS ...]}
work=${2:-}
repeats=${3:-3}
[ $# -gt 3 ] && shift 3 && sizes=$* || sizes="10 50 100"
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
rasterize="taskset -c 0,1 $build/bin/corridor rasterize --quiet --out $work/dsm.tif"

# Appends "SECONDS KILOBYTES USER SYSTEM" of a run to a file: timed FILE COMMAND ...
timed() {
    figures=$1
    shift
    /usr/bin/time -o "$work/time" -f '%e %M %U %S' "$@" >"$work/run.log" 2>&1 || { cat "$work/run.log" >&2; exit 1; }
    cat "$work/time" >>"$figures"
}

# line LABEL FIGURES BASE: the fastest run beside the fastest of the base
line() {
    base=$(sort -n "$3" | head -n 1 | cut -d ' ' -f 1)
    sort -n "$2" | awk -v label="$1" -v base="$base" '
        NR == 1 { seconds = $1; processor = $3 + $4 }
        $2 > peak { peak = $2 }
        END {
            printf "  %-36s %7.2f s  ratio %5.2f  processor %7.2f s  peak %4.0f MB\n",
                label, seconds, seconds / base, processor, peak / 1024
        }'
}

# A cloud that is kept from run to run in a given WORK_DIR: cloud MILLIONS ENDING
cloud() {
    [ -f "$work/$1.$2" ] || "$build/bin/bench_make_cloud" "${1}000000" "$work/$1.$2" || rm -f "$work/$1.$2"
    [ -f "$work/$1.$2" ]
}

measure() {
    ending=laz
    cloud "$1" laz || { ending=las && cloud "$1" las; }
    file=$work/$1.$ending
    rm -f "$work/read" "$work/highest" "$work/percentile"
    for run in $(seq "$repeats"); do
        cat "$file" >/dev/null # all read from a warm page cache
        timed "$work/read" "$build/bin/bench_read_cloud" "$file"
        # shellcheck disable=SC2086 # one word for each argument
        timed "$work/highest" $rasterize "$file"
        # shellcheck disable=SC2086
        timed "$work/percentile" $rasterize --percentile 95 "$file"
    done
    echo "$1 million points, $ending, load $(cut -d ' ' -f 1 /proc/loadavg), fastest of $run"
    line "bare read, one thread" "$work/read" "$work/read"
    line "corridor rasterize" "$work/highest" "$work/read"
    line "corridor rasterize --percentile 95" "$work/percentile" "$work/read"
}

peer() {
    [ "${PEERS:-yes}" = yes ] || return 0
    command -v CloudCompare >/dev/null || { echo "  CloudCompare is not installed here"; return 0; }
    measure 20
    cloud 20 ply
    cloud 20 las
    rm -f "$work/peer" "$work/plain"
    cat "$work/20.las" "$work/20.ply" >/dev/null
    # shellcheck disable=SC2086
    timed "$work/plain" $rasterize "$work/20.las"
    timed "$work/peer" env QT_QPA_PLATFORM=offscreen HOME="$work" CloudCompare -SILENT -AUTO_SAVE OFF \
        -O "$work/20.ply" -RASTERIZE -GRID_STEP 0.5 -PROJ MAX -OUTPUT_CLOUD
    line "corridor rasterize, from LAS" "$work/plain" "$work/read"
    line "CloudCompare -RASTERIZE, from PLY" "$work/peer" "$work/read"
}

for millions in $sizes; do
    measure "$millions"
done
peer
