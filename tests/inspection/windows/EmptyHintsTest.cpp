#include "tests/inspection/windows/ImageWindowFixture.h"

#include "workbench/inspection/table/ShownStations.h"
#include "workbench/style/EmptyHint.h"

#include <QLineEdit>
#include <QTest>

namespace {

TEST(EmptyTableHint, SaysWhatCanBeDone) {
    EXPECT_TRUE(inspection::emptyTableHint(0, 0, false).contains("单击站段"));
    EXPECT_TRUE(inspection::emptyTableHint(2, 0, false).contains("计算异常"));
    EXPECT_TRUE(inspection::emptyTableHint(2, 9, false).contains("筛选"));
    EXPECT_TRUE(inspection::emptyTableHint(2, 9, true).contains("已删除"));
}

class EmptyHintsTest : public ImageWindowTest {
protected:
    EmptyHint& tableHint() { return *table().findChild<EmptyHint*>(); }
    EmptyHint& imageHint() { return *images().findChild<EmptyHint*>(); }
    static int darkPixels(const QImage& picture) {
        int count = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                count += picture.pixelColor(x, y).lightness() < 60 ? 1 : 0;
            }
        }
        return count;
    }
};

TEST_F(EmptyHintsTest, NoImageWindowIsDarkBeforeAnythingIsShown) {
    openRichest();
    EXPECT_TRUE(imageHint().isVisible());
    EXPECT_TRUE(imageHint().text().contains("双击异常列表"));
    m_window->resize(m_window->size() - QSize(60, 40));
    EXPECT_TRUE(waitUntil([this] { return imageHint().size() == imageHint().parentWidget()->size(); }));
    const QImage nothing = images().grab().toImage();
    EXPECT_LT(darkPixels(nothing), nothing.width() * nothing.height() / 50) << "words at most";
    images().CreatZoomItem(m_item, anomaly());
    EXPECT_FALSE(imageHint().isVisible());
    ASSERT_TRUE(shown());
    images().clear();
    EXPECT_TRUE(imageHint().isVisible());
}

TEST_F(EmptyHintsTest, AnEmptyTableSaysWhatToDo) {
    openSample();
    EXPECT_TRUE(tableHint().isVisible());
    EXPECT_EQ(tableHint().text(), inspection::emptyTableHint(0, 0, false));
    table().viewport()->scroll(-50, 0); // as a table that is scrolled does
    EXPECT_EQ(tableHint().pos(), QPoint());
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualItemRect(station(0)).center());
    EXPECT_EQ(tableHint().text(), inspection::emptyTableHint(1, 0, false));
    EXPECT_TRUE(tableHint().isVisible());
}

TEST_F(EmptyHintsTest, AFilterThatLetsNothingThroughIsNamed) {
    openComputed();
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualItemRect(station(0)).center());
    ASSERT_TRUE(waitUntil([this] { return table().model()->rowCount() > 0; }));
    EXPECT_FALSE(tableHint().isVisible());
    auto& search = *m_window->findChild<QLineEdit*>("anomalySearch");
    search.setText("没有这样的异常");
    EXPECT_TRUE(waitUntil([this] { return tableHint().isVisible(); }));
    EXPECT_EQ(tableHint().text(), inspection::emptyTableHint(1, 1, false));
    search.clear();
    EXPECT_TRUE(waitUntil([this] { return !tableHint().isVisible(); }));
}

} // namespace
