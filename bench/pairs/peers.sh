#!/bin/sh
# What the tools of GDAL and GRASS make of a pair of make_pair.py by themselves: new heights on the old grid by cubic
# convolution, one vertical offset, the threshold of 0.3 m, connected cells of one sign of at least 4 m2.
#
#     bench/pairs/peers.sh gdal|grass FOLDER      writes gdal-labels.tif and gdal-volumes.csv, or grass-...
#
# Needs gdal-bin, python3-gdal; grass-core for the second.
set -eu

tool=$1
folder=$2
here=$(cd "$(dirname "$0")" && pwd)
python=${PYTHON:-/usr/bin/python3}

gdal_chain() {
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    extent=$(gdalinfo -json "$folder/old.tif" | "$python" -c 'import json, sys
i = json.load(sys.stdin); c = i["cornerCoordinates"]
print(*c["lowerLeft"], *c["upperRight"], "-ts", *i["size"])')
    # shellcheck disable=SC2086
    gdalwarp -q -r cubic -te $extent -dstnodata -9999 "$folder/new.tif" "$work/new.tif"
    gdal_calc.py --quiet -A "$folder/old.tif" -B "$work/new.tif" --outfile="$work/dz.tif" --calc="B-A"
    mean=$(gdalinfo -stats "$work/dz.tif" | sed -n 's/.*STATISTICS_MEAN=//p')
    gdal_calc.py --quiet -A "$work/dz.tif" --outfile="$work/classes.tif" --type=Byte --NoDataValue=0 \
        --calc="1*(A-$mean>=0.3)+2*(A-$mean<=-0.3)"
    gdal_sieve.py -q -st 16 -4 "$work/classes.tif" "$work/sieved.tif"
    gdal_polygonize.py -q "$work/sieved.tif" -f GPKG "$work/polygons.gpkg" zones class
    "$python" "$here/zones.py" "$work/dz.tif" "$mean" "$work/polygons.gpkg" "$folder/gdal"
}

# Inside a session of GRASS.
grass_chain() {
    r.in.gdal --quiet input="$folder/old.tif" output=old
    r.in.gdal --quiet input="$folder/new.tif" output=new_own
    g.region raster=old
    r.resamp.interp --quiet input=new_own output=new method=bicubic
    r.mapcalc --quiet "dz = new - old"
    eval "$(r.univar -g -e map=dz | grep '^median=')"
    r.mapcalc --quiet "classes = if(dz - $median >= 0.3, 1, if(dz - $median <= -0.3, 2, null()))"
    r.clump --quiet input=classes output=clumps
    r.out.gdal -f --quiet --overwrite input=dz output="$folder/grass-dz.tif" type=Float32 nodata=-9999
    r.out.gdal -f --quiet --overwrite input=clumps output="$folder/grass-clumps.tif" type=Int32 nodata=0
    "$python" "$here/zones.py" "$folder/grass-dz.tif" "$median" "$folder/grass-clumps.tif" "$folder/grass"
    rm -f "$folder"/grass-dz.tif* "$folder"/grass-clumps.tif*
}

case $tool in
gdal) gdal_chain ;;
grass) grass --tmp-location "$folder/old.tif" --exec sh "$0" in-grass "$folder" ;;
in-grass) grass_chain ;;
esac
