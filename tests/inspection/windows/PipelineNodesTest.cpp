#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "workbench/inspection/scene/PipelineNodes.h"
#include "workbench/inspection/scene/StationProjection.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <osgEarth/MapNode>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthUtil/EarthManipulator>

namespace {

using namespace inspection;

class PipelineNodesTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
    }

    /// The groups of the pipeline under the map node, in the order of its parts.
    std::vector<osg::Group*> parts() const {
        std::vector<osg::Group*> found;
        osgEarth::MapNode& map = *m_globe->getMapNode();
        for (unsigned i = 0; i < map.getNumChildren(); ++i) {
            if (map.getChild(i)->getName() == "pipeline") {
                found.push_back(map.getChild(i)->asGroup());
            }
        }
        return found;
    }
    QStringList captions(PipelinePart part) const {
        QStringList texts;
        osg::Group& group = *parts()[std::size_t(part)];
        for (unsigned i = 0; i < group.getNumChildren(); ++i) {
            auto* place = dynamic_cast<osgEarth::Annotation::PlaceNode*>(group.getChild(i));
            texts << (place ? QString::fromStdString(place->getText()) : QString());
        }
        return texts;
    }
    mysqlhelper::KV_MySQL& database() {
        return *dynamic_cast<PipelineDataSet*>(context().GetDataSet(PipelineDataSet::kIndex))->GetMySQL();
    }
    void reopen() {
        context().closeProject();
        ASSERT_FALSE(context().openProject(m_project).has_value());
    }
};

TEST_F(PipelineNodesTest, TheLineIsSeenOnTheGroundWhereItLies) {
    const Pipeline pipeline = Pipeline::read(context().project()->description());
    const StationProjection projection(pipeline.crs().toStdString());
    const QPointF middle = pipeline.marks(50.0)[12].place; // between what has a label
    const osg::Vec2d lonLat = projection.toLonLatDegrees(middle.x(), middle.y()).value();
    m_globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", lonLat.x(), lonLat.y(), 0.0, 0.0, -90.0, 150.0));
    m_globe->requestRedraw();
    ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    const QImage picture = m_globe->grabFramebuffer();
    keepPicture(*m_globe, "pipeline-on-globe");
    const QPoint place = pixelOnGlobe(*m_globe, lonLat);
    const QColor colour = picture.pixelColor(place);
    EXPECT_GT(colour.red(), colour.blue() + 80) << "no orange: " << colour.name().toStdString();
}

TEST_F(PipelineNodesTest, ShowsStationsLineMarksAndNodesAndTheBufferWhenItIsAskedFor) {
    const auto groups = parts();
    ASSERT_EQ(groups.size(), kPipelineParts);
    EXPECT_EQ(groups[std::size_t(PipelinePart::Buffer)]->getNumChildren(), 0U);
    EXPECT_GT(groups[std::size_t(PipelinePart::Stations)]->getNumChildren(), 0U);
    EXPECT_GT(groups[std::size_t(PipelinePart::Centerline)]->getNumChildren(), 0U);
    EXPECT_FALSE(captions(PipelinePart::Nodes).isEmpty());

    PipelineNodes& nodes = context().pipelineNodes();
    nodes.setVisible(PipelinePart::Buffer, true);
    EXPECT_GT(groups[std::size_t(PipelinePart::Buffer)]->getNumChildren(), 0U);
    EXPECT_EQ(groups[std::size_t(PipelinePart::Buffer)]->getNodeMask(), ~0U);
    nodes.setVisible(PipelinePart::Centerline, false);
    EXPECT_EQ(groups[std::size_t(PipelinePart::Centerline)]->getNodeMask(), 0U);
    reopen();
    EXPECT_EQ(parts()[std::size_t(PipelinePart::Centerline)]->getNodeMask(), 0U)
        << "what is hidden stays hidden";
}

TEST_F(PipelineNodesTest, APostThatStandsInTheFieldTakesThePlaceOfTheMark) {
    ASSERT_FALSE(captions(PipelinePart::Nodes).isEmpty());
    database().execute("delete from pipe_node");
    reopen();
    EXPECT_TRUE(captions(PipelinePart::Nodes).isEmpty());
    EXPECT_TRUE(captions(PipelinePart::ChainageMarks).contains("K0+100"));

    database().insertRecord("pipe_node", {{"name", std::string("K0+100")},
                                          {"lon_deg", 117.0},
                                          {"lat_deg", 32.0},
                                          {"height_m", 0.0},
                                          {"km", 0.1},
                                          {"attribute", std::string()}});
    reopen();
    EXPECT_EQ(captions(PipelinePart::Nodes), QStringList("K0+100"));
    EXPECT_FALSE(captions(PipelinePart::ChainageMarks).contains("K0+100"));
    EXPECT_TRUE(captions(PipelinePart::ChainageMarks).contains("K0+200"));
}

TEST_F(PipelineNodesTest, GoesWithTheProject) {
    ASSERT_FALSE(parts().empty());
    context().closeProject();
    EXPECT_TRUE(parts().empty());
}

} // namespace
