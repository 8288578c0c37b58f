#!/usr/bin/env python3
"""Makes a pair of surface models with known changes, as two surveys of one place would leave them.

    make_pair.py KIND FOLDER [--cells 2048] [--seed 1] [--relief FILE] [--per-km2 45] [--tiled] [--deflate]

KIND is one of the names in KINDS below, or "list", which prints them. Writes into FOLDER

    old.tif, new.tif   the epochs, Float32, EPSG:4547
    truth.tif          number of the change at each cell of the old grid, 0 for none
    truth.csv          number, kind, sign, volume in cubic metres (above or below, not negative)
    spared.tif         1 where something stands elsewhere that is no ground (cars)

Ground, buildings, changes and everything that spoils a survey are functions of the place, evaluated at the cell
centres of each epoch's own grid: nothing is ever resampled, so no error of an interpolation is in the pair. The
relief comes from a raster (its posts taken as 90 m apart) or is a fractal; a fine texture lies on it. The same
arguments make the same pair. Shares no code with the detection.
"""

import argparse
import csv
import os

import numpy as np
from osgeo import gdal, osr
from scipy import ndimage

CELL = 0.5  # metres
POSTS = 90.0  # metres between the relief's posts
EAST, NORTH = 500000.0, 3400000.0
NOISE = 0.05  # metres, each epoch
NO_DATA = -9999.0

# What spoils a pair. shift: cells; bias, tilt (across the pair), warp, strips, patchy: metres; cell: of the new
# epoch, over the old one's; ground: that a share of the place is of, see Ground.
KINDS = {
    "noise": {},
    "shift": {"shift": (0.6, -0.4), "bias": 0.15},
    "tilt": {"tilt": 0.5, "bias": 0.1},
    "regrid": {"cell": 1.2},
    "together": {"shift": (0.6, -0.4), "bias": 0.15, "tilt": 0.5, "cell": 1.2, "holes": True, "spikes": True},
    "warp": {"warp": 0.10},
    "warp-shift": {"warp": 0.10, "shift": (0.6, -0.4), "bias": 0.15},
    "strips": {"strips": 0.06},
    "patchy": {"patchy": 0.03},
    "plants": {"ground": "plants", "share": 0.12},
    "water": {"ground": "water", "share": 0.04},
    "works": {"ground": "works", "share": 0.12},
    "crowns": {"crowns": True},
    "cars": {"cars": True},
}


def field(rng, shape, spacing, spectrum):
    """A random field of unit deviation on a lattice; spectrum(f) gives its amplitude at f cycles per metre."""
    fy = np.fft.fftfreq(shape[0], spacing)[:, None]
    fx = np.fft.rfftfreq(shape[1], spacing)[None, :]
    f = np.hypot(fx, fy)
    amplitude = spectrum(np.maximum(f, 1e-9))
    amplitude[0, 0] = 0.0
    made = np.fft.irfft2(np.fft.rfft2(rng.standard_normal(shape)) * amplitude, s=shape)
    return made / made.std()


def gaussian(length):
    """Of a field whose correlation falls to 0.05 at `length` metres."""
    sigma = length / (2.0 * np.sqrt(np.log(20.0)))
    return lambda f: np.exp(-2.0 * (np.pi * sigma * f) ** 2)


class Lattice:
    """A smooth function of the place: a cubic spline over a lattice."""

    def __init__(self, values, spacing, x0, y0):
        self.coefficients = ndimage.spline_filter(values.astype(np.float64), order=3, mode="mirror")
        self.spacing, self.x0, self.y0 = spacing, x0, y0

    def __call__(self, x, y):
        rows = (y - self.y0) / self.spacing
        columns = (x - self.x0) / self.spacing
        if x.shape[0] == 1 and y.shape[1] == 1:
            rows, columns = np.broadcast_arrays(rows, columns)
        return ndimage.map_coordinates(self.coefficients, [rows, columns], order=3, mode="mirror", prefilter=False)


def random_lattice(rng, size, spacing, spectrum, margin=40.0):
    n = int(np.ceil((size + 2.0 * margin) / spacing)) + 4
    return Lattice(field(rng, (n, n), spacing, spectrum), spacing, -margin, -margin)


