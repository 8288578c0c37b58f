// The inspector's verdict on selected anomalies: the menu on the globe, its dialog, and the Delete key.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/support/WaitUntil.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "workbench/inspection/context/InspectionContext.h"

#include <QApplication>
#include <QLineEdit>
#include <QMetaObject>
#include <QPushButton>

namespace {

using osgGA::GUIEventAdapter;

class Judging : public AnomalyTest {
protected:
    Judging() { startTool(); }

    /// Sends a right release so many pixels from the place that the pointer moved to last; y runs upwards.
    void rightReleaseNear(const QPoint& place, float dx, float dy) {
        moveTo(place);
        send(GUIEventAdapter::RELEASE, static_cast<float>(place.x()) + dx,
             static_cast<float>(m_host.globe->height() - 1 - place.y()) + dy,
             GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    }
    void selectAndChoose(const QString& anomaly, const QStringList& path) {
        leftClick(pixelOf(anomaly));
        const MenuChooser menu(path);
        rightClick(pixelOf(anomaly));
        EXPECT_FALSE(menu.menus.empty());
    }
    static mysqlhelper::KV_MySQL& database() {
        auto* data = dynamic_cast<PipelineDataSet*>(
            IORVAContext::Instance()->GetDataSetManager()->GetDataSet(PipelineDataSet::kIndex));
        return *data->GetMySQL();
    }
    QString shownAttribute(const QString& anomaly) {
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            if (table().model()->index(row, 0).data().toString() == anomaly) {
                return table().model()->index(row, 6).data(Qt::EditRole).toString();
            }
        }
        return "not in the table";
    }
};

/// While it lives, fills in the dialog for an attribute in free words.
class AttributeDialogDriver {
public:
    explicit AttributeDialogDriver(const std::function<void(QWidget&)>& drive) {
        QObject::connect(&m_poll, &QTimer::timeout, [this, drive] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (dialog && dialog->objectName() == "kv_setdiffattri") {
                ++dialogs;
                drive(*dialog);
            }
        });
        m_poll.start(5);
    }
    int dialogs = 0;

private:
    QTimer m_poll;
};

TEST_F(Judging, TheMenuHasItsEntriesInOrder) {
    leftClick(pixelOf(known::fill));
    const MenuChooser menu({"属性设置"});
    rightClick(pixelOf(known::fill));
    ASSERT_GE(menu.menus.size(), 2U);
    EXPECT_EQ(menu.menus[0], (QStringList{"删除", "属性设置"}));
    EXPECT_EQ(menu.menus[1], (QStringList{"建构筑物", "重物占压", "深挖", "塌陷", "自定义"}));
}

TEST_F(Judging, EachFixedClassIsStoredAndShown) {
    for (const char* text : {"建构筑物", "重物占压", "深挖", "塌陷"}) {
        selectAndChoose(known::fill, {"属性设置", text});
        EXPECT_EQ(stored(known::fill).toString(), text);
        EXPECT_EQ(shownAttribute(known::fill), text);
        EXPECT_EQ(stored(known::quoted).toString(), "") << "and nothing else";
        leftClick(emptyGround());
    }
}

TEST_F(Judging, AllSelectedAnomaliesOfTheStationGetTheClass) {
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::quoted));
    ctrlClick(pixelOf(known::longName()));
    ctrlClick(pixelOf(known::cut)); // of the other station
    const MenuChooser menu({"属性设置", "深挖"});
    rightClick(pixelOf(known::fill));
    EXPECT_EQ(stored(known::fill).toString(), "深挖");
    EXPECT_EQ(stored(known::quoted).toString(), "深挖");
    EXPECT_EQ(stored(known::longName()).toString(), "深挖");
    EXPECT_EQ(stored(known::cut).toString(), "") << "of a station that the click is not in";
    EXPECT_EQ(highlighted().size(), 4);
}

TEST_F(Judging, TheClassWithoutAnEntryWorksWhenItsSlotIsCalled) {
    selectAndChoose(known::fill, {"属性设置", "塌陷"});
    EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command("查看\\编辑异常"), "OnSetweightthing"));
    EXPECT_EQ(stored(known::fill).toString(), "重物");
}

