// The globe stands on the same ground in whatever form a surface model comes.

#include "tests/support/AwkwardSurfaces.h"
#include "tests/support/TemporaryFolder.h"
#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/ElevationQuery>
#include <osgEarth/SpatialReference>

#include <gtest/gtest.h>

namespace {

class SurfaceFormsOnGlobe : public ::testing::TestWithParam<awkward::Form> {
protected:
    float elevation(int column, int row) {
        const osg::ref_ptr<const osgEarth::SpatialReference> srs =
            osgEarth::SpatialReference::get("epsg:4547");
        return m_query.getElevation(
            osgEarth::GeoPoint(srs.get(), awkward::kLeft + (column + 0.5) * awkward::kCellMetres,
                               awkward::kTop - (row + 0.5) * awkward::kCellMetres, 0.0));
    }

    TemporaryFolder m_folder;
    GlobeMap m_map;
    osgEarth::ElevationQuery m_query{m_map.mapNode()->getMap()};
};

TEST_P(SurfaceFormsOnGlobe, TheGroundIsWhereItWasMeasured) {
    const std::string path = m_folder.file("dsm.tif");
    awkward::write(path, GetParam(), awkward::oldHeight);
    const auto problem = m_map.addElevation("terrain", path);
    ASSERT_FALSE(problem) << *problem;
    for (int column = 5; column < awkward::kColumns; column += 15) {
        if (awkward::kHole.holds(column, 50)) {
            EXPECT_EQ(elevation(column, 50), NO_DATA_VALUE) << column;
        } else {
            EXPECT_NEAR(elevation(column, 50), awkward::ground(column, 50), 0.006) << column;
        }
    }
}

std::vector<awkward::Form> allForms() {
    return awkward::forms();
}
std::string numbered(const testing::TestParamInfo<awkward::Form>& info) {
    return std::to_string(info.index);
}
INSTANTIATE_TEST_SUITE_P(Globe, SurfaceFormsOnGlobe, testing::ValuesIn(allForms()), numbered);

TEST(GlobeMapTest, ASurfaceModelThatCannotBeReadIsNamed) {
    const TemporaryFolder folder;
    const auto problem = GlobeMap().addElevation("terrain", folder.file("none.tif"));
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("none.tif"), std::string::npos);
}

} // namespace
