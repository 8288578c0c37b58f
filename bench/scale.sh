#!/usr/bin/env bash
# Time and memory of a project of a thousand kilometres beside those of smaller ones: 1,000, 10,000 and 100,000 anomalies
# with a twenty-fifth as many stations and a fifth as many special objects, over one sample's rasters (bench/make_line.py).
# First the windows, with the tables in SQLite and on a MariaDB server (bench/LongLine.cpp), then the commands. Each figure
# stands with its growth over the size before it, of which ten times is linear.
#   bench/scale.sh BUILD-FOLDER [WORK-FOLDER]      at most 20 minutes on two processors; needs 1 GB in the work folder
set -euo pipefail
bin=$(realpath "$1/bin") bench=$(dirname "$(realpath "$0")") work=${2:-}
if [ -z "$work" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
mkdir -p "$work"
export LIBGL_ALWAYS_SOFTWARE=1
sizes="1000 10000 100000"

if [ ! -f "$work/sample/complete" ]; then
    "$bin/corridor" sample "$work/sample" --size 4096 --quiet
    "$bin/corridor" compute "$work/sample" >/dev/null 2>&1
    touch "$work/sample/complete"
fi

# A fresh project of so many anomalies: fresh ANOMALIES
fresh() {
    rm -rf "$work/line"
    cp -r "$work/sample" "$work/line"
    python3 "$bench/make_line.py" "$work/line" $(($1 / 25)) "$1" $(($1 / 5))
}

# Appends "NAME<tab>SECONDS<tab>MEGABYTES" to a file: timed FILE NAME COMMAND ...
timed() {
    local file=$1 name=$2 status=0
    shift 2
    /usr/bin/time -o "$work/time" -f '%e %M' "$@" >"$work/log" 2>&1 || status=$?
    [ $status = 0 ] || { cat "$work/log" >&2; return $status; }
    awk -v name="$name" '{printf "%s\t%.2f\t%.0f\n", name, $1, $2 / 1024}' "$work/time" >>"$file"
}

# The bench's lines in the same form: windows FILE [--server]
windows() {
    local file=$1
    shift
    xvfb-run -a -s "-screen 0 1600x1000x24 -noreset" "$bin/bench_long_line" "$work/line" "$@" >"$work/figures" 2>"$work/log" ||
        { tail -n 20 "$work/log" >&2; exit 1; }
    sed -n 's/^\(.*[^ ]\)  *\([0-9.]*\) s  *[0-9.]* s  *peak  *\([0-9]*\) MB$/\1\t\2\t\3/p' "$work/figures" >>"$file"
}

commands() {
    timed "$1" "check" "$bin/corridor" check "$work/line"
    timed "$1" "info" "$bin/corridor" info "$work/line"
    rm -rf "$work/shapes"
    timed "$1" "shape" "$bin/corridor" shape "$work/line" --out "$work/shapes"
    # Of the same number of anomalies in each, so that these figures are to stay the same.
    timed "$1" "report of 8 stations" "$bin/corridor" report "$work/line" --out "$work/report.pdf" --stations 1-8
    rm -f "$work/report.pdf"
}

for size in $sizes; do
    rm -f "$work/sqlite.$size" "$work/server.$size" "$work/commands.$size"
    fresh "$size"
    commands "$work/commands.$size"
    windows "$work/sqlite.$size"
    fresh "$size"
    windows "$work/server.$size" --server
done

# Lines of the three sizes side by side; names may repeat, as the undo of two edits does.
table() {
    echo "| $1 | 1,000 | 10,000 | 100,000 | memory |"
    echo "|---|---|---|---|---|"
    paste -d '\t' "$work/$2.1000" "$work/$2.10000" "$work/$2.100000" |
        awk -F '\t' 'function grown(now, before) { return before < 0.005 ? "" : sprintf(" (×%.1f)", now / before) }
            { printf "| %s | %.2f s | %.2f s%s | %.2f s%s | %d MB |\n",
              $1, $2, $5, grown($5, $2), $8, grown($8, $5), $9 }'
    echo
}
table "in the windows, SQLite" sqlite
table "in the windows, MariaDB" server
table "commands" commands
