#!/usr/bin/env bash
# Fails when the picture of the rooms in docs/architecture.md is not what includes and links say: each of them must follow
# the arrows, by one or by several, and along each arrow there must be one of them. Dotted arrows stand for neither.
set -euo pipefail
cd "$1"
picture=$(sed -n '/^```mermaid/,/^```$/p' docs/architecture.md)

# "room folder…" for each box, "from to…" for each line of arrows.
boxes=$(sed -nE 's/,//g; s/^ *([a-z]+)\["([a-z /]+)<br>.*/\1 \2/p' <<< "$picture")
arrows=$(sed -nE 's/ &//g; s/^ *([a-z]+) -- *(".*" --)?> (.*)/\1 \3/p' <<< "$picture")
folders=$(cut -d ' ' -f 2- <<< "$boxes")
# shellcheck disable=SC2086 # one word for each folder
includes=$(grep -rEo '^#include ["<](osgEarth|[a-z]+/[A-Za-z]+)' $folders | sed -E 's/:#include ["<]/ /')
# On Windows the plug-in names the libraries that it knows by headers of host/ alone.
links=$(for folder in $folders; do
    [ ! -f "$folder/CMakeLists.txt" ] || sed '/^if(WIN32)/,/^endif/d' "$folder/CMakeLists.txt" |
        grep -oE 'corridor_[a-z]+|Corridor::(Host|Globe)' |
        sed -E "s:^corridor_(cloud|detect|files|samples)$:\1:; s:^corridor_:workbench/:; s:Corridor\:\:(.)(.*):\L\1\2:; s:^:$folder/ :"
done)

awk '
function roomOf(path,   part) {
    split(path, part, "/")
    return room[path ~ /^osgEarth/ ? "globe" : part[1] == "workbench" ? part[1] "/" part[2] : part[1]]
}
FILENAME == ARGV[1] { for (i = 2; i <= NF; ++i) room[$i] = $1 }
FILENAME == ARGV[2] { for (i = 2; i <= NF; ++i) drawn[$1 " " $i] = reached[$1 " " $i] = 1 }
FILENAME == ARGV[3] { from = roomOf($1); to = roomOf($2); if (to && from != to) used[from " " to] = $0 }
END {
    do {
        longer = 0
        for (a in reached) for (b in drawn) {
            split(a, first); split(b, next_)
            if (first[2] == next_[1] && !((first[1] " " next_[2]) in reached)) longer = reached[first[1] " " next_[2]] = 1
        }
    } while (longer)
    for (way in used) if (!(way in reached)) { print "no arrow " way ", but " used[way]; failed = 1 }
    for (way in drawn) if (!(way in used)) { print "an arrow " way ", but neither include nor link"; failed = 1 }
    exit failed
}' <(echo "$boxes") <(echo "$arrows") <(echo "$includes"; echo "$links")