TEST_F(Judging, OwnWordsAreStoredAsTyped) {
    const AttributeDialogDriver dialog([](QWidget& form) {
        EXPECT_TRUE(form.isModal());
        QTest::keyClicks(form.findChild<QLineEdit*>("lineEdit_diffattri"), "it's \"odd\"; 1");
        QTest::mouseClick(form.findChild<QPushButton*>("pushButton_OK"), Qt::LeftButton);
    });
    selectAndChoose(known::fill, {"属性设置", "自定义"});
    EXPECT_EQ(dialog.dialogs, 1);
    EXPECT_EQ(stored(known::fill).toString(), "it's \"odd\"; 1");
}

TEST_F(Judging, EmptyWordsAcceptedAreWrittenAllTheSame) {
    selectAndChoose(known::fill, {"属性设置", "深挖"});
    leftClick(emptyGround());
    const AttributeDialogDriver dialog([](QWidget& form) {
        QTest::mouseClick(form.findChild<QPushButton*>("pushButton_OK"), Qt::LeftButton);
    });
    selectAndChoose(known::fill, {"属性设置", "自定义"});
    EXPECT_EQ(stored(known::fill).toString(), "");
    EXPECT_TRUE(stored(known::fill).isValid());
}

TEST_F(Judging, CancelAndTheTitleBarWriteNothing) {
    for (const char* way : {"pushButton_Cancle", "titleBarClose", "escape"}) {
        const AttributeDialogDriver dialog([&](QWidget& form) {
            QTest::keyClicks(form.findChild<QLineEdit*>("lineEdit_diffattri"), "never");
            if (way == std::string("escape")) {
                QTest::keyClick(&form, Qt::Key_Escape);
            } else {
                QTest::mouseClick(form.findChild<QPushButton*>(way), Qt::LeftButton);
            }
        });
        selectAndChoose(known::fill, {"属性设置", "自定义"});
        EXPECT_EQ(dialog.dialogs, 1) << way;
        EXPECT_EQ(stored(known::fill).toString(), "") << way;
        leftClick(emptyGround());
    }
}

TEST_F(Judging, WithNothingHighlightedARightClickOpensNoMenu) {
    const MenuChooser menu;
    rightClick(pixelOf(known::fill));
    EXPECT_TRUE(menu.menus.empty());
}

TEST_F(Judging, OutsideAllStationsARightClickOpensNoMenu) {
    leftClick(pixelOf(known::fill));
    const MenuChooser menu;
    rightClick(outside());
    EXPECT_TRUE(menu.menus.empty());
}

TEST_F(Judging, ARightClickInAnotherStationThanTheSelectionsOpensNoMenu) {
    leftClick(pixelOf(known::fill));
    const MenuChooser menu;
    rightClick(pixelAt(SmallProject::kLeft + 180.0, SmallProject::kTop - 20.0));
    EXPECT_TRUE(menu.menus.empty());
}

TEST_F(Judging, ARightReleaseFourPixelsAsideOpensNoMenuAndOneFarBelowDoes) {
    leftClick(pixelOf(known::fill));
    MenuChooser menu;
    rightReleaseNear(pixelOf(known::fill), 4, 0);
    EXPECT_TRUE(menu.menus.empty());
    rightReleaseNear(pixelOf(known::fill), 0, 4);
    EXPECT_TRUE(menu.menus.empty());
    rightReleaseNear(pixelOf(known::fill), 3, -10);
    EXPECT_EQ(menu.menus.size(), 1U);
}

TEST_F(Judging, InTwoStationsWithSelectedAnomaliesTheMenuOpensTwice) {
    selectOverlapping();
    MenuChooser menu;
    rightClick(onOverlapping());
    EXPECT_EQ(menu.menus.size(), 2U);
}

TEST_F(Judging, TheTableShowsTheStationThatIsJudgedAndItsRowsAreSelected) {
    showStation(1);
    ASSERT_TRUE(tableNames().contains(known::cut));
    leftClick(pixelOf(known::fill));
    const MenuChooser menu({"属性设置", "深挖"});
    rightClick(pixelOf(known::fill));
    EXPECT_TRUE(tableNames().contains(known::fill));
    EXPECT_FALSE(tableNames().contains(known::cut));
    EXPECT_EQ(selectedRows(), QStringList{known::fill});
}

