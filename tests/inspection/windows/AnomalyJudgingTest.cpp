// Judging anomalies in their table, by mouse and by key.

#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

namespace {

constexpr int kAttribute = 6;

class AnomalyJudgingTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        m_item = checkedStationWithMostAnomalies();
        ASSERT_GE(rowsOf(*m_item), 2);
        for (int i = 0; i < tree().topLevelItem(0)->childCount(); ++i) {
            if (station(i)->data(0, Qt::UserRole).toUInt() == m_item->GetStationId()) {
                tree().setCurrentItem(station(i));
            }
        }
        ASSERT_EQ(rows(), rowsOf(*m_item));
    }

    static int rowsOf(const KV_StationItem& item) {
        return static_cast<int>(item.m_diffData.m_anomalies.size());
    }
    int rows() const { return table().model()->rowCount(); }
    QString name(int row) const { return table().model()->index(row, 0).data().toString(); }
    QString attribute(int row) const { return table().model()->index(row, kAttribute).data().toString(); }
    QString summary() const { return m_window->findChild<QLabel*>("anomalySummary")->text(); }
    QComboBox& filter(const char* objectName) const { return *m_window->findChild<QComboBox*>(objectName); }
    void clickRow(int row, Qt::KeyboardModifiers modifiers = {}, int column = 0) {
        const QModelIndex index = table().model()->index(row, column);
        table().scrollTo(index);
        QTest::mouseClick(table().viewport(), Qt::LeftButton, modifiers, table().visualRect(index).center());
        QApplication::processEvents();
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&table(), key, modifiers);
        QApplication::processEvents();
    }
    /// Read by a connection of its own.
    QString stored(const QString& anomaly) {
        mysqlhelper::KV_MySQL database(context().project()->description().databaseFile().toStdString());
        for (const SdiffData& each :
             inspection::readAnomalies(database, m_item->GetStationId(), kSamplePair)) {
            if (fromGbk(each.name) == anomaly) {
                return fromGbk(each.attribute);
            }
        }
        return "not stored";
    }
    void endEdit(Qt::Key key) {
        QTest::keyClick(editor(), key);
        QApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the editor goes
        EXPECT_EQ(editor(), nullptr);
    }
    QComboBox* editor() const { return m_window->findChild<QComboBox*>("attributeEditor"); }

    KV_StationItem* m_item = nullptr;
};

TEST_F(AnomalyJudgingTest, NumberKeysSetTheFixedClassesOfAllSelectedRowsAndZeroTakesThemAway) {
    const QStringList classes = {"建构筑物", "重物占压", "深挖", "塌陷"};
    clickRow(0);
    clickRow(1, Qt::ControlModifier);
    EXPECT_TRUE(summary().contains("已选 2"));
    for (int i = 0; i < 4; ++i) {
        key(static_cast<Qt::Key>(Qt::Key_1 + i));
        EXPECT_EQ(stored(name(0)), classes[i]);
        EXPECT_EQ(stored(name(1)), classes[i]);
        EXPECT_EQ(attribute(1), classes[i]);
    }
    EXPECT_TRUE(summary().contains("已判定 2"));
    key(Qt::Key_0);
    EXPECT_EQ(stored(name(0)), "");
    EXPECT_TRUE(summary().contains("已判定 0"));
}

TEST_F(AnomalyJudgingTest, TheAttributeIsEditedInAComboBoxOfTheFixedClasses) {
    clickRow(1);
    key(Qt::Key_F2);
    ASSERT_NE(editor(), nullptr);
    EXPECT_EQ(editor()->count(), 4);
    QTest::keyClick(editor(), Qt::Key_Down);
    QTest::keyClick(editor(), Qt::Key_Down);
    EXPECT_EQ(stored(name(1)), "") << "walking in the list chooses nothing yet";
    endEdit(Qt::Key_Return);
    EXPECT_EQ(stored(name(1)), "重物占压");

    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {},
                       table().visualRect(table().model()->index(1, kAttribute)).center());
    ASSERT_NE(editor(), nullptr) << "a double click in the column edits as well";
    editor()->lineEdit()->selectAll();
    QTest::keyClicks(editor()->lineEdit(), "own 'words'");
    endEdit(Qt::Key_Return);
    EXPECT_EQ(stored(name(1)), "own 'words'");
    EXPECT_EQ(stored(name(0)), "");
}

