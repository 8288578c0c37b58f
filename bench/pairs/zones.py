#!/usr/bin/env python3
"""Zones that another tool found, as score.py reads them.

    zones.py DZ.tif OFFSET (ZONES.gpkg | CLUMPS.tif) OUT      writes OUT-labels.tif and OUT-volumes.csv

A zone must have 16 cells; its sign and volume are those of dZ less the offset, summed over its cells.
"""

import csv
import sys

import numpy as np
from osgeo import gdal, ogr

LEAST_CELLS = 16


def zones_of(path, target):
    if not path.endswith(".gpkg"):
        return np.maximum(gdal.Open(path).ReadAsArray(), 0)
    vectors = ogr.Open(path)
    raster = gdal.GetDriverByName("MEM").Create("", target.RasterXSize, target.RasterYSize, 1, gdal.GDT_Int32)
    raster.SetGeoTransform(target.GetGeoTransform())
    raster.SetProjection(target.GetProjection())
    memory = ogr.GetDriverByName("Memory").CreateDataSource("")
    numbered = memory.CreateLayer("numbered", vectors.GetLayer(0).GetSpatialRef(), ogr.wkbPolygon)
    numbered.CreateField(ogr.FieldDefn("number", ogr.OFTInteger))
    for number, zone in enumerate((z for z in vectors.GetLayer(0) if z["class"] > 0), 1):
        copy = ogr.Feature(numbered.GetLayerDefn())
        copy["number"] = number
        copy.SetGeometry(zone.GetGeometryRef())
        numbered.CreateFeature(copy)
    gdal.RasterizeLayer(raster, [1], numbered, options=["ATTRIBUTE=number"])
    return raster.GetRasterBand(1).ReadAsArray()


def main():
    gdal.UseExceptions()
    dz_path, offset, zone_path, out = sys.argv[1:]
    file = gdal.Open(dz_path)
    dz = file.GetRasterBand(1).ReadAsArray().astype(np.float64)
    dz = np.where(dz == file.GetRasterBand(1).GetNoDataValue(), 0.0, dz - float(offset))
    zones = zones_of(zone_path, file)
    dz[zones == 0] = 0.0
    cells = np.bincount(zones.ravel())
    sums = np.bincount(zones.ravel(), weights=dz.ravel())
    large = [z for z in range(1, len(cells)) if cells[z] >= LEAST_CELLS and sums[z] != 0.0]
    numbers = np.zeros(len(cells), np.int32)
    numbers[large] = np.arange(1, len(large) + 1)
    copy = gdal.GetDriverByName("GTiff").Create(f"{out}-labels.tif", file.RasterXSize, file.RasterYSize, 1,
                                                gdal.GDT_Int32, ["COMPRESS=DEFLATE"])
    copy.SetGeoTransform(file.GetGeoTransform())
    copy.GetRasterBand(1).WriteArray(numbers[zones])
    area = abs(file.GetGeoTransform()[1] * file.GetGeoTransform()[5])
    with open(f"{out}-volumes.csv", "w", newline="") as table:
        writer = csv.writer(table)
        writer.writerow(["number", "sign", "volume_m3"])
        writer.writerows([n, int(np.sign(sums[z])), abs(sums[z]) * area] for n, z in enumerate(large, 1))


if __name__ == "__main__":
    main()
