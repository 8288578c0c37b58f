#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QTest>
#include <QToolButton>

namespace {

/// All anomalies of the sample corridor.
class SampleWalk : public WalkTest {
protected:
    const SampleProject m_sample{4096};
    QStringList m_walked;
};

const QStringList kClasses = {"建构筑物", "重物占压", "深挖", "塌陷"};

TEST_F(SampleWalk, TwentyAnomaliesByMouseAloneAndEverythingIsAsLeftAfterReopening) {
    open(m_sample.folder());
    tickAllStations();
    computeAnomalies();
    keepPicture("computed");
    clickTool("查看\\编辑异常");

    QMap<QString, QString> expected = stored();
    ASSERT_GE(expected.size(), 21);
    QString lastOne;
    for (int index = 0; index < stationCount() && m_walked.size() < 20; ++index) {
        clickStation(index);
        for (const QString& anomaly : rows()) {
            if (m_walked.size() == 20) {
                break;
            }
            doubleClickRow(anomaly);
            EXPECT_TRUE(window().findChild<QLabel*>("imageCaption")->text().contains(anomaly));
            EXPECT_TRUE(window().globe().rect().contains(placeOf(anomaly))) << anomaly.toStdString();
            if (m_walked.isEmpty()) {
                keepPicture("anomaly");
            }
            clickOnGlobe(anomaly);
            EXPECT_TRUE(isHighlighted(anomaly)) << anomaly.toStdString();
            EXPECT_EQ(selectedRows(), QStringList{anomaly});
            if (m_walked.isEmpty()) {
                keepPicture("highlighted");
            }
            expected[anomaly] = kClasses[static_cast<int>(m_walked.size()) % 4];
            chooseOnGlobe(anomaly, {"属性设置", expected[anomaly]});
            m_walked << anomaly;
            lastOne = anomaly;
        }
    }
    ASSERT_EQ(m_walked.size(), 20);
    EXPECT_EQ(stored(), expected);

    answerNextBox(false);
    chooseOnGlobe(lastOne, {"删除"});
    expected.remove(lastOne);
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(overlay(lastOne), nullptr);
    EXPECT_FALSE(rows().contains(lastOne));

    QTest::mouseClick(window().findChild<QToolButton*>("swipeButton"), Qt::LeftButton);
    doubleClickRow(rows().first());
    keepPicture("swipe");
    const QRect globe = window().globe().rect();
    dragRectangle(globe.center() / 4, globe.center() * 7 / 4);
    EXPECT_FALSE(selectedRows().isEmpty());

    close();
    open(m_sample.folder());
    tickAllStations();
    EXPECT_EQ(stored(), expected);
    QMap<QString, QString> shown;
    for (int index = 0; index < stationCount(); ++index) {
        clickStation(index);
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            shown[table().model()->index(row, 0).data().toString()] =
                table().model()->index(row, 6).data().toString();
        }
    }
    EXPECT_EQ(shown, expected);
    clickStation(0);
    keepPicture("reopened");
}

} // namespace