TEST_F(AnomalyJudgingTest, EscLeavesTheAttributeAndAnEditThatChangesNothingKeepsItsLineBreaks) {
    std::vector<SdiffData> one(m_item->m_diffData.m_anomalies.begin(),
                               m_item->m_diffData.m_anomalies.begin() + 1);
    one[0].attribute = toGbk("第一行\n第二行");
    context().GetAVWindow()->SetItemAtrii(m_item, one);
    clickRow(0);
    EXPECT_EQ(attribute(0), "第一行 第二行");
    EXPECT_EQ(table().model()->index(0, kAttribute).data(Qt::ToolTipRole).toString(), "第一行\n第二行");
    key(Qt::Key_F2);
    endEdit(Qt::Key_Return);
    EXPECT_EQ(stored(name(0)), "第一行\n第二行");
    key(Qt::Key_F2);
    QTest::keyClicks(editor()->lineEdit(), "never");
    endEdit(Qt::Key_Escape);
    EXPECT_EQ(stored(name(0)), "第一行\n第二行");
}

TEST_F(AnomalyJudgingTest, FiltersLeaveWhatTheySayAndTheirEntriesCount) {
    clickRow(0);
    key(Qt::Key_3);
    QComboBox& byAttribute = filter("attributeFilter");
    EXPECT_EQ(byAttribute.itemText(0), QString("全部属性 (%1)").arg(rowsOf(*m_item)));
    EXPECT_EQ(byAttribute.itemText(1), QString("未判定 (%1)").arg(rowsOf(*m_item) - 1));
    EXPECT_EQ(byAttribute.itemText(4), "深挖 (1)");
    EXPECT_EQ(byAttribute.itemText(6), "自定义 (0)");
    const QString judged = name(0);
    byAttribute.setFocus();
    for (int step = 0; step < 4; ++step) {
        QTest::keyClick(&byAttribute, Qt::Key_Down);
    }
    ASSERT_EQ(rows(), 1);
    EXPECT_EQ(name(0), judged);
    EXPECT_TRUE(summary().contains("显示 1"));
    QTest::keyClick(&byAttribute, Qt::Key_Home);

    const int fills = static_cast<int>(std::count_if(m_item->m_diffData.m_anomalies.begin(),
                                                     m_item->m_diffData.m_anomalies.end(),
                                                     [](const SdiffData& each) { return each.isFill; }));
    QTest::keyClick(&filter("signFilter"), Qt::Key_Down);
    EXPECT_EQ(rows(), fills);
    QTest::keyClick(&filter("signFilter"), Qt::Key_Down);
    EXPECT_EQ(rows(), rowsOf(*m_item) - fills);
}

TEST_F(AnomalyJudgingTest, UnderTheFilterOfWhatIsNotJudgedTheNextRowIsSelectedAfterEachVerdict) {
    filter("attributeFilter").setFocus();
    QTest::keyClick(&filter("attributeFilter"), Qt::Key_Down);
    const QString first = name(0);
    const QString second = name(1);
    clickRow(0);
    key(Qt::Key_2);
    EXPECT_EQ(stored(first), "重物占压");
    EXPECT_EQ(rows(), rowsOf(*m_item) - 1);
    const QModelIndexList selected = table().selectionModel()->selectedRows();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0].data().toString(), second);
}

