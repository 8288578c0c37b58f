#include "workbench/inspectiondata/database/Outline.h"

#include <gtest/gtest.h>

#include <ogr_geometry.h>

namespace {

using namespace inspection;

TEST(OutlineTest, WhatIsWrittenIsReadAgain) {
    const std::vector<osg::Vec3d> triangle{{114.1, 30.0, 1.0 / 3.0}, {114.2, 30.0, 0.0}, {114.1, 30.1, -2.5}};
    EXPECT_EQ(outlineVertices(outlineWkt(triangle)), triangle);
    EXPECT_TRUE(outlineVertices(outlineWkt({})).empty());
}

TEST(OutlineTest, AnOutlineWithAPlaceThatIsNowhereIsNone) {
    for (const char* wkt :
         {"POLYGON Z ((0 0 1,1 0 1e999,0 1 1,0 0 1))", "POLYGON Z ((0 0 1,1 0 -1e999,0 1 1,0 0 1))",
          "POLYGON ((0 0,1e999 0,0 1,0 0))", "POLYGON ((0 0,1 0,0 2e9,0 0))",
          "MULTIPOLYGON Z (((0 0 1,1 0 1,0 1 1,0 0 1)),((5 5 1,6 5 1e999,5 6 1,5 5 1)))"}) {
        EXPECT_EQ(outlineGeometry(wkt), nullptr) << wkt;
        EXPECT_TRUE(outlineVertices(wkt).empty()) << wkt;
    }
}

} // namespace