def relief_of(path, rng, size):
    posts = int(np.ceil(size / POSTS)) + 12
    if path:
        raster = gdal.Open(path)
        column = int(rng.integers(0, max(1, raster.RasterXSize - posts)))
        row = int(rng.integers(0, max(1, raster.RasterYSize - posts)))
        heights = raster.GetRasterBand(1).ReadAsArray(column, row, posts, posts).astype(np.float64)
    else:
        heights = 25.0 * field(rng, (posts, posts), POSTS, lambda f: f ** -1.6)
    return Lattice(heights, POSTS, -5.0 * POSTS - 13.7, -5.0 * POSTS - 29.1)


def steps(d, width):
    """1 inside, 0 outside, smooth over `width` metres about d = 0 (d grows outwards)."""
    t = np.clip(0.5 - d / width, 0.0, 1.0)
    return t * t * (3.0 - 2.0 * t)


class Shape:
    """A height that is added within some distance of a place."""

    def __init__(self, kind, x, y, angle, along, across, height, edge):
        self.kind, self.x, self.y, self.angle = kind, x, y, angle
        self.along, self.across, self.height, self.edge = along, across, height, edge
        self.reach = np.hypot(along, across) + edge + 1.0

    def __call__(self, x, y):
        dx, dy = x - self.x, y - self.y
        u = dx * np.cos(self.angle) + dy * np.sin(self.angle)
        v = -dx * np.sin(self.angle) + dy * np.cos(self.angle)
        if self.edge > 0.0:  # a box, its edges running out
            return self.height * steps(np.abs(u) - self.along, self.edge) * steps(np.abs(v) - self.across, self.edge)
        rho2 = np.minimum((u / self.along) ** 2 + (v / self.across) ** 2, 1.0)
        return self.height * (1.0 - rho2) ** 2

    def add_to(self, heights, grid):
        rows, columns = grid.window(self.x, self.y, self.reach)
        if rows.stop > rows.start and columns.stop > columns.start:
            heights[rows, columns] += self(grid.x[:, columns], grid.y[rows, :])


def ranges(rng, low, high):
    return rng.uniform(low, high)


def draw_change(kind, rng, x, y):
    """The shapes of one change; each is a change for itself."""
    angle = ranges(rng, 0.0, np.pi)
    sign = 1.0 if kind in ("heap", "building", "road") else -1.0

    def round_one(low, high, least, most):
        a = ranges(rng, low, high)
        return Shape(kind, x, y, angle, a, a * ranges(rng, 0.6, 1.0), sign * ranges(rng, least, most), 0.0)

    def box(along, across, height, edge):
        return Shape(kind, x, y, angle, along, across, sign * height, edge)

    if kind in ("heap", "pit"):
        return [round_one(4.0, 14.0, 0.8, 3.0)]
    if kind == "subsidence":
        return [round_one(15.0, 35.0, 0.7, 1.5)]
    if kind == "cut":
        return [box(ranges(rng, 4, 12), ranges(rng, 3, 8), ranges(rng, 0.8, 3.0), ranges(rng, 1.5, 5.0))]
    if kind in ("building", "removed"):
        return [box(ranges(rng, 4, 12), ranges(rng, 3, 7), ranges(rng, 2.5, 9.0), WALL)]
    if kind == "road":
        return [box(ranges(rng, 25, 60), ranges(rng, 2, 4), ranges(rng, 0.6, 1.2), ranges(rng, 1.5, 3.0))]
    if kind == "trench":
        return [box(ranges(rng, 8, 25), ranges(rng, 1.0, 1.5), ranges(rng, 1.0, 2.0), ranges(rng, 0.5, 1.0))]
    a = ranges(rng, 7.0, 15.0)
    aside = 1.15 * a
    down = angle
    depth = ranges(rng, 0.8, 2.0)
    return [Shape("slide-off", x - aside * np.cos(down), y - aside * np.sin(down), down, a, 0.8 * a, -depth, 0.0),
            Shape("slide-on", x + aside * np.cos(down), y + aside * np.sin(down), down, a, 0.8 * a, depth, 0.0)]


