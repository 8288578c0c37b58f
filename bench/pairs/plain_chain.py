#!/usr/bin/env python3
"""What a surveyor with numpy, scipy and GDAL would write: the measure that `corridor detect` is held against.

    plain_chain.py OLD.tif NEW.tif LABELS.tif VOLUMES.csv [--threshold 0.3] [--min-area 4] [--local]

Cubic resampling onto the old grid, a robust fit of shift and plane (Nuth & Kääb 2011; Tukey's biweight), connected
cells of one sign at the threshold that hold a block of 3 x 3 cells. --local takes smoothed block medians off besides.
LABELS.tif holds the number of the change at each cell, VOLUMES.csv number, sign and volume.
"""

import argparse
import csv

import numpy as np
from osgeo import gdal
from scipy import ndimage


def read(dataset):
    band = dataset.GetRasterBand(1)
    heights = band.ReadAsArray().astype(np.float64)
    heights[heights == band.GetNoDataValue()] = np.nan
    return heights


def onto(path, target, shift):
    """The new epoch on the old grid, moved by so many metres."""
    transform = target.GetGeoTransform()
    moved = gdal.Translate("", path, format="MEM")
    origin = list(moved.GetGeoTransform())
    origin[0] += shift[0]
    origin[3] += shift[1]
    moved.SetGeoTransform(origin)
    bounds = (transform[0], transform[3] + transform[5] * target.RasterYSize,
              transform[0] + transform[1] * target.RasterXSize, transform[3])
    return read(gdal.Warp("", moved, format="MEM", outputBounds=bounds, width=target.RasterXSize,
                          height=target.RasterYSize, resampleAlg="cubic", dstNodata=-9999.0))


def nmad(values):
    return 1.4826 * np.median(np.abs(values - np.median(values)))


def fit(old, new, cell):
    """Shift east and north, bias and plane of what is left, by reweighted least squares on evenly spread cells."""
    north, east = np.gradient(0.5 * (old + new), cell)
    rows, columns = np.mgrid[0:old.shape[0], 0:old.shape[1]]
    pick = (slice(None, None, 3), slice(None, None, 3))
    x = columns[pick].ravel() / old.shape[1] - 0.5
    y = rows[pick].ravel() / old.shape[0] - 0.5
    design = np.column_stack([east[pick].ravel(), -north[pick].ravel(), np.ones(x.size), x, y])
    dz = (new - old)[pick].ravel()
    good = np.isfinite(dz) & np.isfinite(design).all(axis=1) & (np.hypot(design[:, 0], design[:, 1]) < 1.0)
    design, dz = design[good], dz[good]
    found = np.zeros(5)
    left = dz - np.median(dz)
    for _ in range(15):
        reach = 4.685 * max(nmad(left), 1e-6)
        weight = np.maximum(1.0 - (left / reach) ** 2, 0.0) ** 2
        found = np.linalg.solve(design.T @ (design * weight[:, None]), design.T @ (weight * dz))
        left = dz - design @ found
    return found, nmad(left)


def coregister(path, target, old, cell):
    shift = np.zeros(2)
    new = onto(path, target, shift)
    for _ in range(6):
        found, _ = fit(old, new, cell)
        shift += found[:2]
        new = onto(path, target, shift)
        if np.hypot(*found[:2]) < 0.005 * cell:
            break
    found, scatter = fit(old, new, cell)
    rows, columns = np.mgrid[0:old.shape[0], 0:old.shape[1]]
    plane = found[2] + found[3] * (columns / old.shape[1] - 0.5) + found[4] * (rows / old.shape[0] - 0.5)
    return new - old - plane, shift, scatter


def local_field(dz, threshold, side=32):
    """Medians of blocks, changed ground left out, blurred and laid over the cells."""
    field = np.zeros_like(dz)
    rows, columns = (n // side for n in dz.shape)
    for _ in range(3):
        left = dz - field
        changed = ndimage.binary_dilation(
            ndimage.binary_opening(np.abs(np.nan_to_num(left)) > threshold, np.ones((3, 3))), iterations=8)
        left = np.where(changed, np.nan, left)[:rows * side, :columns * side]
        blocks = left.reshape(rows, side, columns, side).transpose(0, 2, 1, 3).reshape(rows, columns, -1)
        enough = np.isfinite(blocks).mean(axis=2) > 0.25
        medians = np.zeros((rows, columns))
        medians[enough] = np.nanmedian(blocks[enough], axis=1)
        nearest = ndimage.distance_transform_edt(~enough, return_distances=False, return_indices=True)
        medians = ndimage.gaussian_filter(ndimage.median_filter(medians[tuple(nearest)], 3), 0.7)
        r = (np.arange(dz.shape[0])[:, None] + 0.5) / side - 0.5
        c = (np.arange(dz.shape[1])[None, :] + 0.5) / side - 0.5
        field += ndimage.map_coordinates(medians, np.broadcast_arrays(r, c), order=1, mode="nearest")
    return field


def changes(dz, threshold, least_cells):
    labels = np.zeros(dz.shape, np.int32)
    volumes = []
    for sign in (1.0, -1.0):
        strong = np.nan_to_num(sign * dz) >= threshold
        parts, count = ndimage.label(strong)
        core = ndimage.binary_erosion(strong, np.ones((3, 3)))
        numbers = np.arange(1, count + 1)
        good = (ndimage.sum(core, parts, numbers) > 0) & (ndimage.sum(strong, parts, numbers) >= least_cells)
        sums = ndimage.sum(np.nan_to_num(np.abs(dz)), parts, numbers)
        renumbered = np.zeros(count + 1, np.int32)
        for number in numbers[good]:
            volumes.append((int(sign), sums[number - 1]))
            renumbered[number] = len(volumes)
        labels = np.where(renumbered[parts] > 0, renumbered[parts], labels)
    return labels, volumes


def main():
    parser = argparse.ArgumentParser()
    for name in ("old", "new", "labels", "volumes"):
        parser.add_argument(name)
    parser.add_argument("--threshold", type=float, default=0.3)
    parser.add_argument("--min-area", type=float, default=4.0)
    parser.add_argument("--local", action="store_true")
    asked = parser.parse_args()
    gdal.UseExceptions()
    target = gdal.Open(asked.old)
    cell = target.GetGeoTransform()[1]
    dz, shift, scatter = coregister(asked.new, target, read(target), cell)
    if asked.local:
        dz -= local_field(dz, asked.threshold)
    labels, volumes = changes(dz, asked.threshold, asked.min_area / cell ** 2)
    file = gdal.GetDriverByName("GTiff").Create(asked.labels, dz.shape[1], dz.shape[0], 1, gdal.GDT_Int32,
                                                ["COMPRESS=DEFLATE"])
    file.SetGeoTransform(target.GetGeoTransform())
    file.GetRasterBand(1).WriteArray(labels)
    with open(asked.volumes, "w", newline="") as table:
        writer = csv.writer(table)
        writer.writerow(["number", "sign", "volume_m3"])
        writer.writerows([n, sign, volume * cell ** 2] for n, (sign, volume) in enumerate(volumes, 1))
    print(f"shift {shift[0]:.3f} {shift[1]:.3f} m, NMAD {scatter:.4f} m, {len(volumes)} changes")


if __name__ == "__main__":
    main()
