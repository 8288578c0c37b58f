#!/bin/sh
# Detection on a sample corridor against its known changes: as surveyed, with 0.4 m of bias between the epochs and
# no-data holes of different values (one of them NaN), and with a new epoch of other cell size and extent and in the
# next projection zone. Prints a table for each; exit status 0 when all reach recall and precision 0.95 and volumes
# within 5 %.
#
#     bench/truth.sh BUILD_DIR SAMPLE_PROJECT          a project made by `corridor sample`
set -eu

build=${1:?usage: bench/truth.sh BUILD_DIR SAMPLE_PROJECT}
project=${2:?usage: bench/truth.sh BUILD_DIR SAMPLE_PROJECT}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
old=$(ls "$project"/epochs/*/dsm.tif | head -n 1)
new=$(ls "$project"/epochs/*/dsm.tif | tail -n 1)
status=0

score() {
    echo "== $1"
    "$build/bin/corridor" detect --old "$2" --new "$3" --out "$work/result.gpkg" --quiet
    "$build/bin/bench_score_truth" "$project/truth.gpkg" "$work/result.gpkg" || status=1
}

score "as surveyed" "$old" "$new"

"$build/bin/bench_degrade" "$old" "$work/old.tif" 0 nan
"$build/bin/bench_degrade" "$new" "$work/new.tif" 0.4 -9999
score "0.4 m of bias, holes NaN and -9999" "$work/old.tif" "$work/new.tif"

gdalwarp -q -overwrite -r bilinear -tr 0.4 0.4 "$new" "$work/coarse.tif"
score "new epoch in cells of 0.4 m" "$old" "$work/coarse.tif"

gdalwarp -q -overwrite -r bilinear -tr 0.2 0.2 -t_srs EPSG:4546 "$new" "$work/zone.tif"
score "new epoch in the next projection zone, cells of 0.2 m" "$old" "$work/zone.tif"

exit $status