CHANGE_KINDS = ["heap", "pit", "cut", "subsidence", "slide", "building", "removed", "road", "trench"]
WALL = 0.5  # metres over which a wall rises


class Grid:
    def __init__(self, cell, x0, y0, columns, rows):
        self.cell, self.x0, self.y0, self.columns, self.rows = cell, x0, y0, columns, rows
        self.x = (x0 + (np.arange(columns) + 0.5) * cell)[None, :]
        self.y = (y0 + (np.arange(rows) + 0.5) * cell)[:, None]

    def window(self, x, y, reach):
        def part(centre, origin, count):
            first = int(np.floor((centre - reach - origin) / self.cell))
            last = int(np.ceil((centre + reach - origin) / self.cell))
            return slice(max(0, first), max(0, min(count, last)))
        return part(y, self.y0, self.rows), part(x, self.x0, self.columns)

    def moved(self, dx, dy):
        """The places that its cells show when the epoch lies aside."""
        return Grid(self.cell, self.x0 - dx, self.y0 - dy, self.columns, self.rows)

    def write(self, path, array, kind, no_data, options):
        file = gdal.GetDriverByName("GTiff").Create(path, self.columns, self.rows, 1, kind, options)
        file.SetGeoTransform((EAST + self.x0, self.cell, 0.0, NORTH - self.y0, 0.0, -self.cell))
        reference = osr.SpatialReference()
        reference.ImportFromEPSG(4547)
        file.SetProjection(reference.ExportToWkt())
        band = file.GetRasterBand(1)
        if no_data is not None:
            band.SetNoDataValue(no_data)
        band.WriteArray(array)


class Places:
    """Where things may stand: nothing stands on another, nothing reaches over the border."""

    def __init__(self, rng, size):
        self.rng, self.size, self.taken = rng, size, []
        self.allowed = None

    def find(self, reach, apart=2.0):
        for _ in range(400):
            x, y = self.rng.uniform(reach + 8.0, self.size - reach - 8.0, 2)
            if self.allowed and not self.allowed(x, y, reach):
                continue
            if all(np.hypot(x - a, y - b) > reach + r + apart for a, b, r in self.taken):
                self.taken.append((x, y, reach))
                return x, y
        return None


class Ground:
    """Blobs of a ground of its own, some of them a hundred metres wide, others narrow.

    plants  Stands of crops and bushes: 0.2 to 0.8 m high, a quarter of it gaps down to the ground, tops that scatter by
            0.25 m from plant to plant, and nothing of that the same in the other epoch, in which the stand is up to
            0.25 m higher or lower besides. What changed carries no plants afterwards. The truth is what the ground
            did: growth is no change.
    water   No texture to match: the heights are off by 0.3 to 0.6 m, hanging together over 6 m, other ones in every
            epoch, and the level is up to 0.2 m another one. Filled ground has none of it.
    works   Rubble (0.3 m over 2 m) that both epochs show, and changes close to each other, 0.1 m of other rubble on them.
    """

    def __init__(self, kind, share, size, rng):
        self.kind, self.size = kind, size
        self.field = random_lattice(rng, size, 8.0, gaussian(120.0))
        everywhere = np.linspace(2.0, size - 2.0, 400)
        self.limit = np.quantile(self.field(everywhere[None, :], everywhere[:, None]), 1.0 - share)
        self.height = random_lattice(rng, size, 16.0, gaussian(200.0))
        self.season = random_lattice(rng, size, 16.0, gaussian(200.0))
        self.rubble = random_lattice(rng, size, 0.5, gaussian(2.0)) if kind == "works" else None

    def inside(self, x, y):
        return self.field(x, y) > self.limit

    def holds(self, x, y, reach):
        """Whether all of a round place, or none of it, is of this ground."""
        around = np.linspace(0.0, 2.0 * np.pi, 24, endpoint=False)[None, :]
        far = self.inside(x + reach * np.cos(around), y + reach * np.sin(around))
        near = self.inside(x + reach / 2 * np.cos(around), y + reach / 2 * np.sin(around))
        return (far.all() and near.all()), not (far.any() or near.any())

    def add_to(self, heights, scene, grid, after, rng):
        inside = self.inside(grid.x, grid.y)
        changed = scene.changed(grid)[inside] if after else 0.0  # 0 to 1
        if self.kind == "works":
            heights[inside] += 0.3 * self.rubble(grid.x, grid.y)[inside]
            fresh = random_lattice(rng, self.size, 0.5, gaussian(2.0))
            heights[inside] += 0.1 * changed * fresh(grid.x, grid.y)[inside]
        else:
            heights[inside] += (1.0 - changed) * self.surface(grid, after, rng)[inside]

    def surface(self, grid, after, rng):
        def own(spacing, length):
            return random_lattice(rng, self.size, spacing, gaussian(length))(grid.x, grid.y)

        def between(low, high, lattice):
            return low + (high - low) * steps(-lattice(grid.x, grid.y), 4.0)

        if self.kind == "water":
            level = between(-0.2, 0.2, self.season) if after else 0.0
            return level + between(0.3, 0.6, self.height) * own(0.5, 6.0)
        tall = between(0.2, 0.8, self.height) + (between(-0.25, 0.25, self.season) if after else 0.0)
        return np.where(own(0.5, 1.2) > -0.67, np.maximum(tall + 0.25 * own(0.5, 1.5), 0.0), 0.0)