TEST_F(Judging, DeletingAsksFirstAndRemovesRowOverlayAndRecord) {
    const int before = storedCount();
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    selectAndChoose(known::quoted, {"删除"});
    EXPECT_EQ(boxes.titles, QStringList{"提示"});
    EXPECT_EQ(boxes.texts, QStringList{"是否删除变形信息?"});
    EXPECT_EQ(storedCount(), before - 1);
    EXPECT_FALSE(stored(known::quoted).isValid());
    EXPECT_EQ(overlay(known::quoted), nullptr);
    EXPECT_FALSE(tableNames().contains(known::quoted));
    EXPECT_TRUE(tableNames().contains(known::fill));
}

TEST_F(Judging, DecliningLeavesEverythingAsItWas) {
    const int before = storedCount();
    const BoxAnswerer boxes(BoxAnswerer::No);
    selectAndChoose(known::quoted, {"删除"});
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_EQ(storedCount(), before);
    EXPECT_NE(overlay(known::quoted), nullptr);
    EXPECT_EQ(highlighted(), QStringList{known::quoted});
}

TEST_F(Judging, AfterADeletionNoItemIsCurrentUntilTheNextScan) {
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::quoted));
    keyClick(Qt::Key_Delete);
    ASSERT_FALSE(stored(known::quoted).isValid());
    EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command("查看\\编辑异常"), "OnCollapse"));
    EXPECT_EQ(boxes.texts.size(), 1) << "nothing is stored, so nothing fails";
    selectAndChoose(known::longName(), {"属性设置", "塌陷"});
    EXPECT_EQ(stored(known::longName()).toString(), "塌陷");
}

TEST_F(Judging, TheDeleteKeyDeletesTheSelectionOfTheStationUnderThePointerAndAsksAboutTheRest) {
    const int before = storedCount();
    const BoxAnswerer boxes(BoxAnswerer::YesThenNo);
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::quoted));
    ctrlClick(pixelOf(known::cut));
    moveTo(emptyGround()); // in the first station
    keyClick(Qt::Key_Delete);
    EXPECT_EQ(boxes.texts,
              (QStringList{"是否删除变形信息?", "删除 3 处异常？选“否”只删除这个站段的 2 处。"}));
    EXPECT_EQ(storedCount(), before - 2);
    EXPECT_TRUE(stored(known::cut).isValid());
}

TEST_F(Judging, TheDeleteKeyDoesNothingWithoutASelectionOrOutsideTheStations) {
    const int before = storedCount();
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    moveTo(pixelOf(known::fill));
    keyClick(Qt::Key_Delete);
    leftClick(pixelOf(known::fill));
    moveTo(outside());
    keyClick(Qt::Key_Delete);
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_EQ(storedCount(), before);
}

TEST_F(Judging, WithDeleteHeldAPressOnAnAnomalyAsks) {
    const BoxAnswerer boxes(BoxAnswerer::No);
    keyDown(Qt::Key_Delete);
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(boxes.texts.size(), 1);
    keyUp(Qt::Key_Delete);
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(boxes.texts.size(), 1);
}

TEST_F(Judging, AKeyThatIsReleasedInTheQuestionIsNotHeldAfterwards) {
    leftClick(pixelOf(known::fill));
    BoxAnswerer boxes(BoxAnswerer::No);
    m_host.window.activateWindow();
    m_host.globe->setFocus();
    ASSERT_TRUE(waitUntil([&] { return m_host.globe->hasFocus(); }));
    QTest::keyPress(m_host.globe, Qt::Key_Delete); // the question takes the release
    m_host.settle();
    ASSERT_EQ(boxes.texts.size(), 1);
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(boxes.texts.size(), 1);
}

TEST_F(Judging, EverythingIsAsLeftAfterReopening) {
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        selectAndChoose(known::left, {"属性设置", "重物占压"});
        selectAndChoose(known::quoted, {"删除"});
    }
    InspectionContext::instance().closeProject();
    ASSERT_FALSE(InspectionContext::instance().openProject(m_folder));
    EXPECT_EQ(stored(known::left).toString(), "重物占压");
    EXPECT_FALSE(stored(known::quoted).isValid());
}

