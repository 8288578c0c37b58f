// Editing and deleting what is on the globe.

#include "tests/plugin/region/RegionFixture.h"
#include "tests/support/TheChild.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::RenderSymbol;

namespace {

constexpr char kDelete[] = "删除";
constexpr char kEdit[] = "编辑";

class RegionEditing : public RegionTest {
protected:
    /// Every value of a region's row, as text.
    QVariantList row(const char* table, const char* name) const {
        QVariantList values;
        for (const char* column : {"id", "name", "attribute", "lon_deg", "lat_deg", "outline_wkt", "fill_red",
                                   "border_width_px", "opacity", "level"}) {
            values << readStored(QString("select %1 from %2 where name=?").arg(column, table), {name});
        }
        return values;
    }
    void set(const char* field, int steps) {
        auto* box = &theChild<QAbstractSpinBox>(dialog(), field);
        box->setFocus();
        for (int step = 0; step < std::abs(steps); ++step) {
            QTest::keyClick(box, steps > 0 ? Qt::Key_Up : Qt::Key_Down);
        }
    }
    /// Makes the database refuse what changes a table.
    void refuseUpdates(const QString& table) const {
        ForeignConnection(m_folder + "/inspection.db")
            .run(QString("create trigger refused before update on %1 begin "
                         "select raise(abort, 'the server has gone'); end")
                     .arg(table));
    }
};

TEST_F(RegionEditing, TheDialogShowsTheStoredRecordOfItsKind) {
    choose(onPolygon(), kEdit);
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(field<QLineEdit>("lineEditTitle")->text(), "高");
    EXPECT_EQ(field<QComboBox>("comboBox_attri")->currentText(), "学校");
    EXPECT_TRUE(field<QSpinBox>("spinBox_level")->isVisible());
    EXPECT_EQ(field<QSpinBox>("spinBox_level")->value(), 2);
    choose(onArea(), kEdit);
    ASSERT_EQ(openDialogs("CdrawPolygonDlg").size(), 1) << "the earlier dialog has gone";
    EXPECT_EQ(field<QLineEdit>("lineEditTitle")->text(), "面");
    EXPECT_FALSE(field<QSpinBox>("spinBox_level")->isVisible());
    choose(onPoint(), kEdit);
    ASSERT_EQ(openDialogs("CDrawPointDlg").size(), 1);
    EXPECT_EQ(theChild<QLineEdit>(openDialogs("CDrawPointDlg").value(0), "lineEditTitle").text(), "点");
}

TEST_F(RegionEditing, AnEditedAreaIsTheSameInGlobeTreeDatabaseAndHistoryAndAfterReopening) {
    osg::Group* group = groupOf("面");
    const osg::ref_ptr<osgEarth::Symbology::Geometry> ring = featureOf("面")->getFeature()->getGeometry();
    choose(onArea(), kEdit);
    typeName("二小");
    field<QComboBox>("comboBox_attri")->clearEditText();
    type(field<QComboBox>("comboBox_attri"), "小学");
    chooseColour(*field<QPushButton>("pushButtonFillColorDlg"), QColor(0, 255, 255));
    chooseColour(*field<QPushButton>("pushButtonBorderColorDlg"), QColor(255, 0, 0));
    set("spinBoxBorderWidth", 2);
    set("doubleSpinBox", -8);
    confirm();

    EXPECT_EQ(dialog(), nullptr);
    ASSERT_EQ(groupOf("二小"), group);
    auto* feature = featureOf("二小");
    EXPECT_EQ(feature->getFeature()->getGeometry(), ring.get()) << "the outline itself is not touched";
    EXPECT_EQ(feature->getFeature()->getFID(), 0U);
    const auto& style = feature->getStyle();
    EXPECT_EQ(style.get<PolygonSymbol>()->fill()->color(), Color(0, 1, 1, 0.2F));
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->color(), Color(1, 0, 0, 0.65F)) << "whatever the opacity";
    EXPECT_FLOAT_EQ(style.get<LineSymbol>()->stroke()->width().get(), 5.0F);
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->widthUnits().get(), osgEarth::Units::PIXELS);
    EXPECT_EQ(style.get<AltitudeSymbol>()->clamping().get(), AltitudeSymbol::CLAMP_TO_TERRAIN);
    EXPECT_EQ(style.get<AltitudeSymbol>()->technique().get(), AltitudeSymbol::TECHNIQUE_GPU);
    EXPECT_FLOAT_EQ(static_cast<float>(style.get<AltitudeSymbol>()->verticalOffset()->eval()), 0.1F);
    EXPECT_EQ(style.get<RenderSymbol>(), nullptr);
    EXPECT_EQ(labelOf(*group), std::string("二小\0", 7)) << "the terminating zero is part of it";

    EXPECT_EQ(tree().findItems("二小", Qt::MatchExactly | Qt::MatchRecursive).size(), 1);
    EXPECT_TRUE(tree().findItems("面", Qt::MatchExactly | Qt::MatchRecursive).isEmpty());
    const QVariantList stored = row("special_area", "二小");
    ASSERT_EQ(stored.size(), 10);
    EXPECT_EQ(stored[2], "小学");
    EXPECT_EQ(stored[6].toDouble(), 0.0) << "red of the fill";
    EXPECT_EQ(stored[7].toInt(), 5);
    EXPECT_NEAR(stored[8].toDouble(), 0.2, 1e-6);
    EXPECT_EQ(m_directory.history(),
              "startPolygon\n\xD0\xA1\xD1\xA7\nendPolygon\nstartArea\nendArea\nstartPoint\nendPoint\n");

    reopen();
    m_host.settle();
    EXPECT_EQ(labelOf(*groupOf("二小")), "二小");
    EXPECT_EQ(featureOf("二小")->getStyle().get<PolygonSymbol>()->fill()->color(), Color(0, 1, 1, 0.2F));
    EXPECT_EQ(featureOf("二小")->getFeature()->getGeometry()->size(), 4U);
    EXPECT_EQ(row("special_area", "二小"), stored);
}

