#!/bin/sh
# Draws the PNG files from their SVG sources (rsvg-convert, package librsvg2-bin). Run after changing a source.
set -eu
cd "$(dirname "$0")"
for source in svg/*.svg; do
    name=$(basename "$source" .svg)
    case $name in
    Place*) rsvg-convert -w 32 -h 32 "$source" -o "icon/$name.png" ;;
    *) rsvg-convert -w 64 -h 64 "$source" -o "images/$name.png" ;;
    esac
done
