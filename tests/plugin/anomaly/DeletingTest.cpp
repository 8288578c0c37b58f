// The question before anomalies are deleted: whose it is, how often it comes, and where the menu opens.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QCursor>
#include <QMetaObject>
#include <QPushButton>

namespace {

using osgGA::GUIEventAdapter;

class Deleting : public AnomalyTest {
protected:
    Deleting() { startTool(); }

    /// How often a left press asks while Delete is held.
    qsizetype questionsOfAPress(const QPoint& place, int otherKey = 0) {
        moveTo(place);
        if (otherKey != 0) {
            sendAt(GUIEventAdapter::KEYDOWN, outside(), 0, otherKey);
        }
        sendAt(GUIEventAdapter::KEYDOWN, outside(), 0, GUIEventAdapter::KEY_Delete); // of no station
        const BoxAnswerer boxes(BoxAnswerer::No);
        sendAt(GUIEventAdapter::PUSH, place, GUIEventAdapter::LEFT_MOUSE_BUTTON);
        sendAt(GUIEventAdapter::RELEASE, place, GUIEventAdapter::LEFT_MOUSE_BUTTON);
        sendAt(GUIEventAdapter::KEYUP, outside(), 0, GUIEventAdapter::KEY_Delete);
        sendAt(GUIEventAdapter::KEYUP, outside(), 0, otherKey);
        return boxes.texts.size();
    }
};

TEST_F(Deleting, TheQuestionBelongsToTheMainWindowAndHasYesAndNo) {
    leftClick(pixelOf(known::fill));
    int looks = 0;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        QWidget* box = QApplication::activeModalWidget();
        if (!box || box->objectName() != "myMessageBox") {
            return;
        }
        ++looks;
        EXPECT_EQ(box->parentWidget(), &m_host.window);
        EXPECT_NE(box->findChild<QPushButton*>("pushButtonYes"), nullptr);
        EXPECT_NE(box->findChild<QPushButton*>("pushButtonNo"), nullptr);
        QTest::keyClick(box, Qt::Key_Escape);
    });
    poll.start(5);
    EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command(m_tool), "OnDeleteItem"));
    EXPECT_EQ(looks, 1);
}

TEST_F(Deleting, TheDeleteKeyAsksForEachStationUnderThePointer) {
    selectOverlapping();
    const BoxAnswerer boxes(BoxAnswerer::No);
    moveTo(onOverlapping());
    keyClick(Qt::Key_Delete);
    EXPECT_EQ(boxes.texts.size(), 2);
    EXPECT_EQ(storedCount(), 9);
}

TEST_F(Deleting, WithDeleteHeldOnlyAPressThatTakesAnotherAnomalyAsks) {
    EXPECT_EQ(questionsOfAPress(pixelOf(known::fill)), 1);
    EXPECT_EQ(questionsOfAPress(pixelOf(known::fill)), 0) << "it is taken already";
    EXPECT_EQ(questionsOfAPress(pixelOf(known::cut)), 1);
    EXPECT_EQ(questionsOfAPress(emptyGround()), 0);
    EXPECT_EQ(questionsOfAPress(pixelOf(known::quoted), GUIEventAdapter::KEY_Control_L), 0)
        << "Ctrl adds and does no more";
    EXPECT_EQ(highlighted(), QStringList{known::quoted});
}

TEST_F(Deleting, TheMenuOpensAtTheCursor) {
    leftClick(pixelOf(known::fill));
    expectMenuAtCursor(pixelOf(known::fill));
}

} // namespace