TEST_F(RegionEditing, TheLevelOfAHighConsequenceAreaIsStoredAndItsWordGoesToItsOwnBlock) {
    choose(onPolygon(), kEdit);
    set("spinBox_level", 2);
    field<QComboBox>("comboBox_attri")->clearEditText();
    type(field<QComboBox>("comboBox_attri"), "医院");
    confirm();
    EXPECT_EQ(readStored("select level from high_consequence_area").value(0).toInt(), 4);
    EXPECT_EQ(m_directory.history(),
              "startPolygon\nendPolygon\nstartArea\n\xD2\xBD\xD4\xBA\nendArea\nstartPoint\nendPoint\n");
    EXPECT_EQ(scene().getPipePolygons().begin()->second.m_level, 4);
}

TEST_F(RegionEditing, AnEditedPointGetsANewMarkerAtItsOwnPlace) {
    osg::Group* group = groupOf("点");
    const osg::ref_ptr<osg::Node> before = group->getChild(0);
    choose(onPoint(), kEdit);
    auto* name = &theChild<QLineEdit>(openDialogs("CDrawPointDlg").value(0), "lineEditTitle");
    name->clear();
    type(name, "一号桩");
    confirmPoint();
    ASSERT_EQ(groupOf("一号桩"), group);
    ASSERT_EQ(group->getNumChildren(), 1U);
    auto* marker = dynamic_cast<PlaceNode*>(group->getChild(0));
    ASSERT_NE(marker, nullptr);
    EXPECT_NE(group->getChild(0), before.get());
    EXPECT_EQ(marker->getName(), "ROIPoint");
    EXPECT_EQ(marker->getText(), "一号桩");
    EXPECT_TRUE(marker->getDynamic());
    EXPECT_NEAR(marker->getPosition().x(), lonLat(100, 20).x(), 1e-9);
    EXPECT_EQ(marker->getPosition().altitudeMode(), osgEarth::ALTMODE_ABSOLUTE);
    EXPECT_DOUBLE_EQ(marker->getPosition().z(), 50.0);
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"一号桩"});
    EXPECT_EQ(menusAt(onPoint()), 1U) << "the new marker is picked as the old one was";
}

TEST_F(RegionEditing, ATakenNameLeavesTheDialogOpenAndChangesNothingAndTheOwnNamePasses) {
    const QVariantList before = row("special_area", "面");
    choose(onArea(), kEdit);
    typeName("点");
    set("spinBoxBorderWidth", 4);
    confirm();
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(row("special_area", "面"), before);
    EXPECT_NE(groupOf("面"), nullptr);
    typeName("面");
    confirm();
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(readStored("select border_width_px from special_area").value(0).toInt(), 7);

    choose(onPoint(), kEdit);
    auto* name = &theChild<QLineEdit>(openDialogs("CDrawPointDlg").value(0), "lineEditTitle");
    name->clear();
    type(name, "高");
    confirmPoint();
    EXPECT_EQ(openDialogs("CDrawPointDlg").size(), 1);
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"点"});
}

TEST_F(RegionEditing, AnEmptyNameIsRefusedWithOneMessageAndChangesNothing) {
    const QVariantList before = row("special_area", "面");
    choose(onArea(), kEdit);
    field<QLineEdit>("lineEditTitle")->clear();
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(boxes.texts, QStringList{"名称不能为空"});
    EXPECT_EQ(row("special_area", "面"), before);
    EXPECT_EQ(labelOf(*groupOf("面")), "面");
}