// What may be wrong with the data.

TEST_F(Judging, NamesOfAThousandCharactersAndWithQuotesAreJudgedLikeOthers) {
    selectAndChoose(known::longName(), {"属性设置", "深挖"});
    EXPECT_EQ(stored(known::longName()).toString(), "深挖");
    selectAndChoose(known::quoted, {"属性设置", "建构筑物"});
    EXPECT_EQ(stored(known::quoted).toString(), "建构筑物");
    EXPECT_EQ(storedCount(), 9) << "the table is still there";
    EXPECT_LT(table().columnWidth(0), 400) << "a long name does not push the other columns out of the window";
}

TEST_F(Judging, AStationWhoseRecordIsGoneIsSilentlyNotHit) {
    leftClick(pixelOf(known::cut));
    database().execute("pragma foreign_keys=off");
    database().execute("delete from station where id=2");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    const MenuChooser menu;
    rightClick(pixelOf(known::cut));
    keyClick(Qt::Key_Delete);
    leftClick(pixelOf(known::cut));
    EXPECT_TRUE(menu.menus.empty());
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_EQ(valueLabel()->getText(), "0");
}

TEST_F(Judging, AnAnomalyWhoseRecordIsGoneCannotBeChosen) {
    leftClick(pixelOf(known::fill));
    showStation(1); // so that it is read again
    database().execute("delete from anomaly where name='S1-0001'");
    const MenuChooser menu;
    rightClick(pixelOf(known::fill));
    EXPECT_TRUE(menu.menus.empty());
}

TEST_F(Judging, AnOverlayThatIsGoneIsStillKnownByItsRecord) {
    leftClick(pixelOf(known::fill));
    const QPoint at = pixelOf(known::fill);
    osg::ref_ptr<osgEarth::Annotation::ImageOverlay> gone = overlay(known::fill);
    gone->getParent(0)->removeChild(gone);
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    const MenuChooser menu({"删除"});
    rightClick(at);
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_FALSE(stored(known::fill).isValid());
}

TEST_F(Judging, ARecordThatGoesWhileTheMenuIsOpenIsOneMessageAndNoChange) {
    showStation(0); // so that nothing is read again
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::quoted));
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    database().execute("delete from anomaly where name='S1-0001'");
    const MenuChooser menu({"属性设置", "深挖"});
    rightClick(pixelOf(known::fill));
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_EQ(stored(known::quoted).toString(), "") << "all or nothing";
    EXPECT_EQ(shownAttribute(known::quoted), "");
}

TEST_F(Judging, ADatabaseLostWhileJudgingIsOneMessageAndNothingChangesOnTheScreen) {
    showStation(0);
    leftClick(pixelOf(known::fill));
    database().execute("alter table anomaly rename to elsewhere");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    {
        const MenuChooser menu({"属性设置", "深挖"});
        rightClick(pixelOf(known::fill));
    }
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_EQ(shownAttribute(known::fill), "");
    {
        const MenuChooser menu({"删除"});
        rightClick(pixelOf(known::fill));
    }
    ASSERT_EQ(boxes.texts.size(), 3) << "the question, then the message";
    EXPECT_NE(overlay(known::fill), nullptr);
    EXPECT_TRUE(tableNames().contains(known::fill));
    database().execute("alter table elsewhere rename to anomaly");
    EXPECT_EQ(stored(known::fill).toString(), "");
}

TEST_F(Judging, ADatabaseLostBeforeTheClickIsPrintedAndOpensNothing) {
    leftClick(pixelOf(known::fill));
    ::testing::internal::CaptureStdout();
    database().execute("alter table station rename to elsewhere");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    const MenuChooser menu;
    rightClick(pixelOf(known::fill));
    leftClick(pixelOf(known::cut));
    EXPECT_TRUE(menu.menus.empty());
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_EQ(valueLabel()->getText(), "0");
    EXPECT_NE(::testing::internal::GetCapturedStdout().find("no such table"), std::string::npos);
    database().execute("alter table elsewhere rename to station");
}

} // namespace
