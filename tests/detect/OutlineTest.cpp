#include "detect/shape/Outline.h"

#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace detect::test {
namespace {

std::vector<Run> runsOf(const std::vector<std::string>& picture) {
    std::vector<Run> runs;
    for (std::size_t row = 0; row < picture.size(); ++row) {
        for (std::size_t column = 0; column < picture[row].size(); ++column) {
            if (picture[row][column] != '#') {
                continue;
            }
            const auto cell = static_cast<std::int32_t>(column);
            if (column > 0 && picture[row][column - 1] == '#') {
                runs.back().end = cell + 1;
                continue;
            }
            Run run;
            run.row = static_cast<std::int32_t>(row);
            run.begin = cell;
            run.end = cell + 1;
            run.sign = 1;
            runs.push_back(run);
        }
    }
    return runs;
}

Anomaly outlined(const std::vector<std::string>& picture) {
    Polygon polygon = traceOutline(runsOf(picture));
    Anomaly anomaly;
    anomaly.outline = std::move(polygon.outer);
    anomaly.holes = std::move(polygon.holes);
    return anomaly;
}

void expectOutlineOf(const std::vector<std::string>& picture) {
    const Anomaly anomaly = outlined(picture);
    std::string text;
    for (const std::string& line : picture) {
        text += line + "\n";
    }
    EXPECT_TRUE(isValidPolygon(anomaly)) << text;
    std::size_t cells = 0;
    for (std::size_t row = 0; row < picture.size(); ++row) {
        for (std::size_t column = 0; column < picture[row].size(); ++column) {
            const bool member = picture[row][column] == '#';
            cells += member ? 1 : 0;
            EXPECT_EQ(encloses(anomaly, {double(column) + 0.5, double(row) + 0.5}), member)
                << text << column << ", " << row;
        }
    }
    EXPECT_DOUBLE_EQ(polygonArea(anomaly), static_cast<double>(cells)) << text;
}

/// Keeps the largest component over four sides of a random picture.
std::vector<std::string> randomComponent(Random& random, int columns, int rows, double density) {
    std::vector<std::string> picture(static_cast<std::size_t>(rows));
    for (std::string& line : picture) {
        for (int column = 0; column < columns; ++column) {
            line += random() < density ? '#' : '.';
        }
    }
    std::vector<std::pair<int, int>> best;
    std::vector<std::string> rest = picture;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            std::vector<std::pair<int, int>> found;
            std::vector<std::pair<int, int>> open{{row, column}};
            while (!open.empty()) {
                const auto [r, c] = open.back();
                open.pop_back();
                if (r < 0 || c < 0 || r >= rows || c >= columns ||
                    rest[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] != '#') {
                    continue;
                }
                rest[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] = '.';
                found.emplace_back(r, c);
                open.insert(open.end(), {{r + 1, c}, {r - 1, c}, {r, c + 1}, {r, c - 1}});
            }
            if (found.size() > best.size()) {
                best = std::move(found);
            }
        }
    }
    std::vector<std::string> kept(static_cast<std::size_t>(rows),
                                  std::string(static_cast<std::size_t>(columns), '.'));
    for (const auto& [r, c] : best) {
        kept[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] = '#';
    }
    return kept;
}

TEST(Outline, RectangleHasFourVertices) {
    const Anomaly anomaly = outlined({"....", ".##.", ".##.", ".##."});
    EXPECT_EQ(anomaly.outline.size(), 4U);
    EXPECT_TRUE(anomaly.holes.empty());
    expectOutlineOf({"....", ".##.", ".##.", ".##."});
}

TEST(Outline, HoleBecomesAnInnerRing) {
    const std::vector<std::string> picture{"#####", "#...#", "#.###", "#####"};
    EXPECT_EQ(outlined(picture).holes.size(), 1U);
    expectOutlineOf(picture);
}

TEST(Outline, CellsThatMeetInACornerOnlyKeepEveryRingSimple) {
    expectOutlineOf({"##.", "#.#", "###"});
    expectOutlineOf({".##", "#.#", "###"});
    expectOutlineOf({"####", "#.##", "##.#", "####"});
    expectOutlineOf({"####", "##.#", "#.##", "####"});
    expectOutlineOf({"#####", "#.#.#", "##.##", "#.#.#", "#####"});
}

TEST(Outline, RingsNeverVisitAVertexTwice) {
    Random random(5);
    for (int i = 0; i < 200; ++i) {
        const Anomaly anomaly = outlined(randomComponent(random, 12, 12, 0.7));
        std::vector<Ring> rings = anomaly.holes;
        rings.push_back(anomaly.outline);
        for (const Ring& ring : rings) {
            std::set<std::pair<double, double>> seen;
            for (const Point& p : ring) {
                EXPECT_TRUE(seen.insert({p.x, p.y}).second) << p.x << ", " << p.y;
            }
        }
    }
}

TEST(Outline, RandomComponentsGiveValidPolygonsOfTheirCells) {
    Random random(17);
    for (int i = 0; i < 300; ++i) {
        expectOutlineOf(randomComponent(random, 5 + i % 20, 5 + i % 13, 0.55 + 0.4 * random()));
    }
}

} // namespace
} // namespace detect::test