TEST_F(RegionEditing, WhenTheDatabaseRefusesSceneAndRegistryStayAndTheDialogCloses) {
    const QVariantList before = row("special_area", "面");
    const auto style = featureOf("面")->getStyle().get<LineSymbol>()->stroke()->width().get();
    choose(onArea(), kEdit);
    refuseUpdates("special_area");
    typeName("别名");
    set("spinBoxBorderWidth", 4);
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    testing::internal::CaptureStdout();
    confirm();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("the server has gone"), std::string::npos);
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(row("special_area", "面"), before);
    ASSERT_NE(groupOf("面"), nullptr);
    EXPECT_EQ(labelOf(*groupOf("面")), "面");
    EXPECT_EQ(featureOf("面")->getStyle().get<LineSymbol>()->stroke()->width().get(), style);
    EXPECT_TRUE(stationWindow().isReiterated_node("面"));
    EXPECT_FALSE(stationWindow().isReiterated_node("别名"));
}

TEST_F(RegionEditing, EachKindIsDeletedByMenuFromGlobeTreeAndDatabase) {
    for (const auto& [place, name, table] : {std::tuple(onArea(), "面", "special_area"),
                                             {onPolygon(), "高", "high_consequence_area"},
                                             {onPoint(), "点", "special_point"}}) {
        const osg::ref_ptr<osg::Group> group = groupOf(name);
        ASSERT_TRUE(isOnGlobe(group));
        choose(place, kDelete);
        EXPECT_FALSE(isOnGlobe(group)) << name;
        EXPECT_FALSE(stationWindow().isReiterated_node(name)) << name;
        EXPECT_TRUE(tree().findItems(name, Qt::MatchExactly | Qt::MatchRecursive).isEmpty()) << name;
        EXPECT_EQ(readStored(QString("select name from %1").arg(table)), QVariantList()) << name;
    }
    EXPECT_FALSE(QFile::exists(m_directory.file("record.txt"))) << "a deletion is no attribute";
    EXPECT_TRUE(scene().getPipeAreas().empty());
    EXPECT_TRUE(scene().getPipePolygons().empty());
    EXPECT_EQ(scene().getPipePoints().size(), 1U) << "there is no removal call for points";
    reopen();
    EXPECT_TRUE(scene().getPipePoints().empty());
}

TEST_F(RegionEditing, ADeletedPointStaysInThePointMap) {
    const osg::ref_ptr<osg::Group> group = groupOf("点");
    choose(onPoint(), kDelete);
    EXPECT_FALSE(isOnGlobe(group));
    EXPECT_FALSE(stationWindow().isReiterated_node("点"));
    ASSERT_EQ(scene().getPipePoints().count(group), 1U);
    EXPECT_EQ(scene().getPipePoints().at(group).GetName(), toGbk("点"));
}

TEST_F(RegionEditing, WhenTheDatabaseRefusesADeletionEverythingStays) {
    ForeignConnection(m_folder + "/inspection.db")
        .run("create trigger kept before delete on special_area begin select raise(abort, 'kept'); end");
    choose(onArea(), kDelete);
    EXPECT_TRUE(isOnGlobe(groupOf("面")));
    EXPECT_TRUE(stationWindow().isReiterated_node("面"));
    EXPECT_EQ(readStored("select name from special_area"), QVariantList{"面"});
}

TEST_F(RegionEditing, ARegionThatIsDeletedInTheTreeWhileItsDialogIsOpenStaysDeleted) {
    const osg::ref_ptr<osg::Group> group = groupOf("面");
    choose(onArea(), kEdit);
    typeName("又来");
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        auto* entry = tree().findItems("面", Qt::MatchExactly | Qt::MatchRecursive).at(0);
        entry->parent()->setExpanded(true);
        tree().setCurrentItem(entry);
        QTest::keyClick(&tree(), Qt::Key_Delete);
        EXPECT_EQ(boxes.texts, QStringList{"是否删除“面”？"});
    }
    EXPECT_FALSE(isOnGlobe(group));
    confirm();
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(readStored("select count(*) from special_area").value(0).toInt(), 0);
    EXPECT_FALSE(isOnGlobe(group));
    EXPECT_EQ(labelOf(*group), "面");
}

TEST_F(RegionEditing, ConfirmingActsOnTheRegionOfTheLatestRightClick) {
    ASSERT_TRUE(stationWindow().AddAreaNode(region("次", KV_SPECIAL_AREA, 75, 50)));
    reopen();
    m_host.settle();
    const QVariantList second = row("special_area", "次");
    choose(onArea(), kEdit);
    typeName("面二");
    EXPECT_EQ(menusAt(ground(100, 75)), 1U);
    confirm();
    // The record is that of the dialog, the region on the globe the one under the pointer.
    EXPECT_EQ(labelOf(*groupOf("面二")), std::string("面二\0", 7));
    EXPECT_EQ(row("special_area", "面二").at(5), second.at(5)) << "the outline of what is picked";
    EXPECT_EQ(row("special_area", "次"), second);
}

