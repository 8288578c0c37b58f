#!/usr/bin/env bash
# Time from the start of the workbench to its first complete picture of a project, and the processor time that an idle
# window costs. Limits in the same run: 3 s, and 1 % of one processor.
#   bench/startup.sh BUILD-FOLDER PROJECT [RUNS]
set -euo pipefail
bin=$1/bin project=$2 runs=${3:-5}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export LIBGL_ALWAYS_SOFTWARE=1
screen="-screen 0 1600x1000x24 -noreset"

echo "run  first complete picture (s)  of the limit of 3 s"
for run in $(seq "$runs"); do
    xvfb-run -a -s "$screen" "$bin/corridor-workbench" "$project" --headless "$scratch/$run" >/dev/null 2>"$scratch/log" ||
        { cat "$scratch/log" >&2; exit 1; }
    sed -n 's/.*"start_to_first_picture": *\([0-9.]*\).*/\1/p' "$scratch/$run/summary.json" |
        awk -v run="$run" '{printf "%3d  %26.2f  %17.2f\n", run, $1, $1 / 3}'
done

ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
xvfb-run -a -s "$screen" bash -c '"$0" "$1" >/dev/null 2>&1 & echo $! >"$2"; wait' \
    "$bin/corridor-workbench" "$project" "$scratch/pid" &
display=$!
until [ -s "$scratch/pid" ]; do read -rt 0.1 <> <(:) || true; done
pid=$(cat "$scratch/pid")
# The window is idle once a whole second has cost it next to nothing.
before=-1
for _ in $(seq 60); do
    now=$(ticks "$pid")
    [ "$before" -ge 0 ] && [ $((now - before)) -le 2 ] && break
    before=$now
    sleep 1
done
start=$(ticks "$pid")
sleep 10
echo "idle: $(($(ticks "$pid") - start)) ticks of $((10 * $(getconf CLK_TCK))) in ten seconds"
kill "$pid"
wait "$display" || true
