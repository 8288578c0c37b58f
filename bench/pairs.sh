#!/bin/sh
# Detection on made pairs with known changes, beside what a plain script and the tools of GDAL and GRASS do with them:
# the table of docs/detection.md. Needs python3 with numpy, scipy and GDAL (Debian: python3-numpy python3-scipy
# python3-gdal); gdal-bin and grass-core for the tools.
#
#     bench/pairs.sh BUILD_DIR [WORK_DIR] [KIND ...]      default: a folder under /tmp, every kind
#
# RELIEF: a raster of real relief (a fractal without); SEEDS: how many pairs of each kind (2); CELLS: their side
# (2048); FIRST: the first pair's seed (1; nothing was tuned on those below 11); OPTIONS: of `corridor detect` besides
# the threshold of 0.3 m; SCRIPT=no leaves the script out, TOOLS=no those of GDAL and GRASS.
set -eu

build=${1:?usage: bench/pairs.sh BUILD_DIR [WORK_DIR] [KIND ...]}
work=${2:-}
[ $# -gt 1 ] && shift 2 || shift 1
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
here=$(cd "$(dirname "$0")" && pwd)/pairs
python=${PYTHON:-/usr/bin/python3}
kinds=${*:-$("$python" "$here/make_pair.py" list)}

tools=""
if [ "${TOOLS:-yes}" = yes ]; then
    command -v gdal_calc.py >/dev/null && tools=gdal
    command -v grass >/dev/null && tools="$tools grass"
fi

line() {
    awk -v who="$1" -v kind="$2" '{ for (i = 1; i <= NF; i++) sum[i] += $i; n++ }
        END { printf "%-11s %-8s %6.3f %9.3f %6.3f %8.2f %8.2f %9.1f %6d %7d\n", kind, who, sum[1] / n, sum[2] / n,
              sum[3] / n, sum[4] / n, sum[5] / n, sum[6] / n, sum[7], sum[8] }' "$3"
}

printf '%-11s %-8s %6s %9s %6s %8s %8s %9s %6s %7s\n' pair by recall precision IoU "|dV|/V%" "dV/V%" fragments% false spared
for kind in $kinds; do
    rm -f "$work/ours-$kind" "$work/script-$kind" "$work/gdal-$kind" "$work/grass-$kind"
    first=${FIRST:-1}
    for seed in $(seq "$first" $((first + ${SEEDS:-2} - 1))); do
        pair=$work/$kind-${CELLS:-2048}-$seed
        [ -f "$pair/truth.csv" ] ||
            "$python" "$here/make_pair.py" "$kind" "$pair" --cells "${CELLS:-2048}" --seed "$seed" ${RELIEF:+--relief "$RELIEF"}
        # shellcheck disable=SC2086
        "$build/bin/corridor" detect --old "$pair/old.tif" --new "$pair/new.tif" --threshold 0.3 --threads 2 \
            --out "$pair/found.gpkg" --summary "$pair/summary.json" --quiet ${OPTIONS:-}
        "$python" "$here/score.py" "$pair" "$pair/found.gpkg" >>"$work/ours-$kind"
        for tool in $tools; do
            [ -f "$pair/$tool-labels.tif" ] || "$here/peers.sh" "$tool" "$pair" >"$pair/$tool.log" 2>&1
            "$python" "$here/score.py" "$pair" "$pair/$tool-labels.tif" "$pair/$tool-volumes.csv" >>"$work/$tool-$kind"
        done
        [ "${SCRIPT:-yes}" = yes ] || continue
        [ -f "$pair/labels.tif" ] || "$python" "$here/plain_chain.py" "$pair/old.tif" "$pair/new.tif" "$pair/labels.tif" "$pair/volumes.csv" >"$pair/script.log"
        "$python" "$here/score.py" "$pair" "$pair/labels.tif" "$pair/volumes.csv" >>"$work/script-$kind"
    done
    line corridor "$kind" "$work/ours-$kind"
    for tool in $tools; do
        line "$tool" "$kind" "$work/$tool-$kind"
    done
    [ "${SCRIPT:-yes}" != yes ] || line script "$kind" "$work/script-$kind"
done