class Scene:
    """The place: what both epochs show, what only one shows."""

    def __init__(self, size, per_km2, rng, relief, ground):
        km2 = (size / 1000.0) ** 2
        self.special = Ground(ground["ground"], ground["share"], size, rng) if "ground" in ground else None
        self.ground = relief_of(relief, rng, size)
        self.texture = random_lattice(rng, size, 0.5, lambda f: np.where(f < 0.5, f ** -1.7, 0.0) * (f > 0.02))
        places = Places(rng, size)
        self.changes = []
        if self.special:
            self.change_special_ground(rng, places, km2)
            places.allowed = lambda x, y, reach: self.special.holds(x, y, reach)[1]
        for i in range(int(round(per_km2 * km2))):
            self.place_change(CHANGE_KINDS[i % len(CHANGE_KINDS)], rng, places)
        self.buildings = self.place_all(rng, places, int(round(60 * km2)), lambda x, y: Shape(
            "unchanged", x, y, ranges(rng, 0, np.pi), ranges(rng, 4, 12), ranges(rng, 3, 8), ranges(rng, 3, 12), WALL))
        self.places = places

    def change_special_ground(self, rng, places, km2):
        """Changes on it, all clearly above its scatter: two to four metres, above plants or below the ground, and three
        to six metres in water."""
        places.allowed = lambda x, y, reach: self.special.holds(x, y, reach)[0]
        kinds = {"plants": ["heap", "pit", "cut", "building"], "water": ["heap", "building"]}
        for i in range(int(round({"plants": 15, "water": 5, "works": 60}[self.special.kind] * km2))):
            chosen = kinds.get(self.special.kind, CHANGE_KINDS)
            before = len(self.changes)
            self.place_change(chosen[i % len(chosen)], rng, places)
            for shape in self.changes[before:]:
                if self.special.kind != "works":
                    least = 2.0 if self.special.kind == "plants" else 3.0
                    grown = 0.8 if self.special.kind == "plants" and shape.height > 0.0 else 0.0
                    shape.height = np.sign(shape.height) * (grown + ranges(rng, least, 2.0 * least))
        places.allowed = None

    def changed(self, grid):
        """How much of the ground is another one afterwards: all of it where a change moves it by a decimetre."""
        share = np.zeros((grid.rows, grid.columns))
        for change in self.changes:
            rows, columns = grid.window(change.x, change.y, change.reach)
            if rows.stop > rows.start and columns.stop > columns.start:
                moved = np.abs(change(grid.x[:, columns], grid.y[rows, :]))
                share[rows, columns] = np.maximum(share[rows, columns], np.minimum(moved / 0.1, 1.0))
        return share

    @staticmethod
    def place_all(rng, places, count, make):
        made = []
        for _ in range(count):
            sample = make(0.0, 0.0)
            place = places.find(sample.reach)
            if place:
                sample.x, sample.y = place
                made.append(sample)
        return made

    def place_change(self, kind, rng, places):
        shapes = draw_change(kind, rng, 0.0, 0.0)
        place = places.find(max(np.hypot(s.x, s.y) + s.reach for s in shapes))
        for shape in shapes if place else []:
            shape.x, shape.y = shape.x + place[0], shape.y + place[1]
            self.changes.append(shape)

    def heights(self, grid, after):
        texture = 0.2 * self.texture(grid.x, grid.y)
        if self.special and self.special.kind == "water":  # smooth but for what the matching makes of it
            texture = np.where(self.special.inside(grid.x, grid.y), 0.0, texture)
        heights = self.ground(grid.x, grid.y) + texture
        shapes = list(self.buildings)
        for change in self.changes:
            if change.kind == "removed":  # stood there before
                if not after:
                    shapes.append(Shape("", change.x, change.y, change.angle, change.along, change.across,
                                        -change.height, change.edge))
            elif after:
                shapes.append(change)
        for shape in shapes:
            shape.add_to(heights, grid)
        return heights


