#!/bin/sh
# Whole-process time and peak memory of `corridor detect` (bias mode, two threads) as a ratio to a bare
# single-thread GDAL read of the same two rasters. Every run is repeated and the fastest counts, for both sides.
#
#     bench/detect.sh BUILD_DIR [WORK_DIR] [REPEATS] [CELLS ...]        default: a folder under /tmp, 3, 8192 16384
#
# WORK_DIR needs about 5 GB for 16384 cells; it is removed at the end unless it was given.
set -eu

build=${1:?usage: bench/detect.sh BUILD_DIR [WORK_DIR] [REPEATS] [CELLS ...]}
work=${2:-}
repeats=${3:-3}
[ $# -gt 3 ] && shift 3 && sizes=$* || sizes="8192 16384"
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi

# seconds and peak kilobytes of the fastest of several runs
fastest() {
    best=""
    peak=0
    i=0
    while [ $i -lt "$repeats" ]; do
        /usr/bin/time -v "$@" >/dev/null 2>"$work/time.log"
        wall=$(sed -n 's/.*Elapsed (wall clock) time.*): //p' "$work/time.log" |
            awk -F: '{ s = 0; for (i = 1; i <= NF; i++) s = s * 60 + $i; print s }')
        kilobytes=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time.log")
        best=$(echo "$wall $best" | awk '{ print (NF < 2 || $1 < $2) ? $1 : $2 }')
        peak=$(echo "$kilobytes $peak" | awk '{ print ($1 > $2) ? $1 : $2 }')
        i=$((i + 1))
    done
    echo "$best $peak"
}

measure() {
    cells=$1
    label=$2
    shift 2
    folder=$work/$cells-$label
    mkdir -p "$folder"
    [ -f "$folder/new.tif" ] || "$build/bin/bench_make_pair" "$cells" "$folder" "$@"
    # Both sides read from a warm page cache.
    cat "$folder/old.tif" "$folder/new.tif" >/dev/null
    read=$(fastest "$build/bin/bench_read_pair" "$folder/old.tif" "$folder/new.tif")
    detect=$(fastest "$build/bin/corridor" detect --old "$folder/old.tif" --new "$folder/new.tif" \
        --out "$folder/result.gpkg" --coregister bias --threads 2 --summary "$folder/summary.json" --quiet)
    anomalies=$(sed -n 's/.*"anomalies": *\([0-9]*\).*/\1/p' "$folder/summary.json")
    echo "$cells $label $read $detect $anomalies" | awk '{
        printf "%-6s %-14s read %6.2f s   detect %6.2f s   ratio %5.2f   peak %4.0f MB   %d anomalies\n",
               $1, $2, $3, $5, $5 / $3, $6 / 1024, $7 }'
}

for cells in $sizes; do
    measure "$cells" uncompressed
    measure "$cells" tiled TILED=YES
    measure "$cells" deflate COMPRESS=DEFLATE
    measure "$cells" deflate-tiled COMPRESS=DEFLATE TILED=YES
done
