#!/usr/bin/env bash
# Fails when a document points at a file that is not there, or when plugin/README.md leaves a tool out.
set -euo pipefail
cd "$1"
status=0

for document in *.md plugin/*.md docs/*.md docs/decisions/*.md; do
    while read -r target; do
        [ -e "$(dirname "$document")/$target" ] || { echo "$document points at $target, which is not there"; status=1; }
    done < <(grep -oE '\]\([^)#]+' "$document" | cut -c 3- | grep -v '^https\?:')
done

while read -r tool; do
    grep -q "^|.*\[\`$tool\`\]" plugin/README.md || { echo "plugin/README.md has no row for $tool"; status=1; }
done < <(sed -nE 's/^ *add<([A-Za-z]+)>.*/\1/p' plugin/Create.cpp)
exit $status