def survey_noise(rng, shape):
    """Half of the variance hangs together over 3 cells: its correlation has fallen to 1 / e there."""
    apart = rng.standard_normal(shape)
    together = field(rng, shape, 1.0, gaussian(3.0 * np.sqrt(np.log(20.0))))
    return NOISE * (apart + together) / np.sqrt(2.0)


def spoil(scene, size, options, grids, heights, rng):
    """Adds what the surveys do wrong; returns where something stands elsewhere that is no ground."""
    old, new = grids
    spared = np.zeros((old.rows, old.columns), np.uint8)
    x, y = new.x - size / 2.0, new.y - size / 2.0
    heights[1] += options.get("bias", 0.0) + options.get("tilt", 0.0) * (0.8 * x + 0.6 * y) / size
    if "warp" in options:
        heights[1] += options["warp"] * random_lattice(rng, size, 16.0, gaussian(250.0))(new.x, new.y)
    if "strips" in options:
        heights[1] += strips(rng, size, options["strips"], new)
    for e, grid in enumerate(grids):
        for length in (1.0, 5.0, 20.0) if "patchy" in options else ():
            lattice = random_lattice(rng, size, max(0.5, length / 4.0), gaussian(length))
            heights[e] += options["patchy"] * lattice(grid.x, grid.y)
    if scene.special:
        for e, grid in enumerate(grids):
            scene.special.add_to(heights[e], scene, grid, e == 1, rng)
    if options.get("crowns"):
        add_crowns(scene, size, grids, heights, rng)
    if options.get("cars"):
        add_cars(scene, size, grids, heights, rng, spared)
    for e, grid in enumerate(grids):
        heights[e] += survey_noise(rng, heights[e].shape)
    return spared


def strips(rng, size, deviation, grid):
    """Flight strips of 60 m that lie a little too high or low and roll; neighbours run into each other over 6 m."""
    width = 60.0
    across = 0.94 * grid.x + 0.34 * grid.y
    count = int(size * 1.4 / width) + 4
    level = rng.standard_normal(count) * deviation
    roll = rng.standard_normal(count) * deviation / width
    place = across / width + 1.0
    strip = np.clip(np.floor(place).astype(int), 0, count - 2)
    inside = place - strip
    share = np.clip((inside - 0.9) / 0.1, 0.0, 1.0)
    own = level[strip] + roll[strip] * (inside - 0.5) * width
    following = level[strip + 1] + roll[strip + 1] * (inside - 1.5) * width
    return own + share * (following - own)


def add_crowns(scene, size, grids, heights, rng):
    """Trees whose crowns the wind has moved by some decimetres, and whose leaves never look the same."""
    def tree(x, y):
        r = ranges(rng, 1.5, 4.0)
        return Shape("crown", x, y, 0.0, r, r, ranges(rng, 4.0, 12.0), 0.0)
    for crown in Scene.place_all(rng, scene.places, int(150 * (size / 1000.0) ** 2), tree):
        crown.add_to(heights[0], grids[0])
        crown.x, crown.y = crown.x + ranges(rng, -0.4, 0.4), crown.y + ranges(rng, -0.4, 0.4)
        crown.add_to(heights[1], grids[1])


