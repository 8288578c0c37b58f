#!/bin/sh
# Whole-process time and peak memory of `corridor detect` in each mode (two threads) as a ratio to a bare
# single-thread GDAL read of the same two rasters, and of what else does the same work: the GDAL tools and, where
# installed, GRASS. Each of our runs stands beside a read of its own, so that a machine with other work slows both; the
# medians of the ratios of the time that passed and of the processor's time are told. The others run once.
#
#     bench/detect.sh BUILD_DIR [WORK_DIR] [REPEATS] [CELLS ...]        default: a folder under /tmp, 3, 8192 16384
#
# Last comes a pair of 8192 x 8192 cells with about 700 changes and 1000 buildings (bench/pairs/make_pair.py; RELIEF: a
# raster of real relief), in tiles and strips, where python3 has numpy, scipy and GDAL.
#
# WORK_DIR needs about 8 GB for 16384 cells; it is removed at the end unless it was given. PEERS=no leaves the
# others out.
set -eu

build=${1:?usage: bench/detect.sh BUILD_DIR [WORK_DIR] [REPEATS] [CELLS ...]}
work=${2:-}
repeats=${3:-3}
[ $# -gt 3 ] && shift 3 && sizes=$* || sizes="8192 16384"
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi

# One run: seconds that passed, seconds of the processor, peak kilobytes.
timed() {
    /usr/bin/time -f "%e %U %S %M" -o "$work/time.log" "$@" >"$work/run.log" 2>&1 || { cat "$work/run.log" >&2; exit 1; }
    awk '{ print $1, $2 + $3, $4 }' "$work/time.log"
}

# ratios LABEL COMMAND ...: medians over pairs of a read and the command
ratios() {
    label=$1
    shift
    : >"$work/pairs.log"
    i=0
    while [ $i -lt "$repeats" ]; do
        echo "$(timed "$build/bin/bench_read_pair" "$folder/old.tif" "$folder/new.tif") $(timed "$@")" >>"$work/pairs.log"
        i=$((i + 1))
    done
    middle=$(((repeats + 1) / 2))
    passed=$(awk '{ print $4 / $1 }' "$work/pairs.log" | sort -n | sed -n "${middle}p")
    processor=$(awk '{ print $5 / $2 }' "$work/pairs.log" | sort -n | sed -n "${middle}p")
    awk -v label="$label" -v passed="$passed" -v processor="$processor" '{ if ($6 > peak) peak = $6 }
        END { printf "  %-38s ratio %5.2f  of processor time %5.2f  peak %4.0f MB", label, passed, processor, peak / 1024 }' \
        "$work/pairs.log"
}

# seconds and peak kilobytes of the fastest of several runs: fastest TIMES COMMAND ...
fastest() {
    times=$1
    shift
    best=""
    peak=0
    i=0
    while [ $i -lt "$times" ]; do
        /usr/bin/time -v "$@" >"$work/run.log" 2>"$work/time.log" || { cat "$work/time.log" >&2; exit 1; }
        wall=$(sed -n 's/.*Elapsed (wall clock) time.*): //p' "$work/time.log" |
            awk -F: '{ s = 0; for (i = 1; i <= NF; i++) s = s * 60 + $i; print s }')
        kilobytes=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time.log")
        best=$(echo "$wall $best" | awk '{ print (NF < 2 || $1 < $2) ? $1 : $2 }')
        peak=$(echo "$kilobytes $peak" | awk '{ print ($1 > $2) ? $1 : $2 }')
        i=$((i + 1))
    done
    echo "$best $peak"
}

# line LABEL "SECONDS PEAK" REMARK
line() {
    echo "$2 $base" | awk -v label="$1" -v remark="$3" '{
        printf "  %-34s %8.2f s  ratio %6.2f  peak %5.0f MB  %s\n", label, $1, $1 / $3, $2 / 1024, remark }'
}

ours() {
    label=$1
    new=$2
    shift 2
    ratios "$label" "$build/bin/corridor" detect --old "$folder/old.tif" --new "$new" --threads 2 \
        --out "$work/result.gpkg" --summary "$work/summary.json" --quiet "$@"
    sed -n 's/.*"anomalies": *\([0-9]*\).*/  \1 anomalies/p' "$work/summary.json"
}

