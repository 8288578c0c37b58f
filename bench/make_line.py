#!/usr/bin/env python3
"""Turns a copy of a computed sample project into one of a long line: many stations, anomalies and special objects.

    bench/make_line.py PROJECT STATIONS ANOMALIES OBJECTS

The stations follow each other to and fro over the ground of the sample's stations, each with the same count of anomalies,
whose outlines lie inside it; the objects (points, areas and high-consequence areas as six to three to one) lie among them.
Works on the project's SQLite file alone, with the same figures for the same counts.
"""
import json
import math
import random
import sqlite3
import sys

VERTICES = 24
ATTRIBUTES = ["", "", "", "建构筑物", "重物占压", "深挖", "塌陷"]
SUGGESTIONS = ["", "建构筑物", "重物占压", "深挖", "塌陷"]


def rows(database, table):
    cursor = database.execute(f"select * from {table}")
    columns = [column[0] for column in cursor.description]
    return [dict(zip(columns, row)) for row in cursor]


def insert(database, table, row):
    columns = ",".join(f'"{name}"' for name in row)
    database.execute(f"insert into {table} ({columns}) values ({','.join('?' * len(row))})", list(row.values()))


class Ground:
    """The sample's ground, metres, and where that lies in degrees."""

    def __init__(self, stations, anomalies):
        self.left = min(station["x_min"] for station in stations)
        self.right = max(station["x_max"] for station in stations)
        self.bottom = min(station["y_min"] for station in stations)
        self.top = max(station["y_max"] for station in stations)
        # A corridor of a few kilometres is small enough for one scale; three anomalies far apart give it.
        first = min(anomalies, key=lambda each: each["x"])
        last = max(anomalies, key=lambda each: each["x"])
        self.first = first
        metres_per_degree = 111000.0
        self.east = (last["lon_deg"] - first["lon_deg"]) / (last["x"] - first["x"])
        self.north = 1.0 / metres_per_degree
        self.turn = (last["lat_deg"] - first["lat_deg"] - (last["y"] - first["y"]) * self.north) / (last["x"] - first["x"])

    def degrees(self, x, y):
        east, north = x - self.first["x"], y - self.first["y"]
        return (self.first["lon_deg"] + east * self.east,
                self.first["lat_deg"] + north * self.north + east * self.turn)

    def boxes(self, count):
        """Boxes to and fro, each beside the one before it."""
        lines = max(1, round(math.sqrt(count * (self.top - self.bottom) / (self.right - self.left))))
        columns = math.ceil(count / lines)
        wide = (self.right - self.left) / columns
        high = (self.top - self.bottom) / lines
        for index in range(count):
            line, place = divmod(index, columns)
            column = place if line % 2 == 0 else columns - 1 - place
            left, bottom = self.left + column * wide, self.bottom + line * high
            yield left, bottom, left + wide, bottom + high


def ring(x, y, radius, dice):
    corners = []
    for corner in range(VERTICES):
        angle = 2.0 * math.pi * corner / VERTICES
        reach = radius * dice.uniform(0.6, 1.0)
        corners.append((x + reach * math.cos(angle), y + reach * math.sin(angle)))
    return corners + corners[:1]


def polygon(corners, form):
    return "POLYGON ((" + ",".join(form % corner for corner in corners) + "))"


def anomaly(number, station, model, ground, dice):
    radius = min(4.0, (station["x_max"] - station["x_min"]) / 4.0, (station["y_max"] - station["y_min"]) / 4.0)
    x = dice.uniform(station["x_min"] + radius, station["x_max"] - radius)
    y = dice.uniform(station["y_min"] + radius, station["y_max"] - radius)
    corners = ring(x, y, radius, dice)
    lon, lat = ground.degrees(x, y)
    is_fill = dice.random() < 0.5
    height = dice.uniform(0.5, 3.0)
    area = math.pi * radius * radius * 0.64
    return {**model, "id": number, "station_id": station["id"], "name": f"{station['name']}-{number:06d}",
            "kind": "fill" if is_fill else "cut", "attribute": dice.choice(ATTRIBUTES),
            "suggested": dice.choice(SUGGESTIONS), "x": x, "y": y, "lon_deg": lon, "lat_deg": lat,
            "x_min": min(c[0] for c in corners), "x_max": max(c[0] for c in corners),
            "y_min": min(c[1] for c in corners), "y_max": max(c[1] for c in corners), "area_m2": area,
            "fill_m3": area * height if is_fill else 0.0, "cut_m3": 0.0 if is_fill else area * height,
            "dz_mean_m": height if is_fill else -height, "dz_min_m": 0.1 if is_fill else -1.5 * height,
            "dz_max_m": 1.5 * height if is_fill else -0.1, "outline_wkt": polygon(corners, "%.3f %.3f"),
            "version": 0, "is_deleted": 0}


def fill_line(database, stations, anomalies):
    models = rows(database, "anomaly")
    ground = Ground(rows(database, "station"), models)
    station_model = rows(database, "station")[0]
    result_model = rows(database, "comparison_result")[0]
    for table in ("anomaly", "comparison_result", "station"):
        database.execute(f"delete from {table}")
    dice = random.Random(1)
    step = 250.0
    number = 0
    for index, (left, bottom, right, top) in enumerate(ground.boxes(stations)):
        station = {**station_model, "id": index + 1, "name": f"T{index + 1:05d}", "x_min": left, "x_max": right,
                   "y_min": bottom, "y_max": top, "start_m": index * step, "end_m": (index + 1) * step}
        insert(database, "station", station)
        insert(database, "comparison_result", {**result_model, "id": index + 1, "station_id": index + 1})
        for _ in range(anomalies * (index + 1) // stations - number):
            number += 1
            insert(database, "anomaly", anomaly(number, station, dice.choice(models), ground, dice))
    return ground


def fill_objects(database, ground, count):
    model = rows(database, "high_consequence_area")[0]
    point_columns = ("id", "name", "lon_deg", "lat_deg", "height_m", "attribute")
    dice = random.Random(2)
    for table in ("special_point", "special_area", "high_consequence_area"):
        database.execute(f"delete from {table}")
    kinds = ["special_point"] * 6 + ["special_area"] * 3 + ["high_consequence_area"]
    for number in range(1, count + 1):
        table = kinds[number % len(kinds)]
        x = dice.uniform(ground.left, ground.right)
        y = dice.uniform(ground.bottom, ground.top)
        lon, lat = ground.degrees(x, y)
        made = {**model, "id": number, "name": f"物{number:06d}", "lon_deg": lon, "lat_deg": lat, "height_m": 0.0}
        if table == "special_point":
            insert(database, table, {name: made[name] for name in point_columns})
        else:
            corners = [ground.degrees(*corner) for corner in ring(x, y, 8.0, dice)]
            insert(database, table, {**made, "outline_wkt": polygon(corners, "%.9f %.9f")})


def main():
    project, stations, anomalies, objects = sys.argv[1], *map(int, sys.argv[2:5])
    with open(project + "/project.json", encoding="utf-8") as file:
        json.load(file)  # it is a project
    database = sqlite3.connect(project + "/inspection.db")
    database.execute("pragma foreign_keys=off")
    ground = fill_line(database, stations, anomalies)
    fill_objects(database, ground, objects)
    database.commit()
    database.execute("pragma wal_checkpoint(truncate)")


if __name__ == "__main__":
    main()
