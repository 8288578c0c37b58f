#include "tests/plugin/ProjectFixture.h"

#include "tests/support/WaitUntil.h"

#include "host/inspection/DataSet.h"
#include "host/inspection/StationWindow.h"

#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>

using namespace inspection;

namespace {

TEST_F(OnAProject, ThePointToolOpensItsDialogAndItsGroupEntersTheScene) {
    const std::size_t before = m_host.groupsNamed("ROIPoint").size();
    m_host.click("添加特殊点");
    EXPECT_TRUE(m_host.button("添加特殊点").isChecked());
    EXPECT_NE(visibleWindow("CDrawPointDlg"), nullptr);
    EXPECT_EQ(m_host.groupsNamed("ROIPoint").size(), before)
        << "not before the frame loop delivers the message";
    m_host.deliver();
    EXPECT_EQ(m_host.groupsNamed("ROIPoint").size(), before + 1);

    m_host.click("添加特殊点");
    EXPECT_FALSE(m_host.button("添加特殊点").isChecked()) << "a second click switches it off";
    EXPECT_EQ(visibleWindow("CDrawPointDlg"), nullptr);
}

TEST_F(OnAProject, AClickPlacesTheMarkerAndASecondOneMovesIt) {
    m_host.click("添加特殊点");
    m_host.settle();
    osg::Group* group = pointGroup();
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->getNumChildren(), 0U);

    clickOnGlobe(20, 10);
    ASSERT_EQ(group->getNumChildren(), 1U);
    const osg::Vec3d first = group->getChild(0)->getBound().center();
    clickOnGlobe(-60, 10);
    ASSERT_EQ(group->getNumChildren(), 1U) << "at most one preview marker";
    EXPECT_GT((osg::Vec3d(group->getChild(0)->getBound().center()) - first).length(), 10.0);
}

TEST_F(OnAProject, ClosingThePointDialogTakesTheGroupOutOfTheScene) {
    const std::size_t before = m_host.groupsNamed("ROIPoint").size();
    m_host.click("添加特殊点");
    m_host.deliver();
    QTest::mouseClick(visibleWindow("CDrawPointDlg")->findChild<QPushButton*>("pushButtonCancel"),
                      Qt::LeftButton);
    m_host.deliver();
    EXPECT_EQ(m_host.groupsNamed("ROIPoint").size(), before);
    EXPECT_FALSE(m_host.button("添加特殊点").isChecked());
}

TEST_F(OnAProject, AConfirmedPointIsStoredAndItsMarkerStays) {
    m_host.click("添加特殊点");
    m_host.settle();
    osg::Group* group = pointGroup();
    clickOnGlobe(5, 5);
    QWidget* dialog = visibleWindow("CDrawPointDlg");
    ASSERT_NE(dialog, nullptr);
    QTest::keyClicks(dialog->findChild<QLineEdit*>("lineEditTitle"), "valve 7");
    QTest::keyClicks(dialog->findChild<QComboBox*>("combox_attri"), "valve");
    QTest::mouseClick(dialog->findChild<QPushButton*>("pushButtonOK"), Qt::LeftButton);

    EXPECT_TRUE(InspectionContext::instance().GetStationWindow()->isReiterated_node("valve 7"));
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_FALSE(m_host.button("添加特殊点").isChecked());
    ASSERT_EQ(group->getNumChildren(), 1U);
    const auto* marker = dynamic_cast<osgEarth::Annotation::PlaceNode*>(group->getChild(0));
    ASSERT_NE(marker, nullptr);
    EXPECT_EQ(marker->getText(), "valve 7");

    QFile history("record.txt");
    ASSERT_TRUE(history.open(QIODevice::ReadOnly | QIODevice::Text));
    EXPECT_EQ(history.readAll(),
              "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\nvalve\nendPoint\n");
}

TEST_F(OnAProject, ConfirmingWithoutAMarkerWarnsAndGoesOnPlacing) {
    m_host.click("添加特殊点");
    m_host.settle();
    const DialogCloser closer;
    QWidget* dialog = visibleWindow("CDrawPointDlg");
    QTest::mouseClick(dialog->findChild<QPushButton*>("pushButtonOK"), Qt::LeftButton);
    ASSERT_EQ(closer.objectNames, QStringList{"myMessageBox"});
    EXPECT_TRUE(closer.texts.first().contains(QStringLiteral("请先绘制特殊点")));
    clickOnGlobe(5, 5);
    EXPECT_EQ(pointGroup()->getNumChildren(), 1U);
}

TEST_F(OnAProject, AnAreaIsDigitisedClosedNamedAndStored) {
    m_host.click("添加特殊面");
    m_host.settle();
    const auto groups = m_host.groupsNamed("ROIArea");
    ASSERT_FALSE(groups.empty());
    osg::Group* group = groups.back();
    clickOnGlobe(-60, -40);
    EXPECT_EQ(group->getNumChildren(), 1U);
    clickOnGlobe(60, -40);
    clickOnGlobe(60, 40);
    EXPECT_EQ(group->getNumChildren(), 2U) << "outline and rubber band";
    clickOnGlobe(-60, 40, Qt::RightButton);
    EXPECT_FALSE(m_host.button("添加特殊面").isChecked()) << "a right click ends the drawing";

    QWidget* dialog = visibleWindow("CdrawPolygonDlg");
    ASSERT_NE(dialog, nullptr) << "but not the dialog";
    EXPECT_FALSE(dialog->findChild<QWidget*>("spinBox_level")->isVisible());
    QTest::keyClicks(dialog->findChild<QLineEdit*>("lineEditTitle"), "school");
    QTest::mouseClick(dialog->findChild<QPushButton*>("pushButtonOK"), Qt::LeftButton);

    EXPECT_TRUE(InspectionContext::instance().GetStationWindow()->isReiterated_node("school"));
    EXPECT_FALSE(dialog->isVisible());
    ASSERT_EQ(group->getNumChildren(), 2U) << "outline and label";
    EXPECT_NE(dynamic_cast<osgEarth::Annotation::PlaceNode*>(group->getChild(1)), nullptr);

    auto* scene = dynamic_cast<OsgDataSet*>(InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    const auto record = scene->getPipeAreas().find(group);
    ASSERT_NE(record, scene->getPipeAreas().end());
    EXPECT_EQ(record->second.m_vertices.size(), 4U);
}

TEST_F(OnAProject, ComputingWhileTheAnomalyToolIsActiveShowsTheAnomaliesAndLeavesTheToolOn) {
    checkAllStations();
    m_host.click("查看\\编辑异常");
    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    m_host.click("计算异常");
    EXPECT_FALSE(m_host.button("计算异常").isChecked());
    ASSERT_TRUE(waitUntil([&] { return !finished.isEmpty(); }, 120000));
    EXPECT_TRUE(finished[0][0].toBool()) << finished[0][1].toString().toStdString();

    EXPECT_EQ(m_engine.GetActiveTool(), &m_host.command("查看\\编辑异常"));
    m_host.settle();
    int overlays = 0;
    for (osg::Group* group : m_host.groupsNamed("diffImageOverlay")) {
        overlays += static_cast<int>(group->getNumChildren());
    }
    EXPECT_GT(overlays, 0);
}

} // namespace
