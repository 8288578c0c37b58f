#!/usr/bin/env bash
# Time and memory of `corridor project create` for a corridor of 50 km: two epochs with a surface model and an orthophoto
# each, of 20,000 x 20,000 cells, with 198 stations along a slanted line (bench/MakeCorridor.cpp tells what is in them).
# Limit: 5 s. Overviews are no part of it, the workbench makes them in the background. Beside it the time that gdalinfo
# takes for the four files, one after the other.
#   bench/create.sh BUILD-FOLDER [WORK-FOLDER] [RUNS]      needs 500 MB in the work folder, which is removed unless given
set -euo pipefail
bin=$1/bin work=${2:-} runs=${3:-5}
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
mkdir -p "$work"
[ -f "$work/complete" ] || { "$bin/bench_make_corridor" "$work" && touch "$work/complete"; }

# Appends "SECONDS KILOBYTES USER" to a file: timed FILE COMMAND ...
timed() {
    local figures=$1
    shift
    /usr/bin/time -o "$work/time" -f '%e %M %U' "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
    cat "$work/time" >>"$figures"
}

echo "run  create (s)  of the limit of 5 s  processor (s)  peak (MB)  gdalinfo of the files (s)"
for run in $(seq "$runs"); do
    rm -rf "$work/project" "$work/figures"
    # shellcheck disable=SC2016 # for the shell inside
    timed "$work/figures" sh -c 'for raster in "$0"/*_d?m.tif; do gdalinfo "$raster"; done' "$work"
    timed "$work/figures" "$bin/corridor" project create "$work/project" --quiet --centerline "$work/line.csv" \
        --epoch "$work/2024-05-18_dsm.tif,$work/2024-05-18_dom.tif" \
        --epoch "$work/2025-05-20_dsm.tif,$work/2025-05-20_dom.tif"
    awk -v run="$run" 'NR == 1 { bare = $1 }
        NR == 2 { printf "%3d  %10.2f  %19.2f  %13.2f  %9.0f  %25.2f\n", run, $1, $1 / 5, $3, $2 / 1024, bare }' \
        "$work/figures"
done
tail -n 1 "$work/log"
