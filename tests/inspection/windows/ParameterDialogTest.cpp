#include "tests/inspection/windows/WindowFixture.h"

#include "detect/output/ParameterTable.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/settings/ColourButton.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QToolButton>

namespace {

class ParameterDialogTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
    }
    ParaSet& dialog() { return *dynamic_cast<ParaSet*>(context().GetDataSet(ParaSet::kIndex)); }
    template<typename Widget>
    Widget& field(const char* name) {
        return *dialog().findChild<Widget*>(name);
    }
    void press(const char* button) { QTest::mouseClick(&field<QPushButton>(button), Qt::LeftButton); }
    /// Opens the dialog and does `steps` in it; the last one must close it.
    void inDialog(const std::function<void()>& steps) {
        QTimer::singleShot(0, &dialog(), [this, steps] {
            ASSERT_TRUE(dialog().isVisible());
            steps();
        });
        dialog().OnSetPara();
        EXPECT_FALSE(dialog().isVisible());
    }
    void type(const char* name, const QString& text) {
        auto& box = field<QDoubleSpinBox>(name);
        box.setFocus();
        box.selectAll();
        QTest::keyClicks(&box, text);
    }
};

TEST_F(ParameterDialogTest, ShowsTheProjectsParametersUnderItsTitle) {
    inDialog([this] {
        EXPECT_EQ(dialog().findChild<titleBar*>()->titleContent(), "参数设置");
        EXPECT_DOUBLE_EQ(field<QDoubleSpinBox>("threshold_m").value(),
                         context().project()->description().parameters.thresholdMetres);
        QStringList methods;
        for (int i = 0; i < field<QComboBox>("coregister").count(); ++i) {
            methods << field<QComboBox>("coregister").itemText(i);
        }
        EXPECT_EQ(methods, QStringList({"自动", "无", "垂直偏差", "完整配准", "局部改正"}));
        keepPicture(dialog(), "parameter-dialog");
        press("cancel");
    });
}

TEST_F(ParameterDialogTest, WhatIsConfirmedIsStoredInTheProjectAndReadBack) {
    EXPECT_EQ(dialog().GetOverlayMode(), 0);
    inDialog([this] {
        type("threshold_m", "0.75");
        type("min_area_m2", "9");
        QTest::keyClick(&field<QComboBox>("coregister"), Qt::Key_End);
        QTest::keyClick(&field<QComboBox>("coregister"), Qt::Key_Up);
        QTest::keyClick(&field<QComboBox>("overlayMode"), Qt::Key_Down);
        field<inspection::ColourButton>("fillColour").setColour(QColor("#ff8800"));
        press("confirm");
    });
    EXPECT_EQ(dialog().GetOverlayMode(), 1);

    context().closeProject();
    ASSERT_FALSE(context().openProject(m_project).has_value());
    const inspection::ProjectParameters& stored = context().project()->description().parameters;
    EXPECT_DOUBLE_EQ(stored.thresholdMetres, 0.75);
    EXPECT_DOUBLE_EQ(stored.minAreaSquareMetres, 9.0);
    EXPECT_EQ(stored.coregistration, detect::CoregistrationMethod::Full);
    EXPECT_EQ(stored.overlayMode, inspection::OverlayMode::Bounds);
    EXPECT_EQ(stored.fillColour, QColor("#ff8800"));
}

