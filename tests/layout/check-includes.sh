#!/usr/bin/env bash
# Fails when a room includes what it must not know: one line for each rule, folders, then the forbidden includes; and when
# a room of an ordered row includes one that stands later in the row.
set -euo pipefail
cd "$1"
status=0

forbid() {
    local rule=$1 pattern=$2 found
    shift 2
    found=$(grep -rnE "^#include [\"<]($pattern)" "$@" || true)
    if [ -n "$found" ]; then
        printf '%s:\n%s\n' "$rule" "$found"
        status=1
    fi
}

# in_order FOLDER ROOM...: the rooms of a folder, lower ones first. A folder that the row leaves out is an error, too.
in_order() {
    local folder=$1 room later
    shift
    if [ "$(printf '%s\n' "$@" | sort)" != "$(find "$folder" -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | sort)" ]; then
        echo "the rooms of $folder are not: $*"
        status=1
    fi
    while [ $# -gt 1 ]; do
        room=$1
        shift
        later=$(IFS='|'; echo "$*")
        forbid "$folder/$room knows no later room" "$folder/($later)/" "$folder/$room"
    done
}

plugin="plugin commands anomaly special region"
forbid "detection knows neither Qt nor the scene" 'Q[A-Z]|osg|host/|workbench/|samples/|cloud/' detect
forbid "point clouds know detection alone" 'Q[A-Z]|osg|host/|workbench/|samples/|cli/|detect/(coregister|search|shape|raster|heights)' cloud
forbid "the sample maker knows neither Qt nor the scene" 'Q[A-Z]|osg|host/|workbench/|detect/' samples
forbid "the globe knows nothing of the product" 'Q[A-Z]|host/|workbench/|detect/|samples/|cli/' globe
forbid "unfinished files know nothing of the product" 'Q[A-Z]|osg|host/|workbench/|detect/|samples/|cli/|gdal|cpl_|ogr' files
forbid "the arguments know nothing of the product" 'Q[A-Z]|osg|host/|workbench/|detect/|samples/|cli/' commandline
forbid "the interfaces know no implementation" 'workbench/|plugin/|detect/|samples/|cli/' host
forbid "the plug-in knows the interfaces only" 'workbench/|detect/|samples/|cli/' $plugin
forbid "the workbench knows no plug-in" 'plugin/|commands/|anomaly/|special/|region/|cli/' workbench
forbid "only the program brings the libraries together" 'workbench/app/' \
    workbench/style workbench/engine workbench/viewmanager workbench/viewer workbench/inspection workbench/inspectiondata
forbid "what is stored and computed knows no other library" 'workbench/(style|engine|viewmanager|viewer|inspection)/' workbench/inspectiondata
forbid "what is stored and computed knows neither windows nor the scene" \
    'osg[A-Z]|host/(style|engine|viewmanager|viewer)/' workbench/inspectiondata
forbid "style, engine and view manager stand alone" 'workbench/(viewer|inspection|inspectiondata)/' \
    workbench/style workbench/engine workbench/viewmanager
forbid "the viewer borrows a text from the data and heights from detection, and nothing else" \
    'workbench/(inspection/|inspectiondata/[^t])|detect/[^h]' workbench/viewer
forbid "the command knows no window" 'workbench/(style|engine|viewmanager|viewer|inspection)/' cli
in_order workbench/inspectiondata text project database compute pipeline pictures creation amendment history check output pieces
in_order workbench/inspection scene layers session tree table images settings account creation context
in_order detect heights raster coregister search shape output
exit $status
