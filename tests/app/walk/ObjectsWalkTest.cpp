#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/TheChild.h"
#include "tests/support/Typing.h"
#include "tests/support/WorkingDirectory.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/PolygonSymbol>

namespace {

constexpr char kDelete[] = "删除";
constexpr char kEdit[] = "编辑";

/// Special objects on the sample corridor, which comes with high-consequence areas.
class ObjectsWalk : public WalkTest {
protected:
    QWidget* dialog(const char* name) const {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->objectName() == name) {
                return widget;
            }
        }
        ADD_FAILURE() << "no dialog " << name;
        return nullptr;
    }
    static void fill(QWidget* dialog, const char* name, const QString& attributeBox, const char* attribute) {
        auto* title = &theChild<QLineEdit>(dialog, "lineEditTitle");
        title->clear();
        type(title, name);
        auto* box = &theChild<QComboBox>(dialog, attributeBox);
        box->clearEditText();
        type(box, attribute);
    }
    void confirm(QWidget* dialog) {
        QTest::mouseClick(&theChild<QPushButton>(dialog, "pushButtonOK"), Qt::LeftButton);
        waitForGlobe();
    }
    QVariantList stored(const char* sql) const {
        return ForeignConnection(m_folder + "/inspection.db").read(sql);
    }
    static const OsgDataSet& scene() {
        return dynamic_cast<OsgDataSet&>(
            *IORVAContext::Instance()->GetDataSetManager()->GetDataSet(OsgDataSet::kIndex));
    }
    /// The area's look on the globe: fill colour with opacity, and the text of its label.
    static std::pair<osgEarth::Symbology::Color, std::string> lookOf(const char* name) {
        for (const auto& [group, record] : scene().getPipeAreas()) {
            if (record.GetName() != toGbk(name)) {
                continue;
            }
            auto& feature = dynamic_cast<osgEarth::Annotation::FeatureNode&>(*group->getChild(0));
            auto& label = dynamic_cast<osgEarth::Annotation::PlaceNode&>(*group->getChild(1));
            return {feature.getStyle().get<osgEarth::Symbology::PolygonSymbol>()->fill()->color(),
                    label.getText().c_str()};
        }
        ADD_FAILURE() << "no area " << name;
        return {};
    }

    const SampleProject m_sample{4096};
    const WorkingDirectory m_directory;
};

TEST_F(ObjectsWalk, APointAndAnAreaAreDrawnEditedDeletedAndEverythingIsAsLeftAfterReopening) {
    open(m_sample.folder());
    const int polygons = stored("select count(*) from high_consequence_area").value(0).toInt();
    ASSERT_GE(polygons, 1);
    const QString village = stored("select name from high_consequence_area order by id").value(0).toString();
    doubleClickObject(village);
    const QPoint middle = window().globe().rect().center();

    clickTool("添加特殊面");
    for (const QPoint& corner : {QPoint(-170, 90), QPoint(-60, 110), QPoint(-40, 30)}) {
        clickAt(middle + corner, Qt::LeftButton);
    }
    moveTo(middle + QPoint(-130, 10));
    keepPicture("area-drawing");
    clickAt(middle + QPoint(-150, 20), Qt::RightButton);
    fill(dialog("CdrawPolygonDlg"), "第一小学", "comboBox_attri", "学校");
    keepPicture("area-form");
    confirm(dialog("CdrawPolygonDlg"));

    clickTool("添加特殊点");
    fill(dialog("CDrawPointDlg"), "三号阀室", "combox_attri", "阀室");
    clickAt(middle + QPoint(120, 70), Qt::LeftButton);
    keepPicture("point-form");
    confirm(dialog("CDrawPointDlg"));
    EXPECT_EQ(stored("select name from special_point"), QVariantList{"三号阀室"});

    clickTool("编辑特殊区域");
    const QPoint inArea = middle + QPoint(-110, 78);
    chooseAt(inArea, {kEdit});
    QWidget* form = dialog("CdrawPolygonDlg");
    fill(form, "实验小学", "comboBox_attri", "小学");
    for (const auto& [field, steps] : {std::pair("spinBoxBorderWidth", 2), {"doubleSpinBox", 6}}) {
        for (int step = 0; step < steps; ++step) {
            QTest::keyClick(&theChild<QAbstractSpinBox>(form, field), Qt::Key_Up);
        }
    }
    keepPicture("area-edit");
    confirm(form);
    keepPicture("area-edited");
    const auto edited = lookOf("实验小学");
    EXPECT_EQ(edited.second, "实验小学");
    EXPECT_FLOAT_EQ(edited.first.a(), 0.9F);
    EXPECT_EQ(stored("select name || attribute || border_width_px from special_area"),
              QVariantList{"实验小学小学5"});
    EXPECT_EQ(fromGbk(m_directory.history().toStdString()),
              "startPolygon\n学校\n小学\nendPolygon\nstartArea\nendArea\nstartPoint\n阀室\nendPoint\n");

    close();
    open(m_sample.folder());
    EXPECT_EQ(lookOf("实验小学"), edited);
    doubleClickObject(village);
    clickTool("编辑特殊区域");
    chooseAt(inArea, {kDelete});
    moveTo(placeOnGlobe(village) - QPoint(0, 12));
    QTest::keyClick(&window().globe(), Qt::Key_Delete);
    waitForGlobe();
    moveTo(middle + QPoint(120, 70) - QPoint(0, 12));
    QTest::keyClick(&window().globe(), Qt::Key_Delete);
    waitForGlobe();
    EXPECT_TRUE(stored("select name from special_area").isEmpty());
    EXPECT_TRUE(stored("select name from special_point").isEmpty());
    EXPECT_EQ(stored("select count(*) from high_consequence_area"), QVariantList{polygons - 1});
    for (const QString& name : {QString("实验小学"), QString("三号阀室"), village}) {
        EXPECT_TRUE(window()
                        .findChild<QTreeWidget*>("stationTree")
                        ->findItems(name, Qt::MatchExactly | Qt::MatchRecursive)
                        .isEmpty())
            << name.toStdString();
    }
}

} // namespace