def add_cars(scene, size, grids, heights, rng, spared):
    """Cars stand elsewhere in each epoch."""
    for e in (0, 1):
        def car(x, y):
            return Shape("car", x, y, ranges(rng, 0, np.pi), 2.2, 0.9, 1.5, 0.5)
        for shape in Scene.place_all(rng, scene.places, int(40 * (size / 1000.0) ** 2), car):
            shape.add_to(heights[e], grids[e])
            spared[grids[0].window(shape.x, shape.y, 3.5)] = 1


def cut_holes(heights, rng):
    for _ in range(max(4, heights.size // 400000)):
        row, column = rng.integers(0, heights.shape[0]), rng.integers(0, heights.shape[1])
        heights[row:row + int(rng.integers(5, 40)), column:column + int(rng.integers(5, 40))] = NO_DATA


def add_spikes(heights, rng):
    count = heights.size // 100000 + 1
    rows, columns = rng.integers(0, heights.shape[0], count), rng.integers(0, heights.shape[1], count)
    heights[rows, columns] += rng.choice([-1.0, 1.0], count) * rng.uniform(5.0, 30.0, count)


def write_truth(folder, scene, old):
    """A change's footprint is where it moves the surface by more than a centimetre."""
    numbers = np.zeros((old.rows, old.columns), np.int32)
    with open(os.path.join(folder, "truth.csv"), "w", newline="") as file:
        table = csv.writer(file)
        table.writerow(["number", "kind", "sign", "volume_m3"])
        for number, change in enumerate(scene.changes, 1):
            rows, columns = old.window(change.x, change.y, change.reach)
            dz = change(old.x[:, columns], old.y[rows, :])
            part = numbers[rows, columns]
            part[np.abs(dz) > 0.01] = number
            table.writerow([number, change.kind, int(np.sign(change.height)), abs(dz.sum()) * old.cell ** 2])
    old.write(os.path.join(folder, "truth.tif"), numbers, gdal.GDT_Int32, None, ["COMPRESS=DEFLATE"])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("kind", choices=[*KINDS, "list"])
    parser.add_argument("folder", nargs="?")
    parser.add_argument("--cells", type=int, default=2048)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--relief")
    parser.add_argument("--per-km2", type=float, default=45.0)
    parser.add_argument("--tiled", action="store_true")
    parser.add_argument("--deflate", action="store_true")
    asked = parser.parse_args()
    if asked.kind == "list":
        print(" ".join(KINDS))
        return
    gdal.UseExceptions()
    os.makedirs(asked.folder, exist_ok=True)
    rng = np.random.default_rng(asked.seed)
    options = KINDS[asked.kind]
    size = asked.cells * CELL
    scene = Scene(size, asked.per_km2, rng, asked.relief, options)
    old = Grid(CELL, 0.0, 0.0, asked.cells, asked.cells)
    cell = CELL * options.get("cell", 1.0)
    new = old
    if cell != CELL:
        cells = int((size + 20.0) / cell)
        new = Grid(cell, -7.3, -11.9, cells, cells)
    dx, dy = (c * CELL for c in options.get("shift", (0.0, 0.0)))
    shown = new.moved(dx, dy)
    heights = [scene.heights(old, False), scene.heights(shown, True)]
    spared = spoil(scene, size, options, (old, shown), heights, rng)
    for e in (0, 1):
        if options.get("spikes"):
            add_spikes(heights[e], rng)
        if options.get("holes"):
            cut_holes(heights[e], rng)
    creation = (["TILED=YES"] if asked.tiled else []) + (["COMPRESS=DEFLATE"] if asked.deflate else [])
    for name, grid, epoch in (("old.tif", old, heights[0]), ("new.tif", new, heights[1])):
        grid.write(os.path.join(asked.folder, name), epoch.astype(np.float32), gdal.GDT_Float32, NO_DATA, creation)
    old.write(os.path.join(asked.folder, "spared.tif"), spared, gdal.GDT_Byte, None, ["COMPRESS=DEFLATE"])
    write_truth(asked.folder, scene, old)


if __name__ == "__main__":
    main()