TEST_F(RegionEditing, APolygonDialogThatIsConfirmedOverAnAreaNeverLookedUpStoresNothing) {
    ASSERT_TRUE(stationWindow().AddAreaNode(region("次", KV_SPECIAL_AREA, 75, 50)));
    reopen();
    m_host.settle();
    choose(ground(100, 75), kDelete); // the latest area that was looked up has gone
    const QVariantList polygon = row("high_consequence_area", "高");
    const QVariantList area = row("special_area", "面");
    choose(onPolygon(), kEdit);
    typeName("新名");
    EXPECT_EQ(menusAt(onArea()), 1U);
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(row("high_consequence_area", "高"), polygon);
    EXPECT_EQ(row("special_area", "面"), area);
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(RegionEditing, ARegionWithoutGeometryKeepsItsStoredOutline) {
    const QVariantList before = row("special_area", "面");
    choose(onArea(), kEdit);
    groupOf("面")->setChild(0, new osg::Node);
    typeName("无形");
    confirm();
    const QVariantList after = row("special_area", "无形");
    ASSERT_EQ(after.size(), 10);
    for (const int column : {3, 4, 5}) {
        EXPECT_EQ(after[column], before[column]);
    }
}

TEST_F(RegionEditing, ARecordWithoutGeometryIsInTheTreeAndHarmless) {
    ForeignConnection(m_folder + "/inspection.db").run("update special_area set outline_wkt='POLYGON EMPTY'");
    reopen();
    m_host.settle();
    EXPECT_EQ(groupOf("面"), nullptr);
    EXPECT_TRUE(stationWindow().isReiterated_node("面"));
    EXPECT_EQ(menusAt(onArea()), 0U);
    EXPECT_TRUE(stationWindow().DeleteNode("面", KV_SPECIAL_AREA));
}

TEST_F(RegionEditing, ASecondPointDialogTakesTheStyleDialogAwayAndLeavesTheFirstOpen) {
    choose(onPoint(), kEdit);
    choose(onArea(), kEdit);
    ASSERT_NE(dialog(), nullptr);
    choose(onPoint(), kEdit);
    EXPECT_EQ(openDialogs("CDrawPointDlg").size(), 2) << "crossed on purpose";
    EXPECT_EQ(dialog(), nullptr);
    for (QWidget* open : openDialogs("CDrawPointDlg")) {
        open->close();
    }
}

TEST_F(RegionEditing, LeavingTheToolHidesItsDialogsAndOnlyTheStyleDialogWakesItAgain) {
    choose(onPoint(), kEdit);
    const QPointer<QWidget> pointDialog = openDialogs("CDrawPointDlg")[0];
    choose(onArea(), kEdit);
    const QPointer<QWidget> styleDialog = dialog();
    moveTo(onArea());
    m_engine.deactivateTool();
    EXPECT_FALSE(pointDialog->isVisible());
    EXPECT_FALSE(styleDialog->isVisible());
    const auto deleteKey = [this] {
        send(osgGA::GUIEventAdapter::KEYDOWN, 0, 0, 0, osgGA::GUIEventAdapter::KEY_Delete);
        send(osgGA::GUIEventAdapter::KEYUP, 0, 0, 0, osgGA::GUIEventAdapter::KEY_Delete);
    };
    pointDialog->close();
    deleteKey();
    EXPECT_NE(groupOf("面"), nullptr) << "closing the point dialog leaves the tool as it is";
    styleDialog->close();
    deleteKey();
    EXPECT_EQ(groupOf("面"), nullptr);
    m_host.deliver();
}

TEST_F(RegionEditing, ConfirmingWithoutAnyChangeStoresTheSameValues) {
    const QVariantList before = row("high_consequence_area", "高");
    choose(onPolygon(), kEdit);
    confirm();
    const QVariantList after = row("high_consequence_area", "高");
    ASSERT_EQ(after.size(), before.size());
    for (qsizetype column = 0; column < before.size(); ++column) {
        // The stored place becomes the middle of the bounds, which is not quite the old one.
        const bool isCentre = column == 3 || column == 4;
        if (isCentre) {
            EXPECT_NEAR(after[column].toDouble(), before[column].toDouble(), 1e-6) << column;
        } else {
            EXPECT_EQ(after[column], before[column]) << column;
        }
    }
}

} // namespace
