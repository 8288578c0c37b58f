#!/usr/bin/env bash
# Fails when the command, which runs on the machines of a cluster, loads windows or the scene.
set -euo pipefail
libraries=$(ldd "$1")
grep -q libcorridor_inspectiondata <<< "$libraries" || { echo "$1 does not load the inspection data"; exit 1; }
if grep -E 'libQt6(Widgets|OpenGL)|libosg|libOpenThreads|libcorridor_(inspection|viewer|style)\.' <<< "$libraries"; then
    echo "these do not belong to $1"
    exit 1
fi
