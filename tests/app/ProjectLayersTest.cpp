#include "tests/app/SampleProject.h"

#include "workbench/app/ProjectLayers.h"
#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/Map>
#include <osgEarth/TerrainLayer>

namespace {

class ProjectLayersTest : public ::testing::Test {
protected:
    inspection::ProjectDescription description(const QString& oldDate, const QString& newDate) const {
        inspection::ProjectDescription description;
        description.folder = m_project.folder();
        description.epochs = {{oldDate, m_project.file("epochs/2024-05-18/dsm.tif"),
                               m_project.file("epochs/2024-05-18/dom.tif")},
                              {newDate, m_project.file("epochs/2025-05-20/dsm.tif"),
                               m_project.file("epochs/2025-05-20/dom.tif")}};
        return description;
    }

    /// Orthophotos that the globe draws, in the order of the epochs.
    std::vector<bool> shownOrthophotos() {
        std::vector<osg::ref_ptr<osgEarth::TerrainLayer>> layers;
        m_map.mapNode()->getMap()->getLayers(layers);
        std::vector<bool> shown;
        for (const auto& layer : layers) {
            if (layer->getName().rfind("orthophoto", 0) == 0) {
                shown.push_back(layer->getVisible());
            }
        }
        return shown;
    }

    SampleProject m_project;
    GlobeMap m_map;
    ProjectLayers m_layers{m_map};
};

TEST_F(ProjectLayersTest, ShowsTheOrthophotoOfOneEpoch) {
    EXPECT_TRUE(m_layers.show(description({}, {})).isEmpty());
    EXPECT_EQ(shownOrthophotos(), std::vector<bool>({false, true}));
    EXPECT_TRUE(m_layers.showEpoch(0).isEmpty());
    EXPECT_EQ(shownOrthophotos(), std::vector<bool>({true, false}));
}

TEST_F(ProjectLayersTest, GoesBackToATerrainThatIsStillOpen) {
    const auto terrain = [this] {
        return osg::ref_ptr<osgEarth::Layer>(m_map.mapNode()->getMap()->getLayerByName("terrain"));
    };
    EXPECT_TRUE(m_layers.show(description({}, {})).isEmpty());
    const auto newer = terrain();
    EXPECT_TRUE(m_layers.showEpoch(0).isEmpty());
    const auto older = terrain();
    EXPECT_NE(older, newer);
    EXPECT_TRUE(m_layers.showEpoch(1).isEmpty());
    EXPECT_EQ(terrain(), newer);
    EXPECT_TRUE(m_layers.show(description({}, {})).isEmpty());
    EXPECT_NE(terrain(), newer) << "another project";
}

TEST_F(ProjectLayersTest, EpochsComeAndGoAndTheShownOneStays) {
    const inspection::ProjectDescription both = description("2024-05-18", "2025-05-20");
    inspection::ProjectDescription older = both;
    older.epochs.pop_back();
    EXPECT_TRUE(m_layers.show(older).isEmpty());
    EXPECT_TRUE(m_layers.update(both).isEmpty());
    EXPECT_EQ(m_layers.shownEpoch(), 0);
    EXPECT_EQ(shownOrthophotos(), std::vector<bool>({true, false}));
    inspection::ProjectDescription newer = both;
    newer.epochs.erase(newer.epochs.begin());
    EXPECT_TRUE(m_layers.update(newer).isEmpty());
    EXPECT_EQ(m_layers.shownEpoch(), 0) << "the newest in place of one that has gone";
    EXPECT_EQ(shownOrthophotos(), std::vector<bool>({true}));
}

TEST_F(ProjectLayersTest, TakesTheLayersOfTheProjectBeforeAway) {
    EXPECT_TRUE(m_layers.show(description({}, {})).isEmpty());
    EXPECT_TRUE(m_layers.show(description("2024-05-18", "2025-05-20")).isEmpty());
    EXPECT_EQ(shownOrthophotos().size(), 2u);
    EXPECT_EQ(m_layers.shownEpoch(), 1);
}

} // namespace