TEST_F(ParameterDialogTest, TheAdvancedParametersAreFoldedAwayUntilTheyAreWanted) {
    inDialog([this] {
        EXPECT_FALSE(field<QCheckBox>("sliver").isVisible());
        dialog().move(dialog().x(), dialog().screen()->availableGeometry().bottom() - dialog().height());
        const int folded = dialog().height();
        QTest::mouseClick(&field<QToolButton>("advanced"), Qt::LeftButton);
        EXPECT_TRUE(field<QCheckBox>("sliver").isVisible());
        EXPECT_GT(dialog().height(), folded);
        EXPECT_TRUE(dialog().screen()->availableGeometry().contains(dialog().frameGeometry()));
        for (const detect::ParameterField& parameter : detect::parameterFields()) {
            EXPECT_TRUE(dialog().findChild<QWidget*>(parameter.name)) << parameter.name;
        }
        EXPECT_FALSE(field<QDoubleSpinBox>("sigma_old_m").isEnabled()) << "without a confidence";
        EXPECT_FALSE(field<QCheckBox>("tilt").isEnabled()) << "without the full method";
        keepPicture(dialog(), "parameter-dialog-advanced");
        type("confidence", "0.99");
        field<QDoubleSpinBox>("confidence").interpretText();
        ASSERT_TRUE(field<QDoubleSpinBox>("sigma_old_m").isEnabled());
        type("sigma_old_m", "0.04");
        field<QCheckBox>("sliver").setFocus();
        QTest::keyClick(&field<QCheckBox>("sliver"), Qt::Key_Space);
        press("confirm");
    });
    const inspection::ProjectParameters stored = context().project()->description().parameters;
    ASSERT_TRUE(stored.significance.has_value());
    EXPECT_DOUBLE_EQ(stored.significance->confidence, 0.99);
    EXPECT_DOUBLE_EQ(stored.significance->oldSigmaMetres.value(), 0.04);
    EXPECT_DOUBLE_EQ(stored.significance->newSigmaMetres.value(), 0.04) << "one for both";
    EXPECT_FALSE(stored.rules.sliver);
    inDialog([this, stored] {
        EXPECT_FALSE(field<QCheckBox>("sliver").isVisible()) << "folded again";
        EXPECT_DOUBLE_EQ(field<QDoubleSpinBox>("confidence").value(), 0.99);
        press("confirm");
    });
    EXPECT_TRUE(context().project()->description().parameters == stored) << "nothing is lost on the way";
}

TEST_F(ParameterDialogTest, CancelStoresNothing) {
    const inspection::ProjectParameters before = context().project()->description().parameters;
    inDialog([this] {
        type("threshold_m", "3");
        press("cancel");
    });
    EXPECT_TRUE(context().project()->description().parameters == before);
    inDialog([this, before] {
        EXPECT_DOUBLE_EQ(field<QDoubleSpinBox>("threshold_m").value(), before.thresholdMetres)
            << "the next opening starts afresh";
        press("cancel");
    });
}

TEST_F(ParameterDialogTest, TheDefaultsButtonBringsTheDefaultsBack) {
    inDialog([this] {
        type("threshold_m", "3");
        press("defaults");
        EXPECT_DOUBLE_EQ(field<QDoubleSpinBox>("threshold_m").value(),
                         inspection::ProjectParameters().thresholdMetres);
        press("cancel");
    });
}

TEST_F(ParameterDialogTest, EqualColoursAreRefusedWithOneMessage) {
    MessageWatch messages;
    inDialog([this, &messages] {
        field<inspection::ColourButton>("cutColour")
            .setColour(field<inspection::ColourButton>("fillColour").colour());
        press("confirm");
        EXPECT_TRUE(dialog().isVisible());
        EXPECT_EQ(messages.texts().size(), 1);
        press("cancel");
    });
}

TEST_F(ParameterDialogTest, ValuesOutOfRangeCannotBeEntered) {
    inDialog([this] {
        type("threshold_m", "-5");
        field<QDoubleSpinBox>("threshold_m").interpretText();
        EXPECT_GT(field<QDoubleSpinBox>("threshold_m").value(), 0.0);
        press("cancel");
    });
}

TEST_F(ParameterDialogTest, OtherColoursAreOnTheGlobeAtOnce) {
    computeStations(4);
    const auto before = overlayGroups();
    ASSERT_FALSE(before.empty());
    const std::vector<osg::ref_ptr<osg::Group>> held(before.begin(), before.end());
    inDialog([this] {
        field<inspection::ColourButton>("fillColour").setColour(QColor("#00aa00"));
        press("confirm");
    });
    const auto after = overlayGroups();
    ASSERT_EQ(after.size(), before.size());
    EXPECT_NE(after[0], before[0]);
}

} // namespace
