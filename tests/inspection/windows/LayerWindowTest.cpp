#include "tests/inspection/windows/WindowFixture.h"

#include "tests/support/OverlaysOnGlobe.h"
#include "workbench/inspection/layers/LayerWindow.h"
#include "workbench/inspection/scene/PipelineNodes.h"

#include <QComboBox>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

namespace {

using namespace inspection;

class LayerWindowTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        window().resize(260, 300);
        window().show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
    }
    void TearDown() override {
        window().hide();
        InspectionWindowTest::TearDown();
    }

    LayerWindow& window() { return *context().layerWindow(); }
    PipelineNodes& pipeline() { return context().pipelineNodes(); }
    QTreeWidgetItem* row(const QString& name) {
        const auto found = layers().findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
        return found.size() == 1 ? found.first() : nullptr;
    }
    QTreeWidget& layers() { return *window().findChild<QTreeWidget*>("layers"); }
    /// A real click on the row's check box.
    void toggle(const QString& name) {
        QTreeWidgetItem* item = row(name);
        ASSERT_NE(item, nullptr) << name.toStdString();
        const QRect cell = layers().visualItemRect(item);
        constexpr int kCheckBox = 8; // from the cell's left edge to its middle
        QTest::mouseClick(layers().viewport(), Qt::LeftButton, {},
                          QPoint(cell.left() + kCheckBox, cell.center().y()));
    }
};

TEST_F(LayerWindowTest, AClickHidesAndShowsAPartOfThePipeline) {
    ASSERT_TRUE(pipeline().isVisible(PipelinePart::Centerline));
    toggle("中心线");
    EXPECT_FALSE(pipeline().isVisible(PipelinePart::Centerline));
    EXPECT_TRUE(pipeline().isVisible(PipelinePart::Stations));
    toggle("中心线");
    EXPECT_TRUE(pipeline().isVisible(PipelinePart::Centerline));
}

TEST_F(LayerWindowTest, TheRowOfThePipelineSwitchesAllItsParts) {
    toggle("管道"); // some are hidden: now all are shown
    for (std::size_t part = 0; part < kPipelineParts; ++part) {
        EXPECT_TRUE(pipeline().isVisible(PipelinePart(part))) << part;
    }
    toggle("管道");
    for (std::size_t part = 0; part < kPipelineParts; ++part) {
        EXPECT_FALSE(pipeline().isVisible(PipelinePart(part))) << part;
    }
}

TEST_F(LayerWindowTest, TheSpaceKeyTogglesTheCurrentRow) {
    layers().setFocus();
    layers().setCurrentItem(row("节点"));
    QTest::keyClick(&layers(), Qt::Key_Space);
    EXPECT_FALSE(pipeline().isVisible(PipelinePart::Nodes));
}

TEST_F(LayerWindowTest, ChoosingAWidthShowsTheBuffer) {
    auto* width = window().findChild<QComboBox*>("bufferMetres");
    ASSERT_NE(width, nullptr);
    EXPECT_EQ(width->currentText(), "50 m");
    EXPECT_FALSE(pipeline().isVisible(PipelinePart::Buffer));
    width->setFocus();
    QTest::keyClick(width, Qt::Key_Home);
    EXPECT_EQ(pipeline().bufferMetres(), 5.0);
    EXPECT_TRUE(pipeline().isVisible(PipelinePart::Buffer));
}

TEST_F(LayerWindowTest, AnomaliesAreHiddenAndFadedAlsoThoseThatComeLater) {
    openComputed();
    KV_StationItem* station = checkedStationWithMostAnomalies();
    ASSERT_NE(station, nullptr);
    ASSERT_FALSE(overlayGroups().empty());
    toggle("异常（高程变化）");
    for (const osg::Group* group : overlayGroups()) {
        EXPECT_EQ(group->getNodeMask(), 0U);
    }
    auto* slider = window().findChild<QSlider*>("anomalyOpacity");
    slider->setFocus();
    QTest::keyClick(slider, Qt::Key_Home);
    const std::string name = station->m_diffData.m_anomalies.front().name;
    EXPECT_NEAR(overlayOnGlobe(*m_globe, QString::fromStdString(name))->getAlpha(), 0.1F, 1e-6F);

    clickCheckBox(tree().topLevelItem(0)->child(0)); // unticked and ticked again
    clickCheckBox(tree().topLevelItem(0)->child(0));
    for (const osg::Group* group : overlayGroups()) {
        EXPECT_EQ(group->getNodeMask(), 0U);
    }
    toggle("异常（高程变化）");
    ASSERT_FALSE(overlayGroups().empty());
    for (const osg::Group* group : overlayGroups()) {
        EXPECT_EQ(group->getNodeMask(), ~0U);
    }
}

TEST_F(LayerWindowTest, TellsHowOpaqueTheOrthophotosAreToBe) {
    QSignalSpy told(&window(), &LayerWindow::imageryOpacityChanged);
    auto* slider = window().findChild<QSlider*>("imageryOpacity");
    slider->setFocus();
    QTest::keyClick(slider, Qt::Key_PageDown);
    ASSERT_EQ(told.size(), 1);
    EXPECT_NEAR(told.takeFirst().first().toDouble(), 0.9, 1e-9);
}

} // namespace