TEST_F(AnomalyJudgingTest, WalkingByKeyTakesGlobeAndPicturesAlong) {
    QSignalSpy selection(context().GetAVWindow(), SIGNAL(selectionChanged(QStringList)));
    clickRow(0);
    EXPECT_EQ(selection.size(), 1);
    const osg::Vec3d before = m_globe->getManipulator()->getViewpoint().focalPoint()->vec3d();
    key(Qt::Key_Down);
    EXPECT_EQ(selection.size(), 2);
    SdiffData anomaly;
    ASSERT_TRUE(m_item->m_diffData.GetdiffdataByname(toGbk(name(1)), anomaly));
    EXPECT_TRUE(waitUntil([&] {
        osgEarth::Viewpoint view = m_globe->getManipulator()->getViewpoint();
        return std::abs(view.focalPoint()->x() - anomaly.lonDegrees) < 1e-5 &&
               std::abs(view.focalPoint()->y() - anomaly.latDegrees) < 1e-5;
    }));
    EXPECT_NE(m_globe->getManipulator()->getViewpoint().focalPoint()->vec3d(), before);
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains(name(1)));
    key(Qt::Key_End);
    EXPECT_EQ(table().currentIndex().row(), rows() - 1);
    key(Qt::Key_Home);
    EXPECT_EQ(table().selectionModel()->selectedRows().value(0).row(), 0);
}

TEST_F(AnomalyJudgingTest, DeleteAsksAndDeletesTheSelectedRows) {
    const int before = rows();
    const QString first = name(0);
    const QString second = name(1);
    clickRow(0);
    clickRow(1, Qt::ShiftModifier);
    const MessageWatch messages;
    key(Qt::Key_Delete);
    EXPECT_EQ(messages.texts(), QStringList{"删除 2 处异常？"});
    EXPECT_EQ(rows(), before - 2);
    EXPECT_EQ(stored(first), "not stored");
    EXPECT_EQ(stored(second), "not stored");
}

TEST_F(AnomalyJudgingTest, TheContextMenuOffersTheSameVerdicts) {
    clickRow(0);
    QStringList entries;
    QTimer::singleShot(0, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (const QAction* action : menu->actions()) {
            entries << action->text();
            if (action->menu()) {
                action->menu()->actions().value(3)->trigger();
            }
        }
        menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 20),
                            table().viewport()->mapToGlobal(QPoint(20, 20)));
    QApplication::sendEvent(table().viewport(), &event);
    EXPECT_EQ(entries, (QStringList{"查看\tEnter", "删除\tDelete", "属性设置", "", "复制\tCtrl+C"}));
    EXPECT_EQ(stored(name(0)), "塌陷");
}

TEST_F(AnomalyJudgingTest, SelectedNamesOfAnyStationBecomeRowsWhenTheirStationIsShown) {
    const std::string mine = m_item->m_diffData.m_anomalies[1].name;
    QSignalSpy selection(context().GetAVWindow(), SIGNAL(selectionChanged(QStringList)));
    QApplication::processEvents();
    EXPECT_TRUE(QMetaObject::invokeMethod(context().GetAVWindow(), "SetSelectedbyname",
                                          Q_ARG(QStringList, (QStringList{fromGbk(mine), "nobody's"}))));
    EXPECT_TRUE(waitUntil([&] { return table().selectionModel()->selectedRows().size() == 1; }));
    context().GetAVWindow()->Refresh();
    context().GetAVWindow()->AddData();
    ASSERT_EQ(table().selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table().selectionModel()->selectedRows()[0].data().toString(), fromGbk(mine));
    QApplication::processEvents();
    EXPECT_TRUE(selection.isEmpty()) << "what comes from the globe is not announced to it";
}

TEST_F(AnomalyJudgingTest, ALockedDatabaseIsOneMessageAndTheCellKeepsWhatIsStored) {
    mysqlhelper::KV_MySQL other(context().project()->description().databaseFile().toStdString());
    const mysqlhelper::KV_MySQL::Transaction lock(other);
    other.execute("update anomaly set suggested=suggested");
    clickRow(0);
    const MessageWatch messages;
    key(Qt::Key_4);
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(attribute(0), "");
    EXPECT_TRUE(summary().contains("已判定 0"));
}

TEST_F(AnomalyJudgingTest, ARecordThatIsGoneIsOneMessageAndNoneOfTheOthersChanges) {
    clickRow(0);
    clickRow(1, Qt::ControlModifier);
    {
        mysqlhelper::KV_MySQL other(context().project()->description().databaseFile().toStdString());
        other.execute("delete from anomaly where name='" + name(1).toStdString() + "'");
    }
    const MessageWatch messages;
    key(Qt::Key_1);
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(stored(name(0)), "");
    EXPECT_EQ(attribute(0), "");
}

} // namespace
