// The two dialogs over a stored record.

#include "tests/plugin/special/DialogFixture.h"

#include "host/Gbk.h"

namespace {

using DialogRecords = Dialogs;

/// Of which no value is one that a fresh dialog has.
Special_Polygon storedRegion(int type) {
    Special_Polygon record(toGbk("第一小学"), osg::Vec3d(114, 30, 50));
    record.m_type = type;
    record.m_attribute = toGbk("学校");
    record.m_fillColor = {0.1F, 0.999F, 0.0F};
    record.m_borderColor = {0.5F, 0.25F, 1.0F};
    record.m_borderWidth = 7;
    record.m_opacity = 0.25F;
    record.m_level = 4;
    return record;
}

TEST_F(DialogRecords, OfAPointAreShownForPointsOnly) {
    Special_Point record(toGbk("一号阀室"), osg::Vec3d(114, 30, 50));
    record.m_attribute = toGbk("阀室");
    CDrawPointDlg dialog;
    dialog.showRecord(record);
    EXPECT_EQ(title(dialog), "编辑特殊点");
    EXPECT_EQ(dialog.ui.lineEditTitle->text(), "一号阀室");
    EXPECT_EQ(dialog.ui.combox_attri->currentText(), "阀室");
    EXPECT_EQ(dialog.m_attribute, "阀室");
    record.m_type = KV_SPECIAL_AREA;
    CDrawPointDlg other;
    other.showRecord(record);
    EXPECT_EQ(title(other), "添加特殊点");
    EXPECT_EQ(other.ui.lineEditTitle->text(), "");
    EXPECT_EQ(other.ui.combox_attri->currentText(), "");
}

TEST_F(DialogRecords, OfARegionFillEveryField) {
    for (const int type : {KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        const bool hasLevel = type == KV_HIGH_CONSEQUENCE_AREA;
        CdrawPolygonDlg dialog(nullptr);
        dialog.showRecord(storedRegion(type));
        EXPECT_EQ(title(dialog), hasLevel ? "编辑高后果区" : "编辑特殊面");
        EXPECT_EQ(dialog.ui.lineEditTitle->text(), "第一小学");
        EXPECT_EQ(dialog.m_attribute, "学校");
        EXPECT_EQ(dialog.ui.comboBox_attri->currentText(), "学校");
        // Channels are cut off, not rounded.
        EXPECT_EQ(dialog.m_fillColor, QColor(25, 254, 0, 255));
        EXPECT_EQ(dialog.m_borderColor, QColor(127, 63, 255, 255));
        EXPECT_EQ(dialog.ui.labelFillColor->styleSheet(), "background-color: rgb(25, 254, 0);");
        EXPECT_EQ(dialog.ui.labelBorderColor->styleSheet(), "background-color: rgb(127, 63, 255);");
        EXPECT_EQ(dialog.ui.spinBoxBorderWidth->value(), 7);
        EXPECT_EQ(dialog.m_borderWidth, 7);
        EXPECT_DOUBLE_EQ(dialog.ui.doubleSpinBox->value(), 0.25);
        EXPECT_FLOAT_EQ(dialog.m_opacity, 0.25F);
        EXPECT_EQ(dialog.ui.spinBox_level->isHidden(), !hasLevel);
        EXPECT_EQ(dialog.ui.label_level->isHidden(), !hasLevel);
        EXPECT_EQ(dialog.m_level, hasLevel ? 4 : 1);
        EXPECT_EQ(dialog.m_mode, CdrawPolygonDlg::NotInitialised) << "the kind is chosen by LoadRecord alone";
    }
}

TEST_F(DialogRecords, OfAnotherTypeLeaveTheDialogOfAnAreaAsItWas) {
    CdrawPolygonDlg dialog(nullptr);
    dialog.LoadRecord(KV_HIGH_CONSEQUENCE_AREA);
    dialog.showRecord(storedRegion(KV_SPECIAL_POINT));
    EXPECT_EQ(title(dialog), "添加高后果区");
    EXPECT_EQ(dialog.ui.lineEditTitle->text(), "");
    EXPECT_EQ(dialog.m_attribute, "");
    EXPECT_EQ(dialog.m_fillColor, QColor(255, 255, 0));
    EXPECT_EQ(dialog.m_borderColor, QColor(255, 255, 255));
    EXPECT_EQ(dialog.ui.labelFillColor->styleSheet(), "background-color: rgb(255,255,0);");
    EXPECT_EQ(dialog.m_borderWidth, 3);
    EXPECT_FLOAT_EQ(dialog.m_opacity, 0.6F);
    EXPECT_EQ(dialog.m_level, 1);
    EXPECT_FALSE(dialog.ui.spinBox_level->isHidden());
}

} // namespace