gdal_chain() {
    rm -f "$work"/classes.tif "$work"/sieved.tif "$work"/polygons.gpkg
    gdal_calc.py --quiet -A "$folder/old.tif" -B "$folder/new.tif" --outfile="$work/classes.tif" --type=Byte \
        --calc="(B-A-0.15>=0.25)*1+(B-A-0.15<=-0.25)*2"
    gdal_sieve.py -q -st 64 -4 "$work/classes.tif" "$work/sieved.tif"
    gdal_polygonize.py -q "$work/sieved.tif" -f GPKG "$work/polygons.gpkg"
}

grass_chain() {
    r.in.gdal --quiet input="$folder/old.tif" output=old
    r.in.gdal --quiet input="$folder/new.tif" output=new
    g.region raster=old
    r.mapcalc --quiet "classes = if(new-old-0.15>=0.25,1,if(new-old-0.15<=-0.25,2,null()))"
    r.clump --quiet input=classes output=clumps
    r.to.vect --quiet input=clumps output=polygons type=area
    v.out.ogr --quiet input=polygons output="$work/grass.gpkg" format=GPKG --overwrite
}

peers() {
    [ "${PEERS:-yes}" = yes ] || return 0
    command -v gdal_calc.py >/dev/null &&
        line "GDAL tools (calc, sieve, polygonize)" "$(fastest 1 sh "$0" --gdal-chain "$folder" "$work")" ""
    if command -v grass >/dev/null; then
        line "GRASS (r.in.gdal .. r.to.vect)" \
            "$(fastest 1 grass --tmp-location "$folder/old.tif" --exec sh "$0" --grass-chain "$folder" "$work")" ""
    else
        echo "  GRASS is not installed here"
    fi
}

measure() {
    cells=$1
    label=$2
    shift 2
    folder=$work/$cells-$label
    mkdir -p "$folder"
    [ -f "$folder/moved.tif" ] || "$build/bin/bench_make_pair" "$cells" "$folder" "$@"
    # All sides read from a warm page cache.
    cat "$folder"/*.tif >/dev/null
    echo "$cells x $cells cells, $label"
    base=$(fastest "$repeats" "$build/bin/bench_read_pair" "$folder/old.tif" "$folder/new.tif")
    line "bare read, one thread" "$base" ""
    ours "detect --coregister none" "$folder/new.tif" --coregister none
    ours "detect --coregister bias" "$folder/new.tif" --coregister bias
    ours "detect --coregister full" "$folder/new.tif" --coregister full
    ours "detect --coregister full, moved" "$folder/moved.tif" --coregister full
    ours "detect --coregister bias, significance" "$folder/new.tif" --coregister bias --confidence 0.999
    peers
}

many_changes() {
    python=${PYTHON:-/usr/bin/python3}
    made=$work/many
    [ -f "$made/truth.csv" ] || "$python" "$(dirname "$0")/pairs/make_pair.py" noise "$made" --cells 8192 --per-km2 42 \
        --tiled ${RELIEF:+--relief "$RELIEF"} || return 0
    for layout in "tiles" "tiles, DEFLATE" "strips" "strips, DEFLATE"; do
        folder=$work/many-$(echo "$layout" | tr -d ', ')
        mkdir -p "$folder"
        options=""
        case $layout in tiles*) options="-co TILED=YES" ;; esac
        case $layout in *DEFLATE) options="$options -co COMPRESS=DEFLATE" ;; esac
        for epoch in old new; do
            # shellcheck disable=SC2086
            [ -f "$folder/$epoch.tif" ] || gdal_translate -q $options "$made/$epoch.tif" "$folder/$epoch.tif"
        done
        cat "$folder"/*.tif >/dev/null
        echo "8192 x 8192 cells, 700 changes, $layout"
        base=$(fastest "$repeats" "$build/bin/bench_read_pair" "$folder/old.tif" "$folder/new.tif")
        line "bare read, one thread" "$base" ""
        for method in bias full local auto; do
            ours "detect --coregister $method" "$folder/new.tif" --threshold 0.3 --coregister $method
        done
    done
}

case $build in
--gdal-chain | --grass-chain)
    folder=$2
    work=$3
    [ "$build" = --gdal-chain ] && gdal_chain || grass_chain
    exit
    ;;
esac
for cells in $sizes; do
    measure "$cells" uncompressed
    measure "$cells" deflate COMPRESS=DEFLATE
    measure "$cells" deflate-tiled COMPRESS=DEFLATE TILED=YES
done
many_changes
