#!/usr/bin/env python3
"""Scores found changes against those a pair was made with.

    score.py PAIR_FOLDER (RESULT.gpkg | LABELS.tif VOLUMES.csv) [--list]

PAIR_FOLDER is one of make_pair.py. Prints one line:

    recall     share of the known changes of which changes of their sign cover a quarter or more
    precision  share of the found changes a tenth of which, or more, lies on known changes of their sign; those that
               lie on cars, which stand elsewhere but are no ground, are counted apart as spared
    IoU        of each known change that was found, with what was found of it: intersection over union with its whole
               footprint (mean)
    volume     |found - true| / true (median), and the same with its sign, per cent
    fragments  found changes beyond the first on one known change, over all known ones
"""

import csv
import sys

import numpy as np
from osgeo import gdal, ogr

LEAST_COVERED = 0.25
LEAST_MEANT = 0.1


def cells_of(path):
    raster = gdal.Open(path)  # a band does not keep its raster alive
    return raster.GetRasterBand(1).ReadAsArray()


def read_truth(folder):
    with open(f"{folder}/truth.csv") as file:
        rows = list(csv.DictReader(file))
    return rows, gdal.Open(f"{folder}/truth.tif")


def rasterised(path, target):
    """The polygons of a result on the grid of the truth, with sign and volume of each."""
    vectors = ogr.Open(path)
    layer = vectors.GetLayer(0)
    memory = ogr.GetDriverByName("Memory").CreateDataSource("")
    numbered = memory.CreateLayer("numbered", layer.GetSpatialRef(), ogr.wkbPolygon)
    numbered.CreateField(ogr.FieldDefn("number", ogr.OFTInteger))
    found = []
    for feature in layer:
        found.append((1 if feature["kind"] == "fill" else -1, feature["volume_m3"]))
        copy = ogr.Feature(numbered.GetLayerDefn())
        copy["number"] = len(found)
        copy.SetGeometry(feature.GetGeometryRef())
        numbered.CreateFeature(copy)
    raster = gdal.GetDriverByName("MEM").Create("", target.RasterXSize, target.RasterYSize, 1, gdal.GDT_Int32)
    raster.SetGeoTransform(target.GetGeoTransform())
    raster.SetProjection(target.GetProjection())
    gdal.RasterizeLayer(raster, [1], numbered, options=["ATTRIBUTE=number"])
    return raster.GetRasterBand(1).ReadAsArray(), found


def labelled(labels, volumes):
    with open(volumes) as file:
        found = [(int(row["sign"]), float(row["volume_m3"])) for row in csv.DictReader(file)]
    return cells_of(labels), found


def score(rows, truth, found_map, found, spared):
    both = (truth > 0) & (found_map > 0)
    pairs, shared = np.unique(np.stack([truth[both], found_map[both]]), axis=1, return_counts=True)
    true_cells = np.bincount(truth.ravel(), minlength=len(rows) + 1)
    found_cells = np.bincount(found_map.ravel(), minlength=len(found) + 1)
    spared_cells = np.bincount(found_map.ravel(), weights=spared.ravel(), minlength=len(found) + 1)
    parts = [[] for _ in rows]
    meant = np.zeros(len(found) + 1)
    for (t, f), cells in zip(pairs.T, shared):
        if int(rows[t - 1]["sign"]) == found[f - 1][0]:
            parts[t - 1].append((f, cells))
            meant[f] += cells
    good = np.array([meant[f] >= LEAST_MEANT * max(1, found_cells[f]) for f in range(len(found) + 1)])
    excused = [f for f in range(1, len(found) + 1) if not good[f] and spared_cells[f] >= 0.3 * max(1, found_cells[f])]
    false = [f for f in range(1, len(found) + 1) if not good[f] and f not in excused]
    ious, errors, fragments, missed = [], [], 0, []
    for t, row in enumerate(rows, 1):
        own = [(f, cells) for f, cells in parts[t - 1] if good[f] and cells >= LEAST_MEANT * found_cells[f]]
        covered = sum(cells for _, cells in parts[t - 1])
        if covered < LEAST_COVERED * true_cells[t]:
            missed.append(t)
            continue
        fragments += max(0, len(own) - 1)
        union = true_cells[t] + sum(found_cells[f] for f, _ in own) - sum(cells for _, cells in own)
        ious.append(sum(cells for _, cells in own) / union)
        volume = float(row["volume_m3"])
        errors.append((sum(found[f - 1][1] for f, _ in own) - volume) / volume)
    return ious, errors, fragments, missed, false, excused


def main():
    gdal.UseExceptions()
    arguments = [a for a in sys.argv[1:] if not a.startswith("--")]
    rows, target = read_truth(arguments[0])
    truth = target.GetRasterBand(1).ReadAsArray()
    if len(arguments) == 3:
        found_map, found = labelled(arguments[1], arguments[2])
    else:
        found_map, found = rasterised(arguments[1], target)
    spared = cells_of(f"{arguments[0]}/spared.tif")
    ious, errors, fragments, missed, false, excused = score(rows, truth, found_map, found, spared)
    count = max(1, len(found) - len(excused))
    print(f"{1 - len(missed) / len(rows):.3f} {1 - len(false) / count:.3f} {np.mean(ious) if ious else 0:.3f} "
          f"{100 * np.median(np.abs(errors)) if errors else 0:.2f} {100 * np.median(errors) if errors else 0:+.2f} "
          f"{100 * fragments / len(rows):.1f} {len(false)} {len(excused)}")
    if "--list" in sys.argv:
        for t in missed:
            print("  missed", rows[t - 1]["kind"], rows[t - 1]["volume_m3"])
        cells = np.bincount(found_map.ravel(), minlength=len(found) + 1)
        for f in false:
            where = np.argwhere(found_map == f)
            middle = where.mean(axis=0).astype(int) if len(where) else (0, 0)
            print("  false", f, "sign", found[f - 1][0], "cells", cells[f], "volume %.1f" % found[f - 1][1],
                  "row, column", tuple(int(i) for i in middle))


if __name__ == "__main__":
    main()
