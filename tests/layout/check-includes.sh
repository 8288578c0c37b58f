#!/usr/bin/env bash
# Fails when a room includes what it must not know. One line for each rule: folders, then the forbidden includes.
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

plugin="plugin commands anomaly special region"
forbid "detection knows neither Qt nor the scene" 'Q[A-Z]|osg|host/|workbench/|samples/' detect
forbid "the sample maker knows neither Qt nor the scene" 'Q[A-Z]|osg|host/|workbench/|detect/' samples
forbid "the globe knows nothing of the product" 'Q[A-Z]|host/|workbench/|detect/|samples/|cli/' globe
forbid "the interfaces know no implementation" 'workbench/|plugin/|detect/|samples/|cli/' host
forbid "the plug-in knows the interfaces only" 'workbench/|detect/|samples/|cli/' $plugin
forbid "the workbench knows no plug-in" 'plugin/|commands/|anomaly/|special/|region/|cli/' workbench
forbid "only the program brings the libraries together" 'workbench/app' workbench/style workbench/engine workbench/viewmanager workbench/viewer workbench/inspection
forbid "style, engine and view manager stand alone" 'workbench/(viewer|inspection)' workbench/style workbench/engine workbench/viewmanager
exit $status
