// Undoing and redoing what was done to anomalies, with the two buttons.

#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "tests/support/WaitUntil.h"

#include <QMenu>
#include <QTest>

namespace {

class UndoAnomaly : public AnomalyTest {
protected:
    UndoAnomaly() { showStation(0); }

    void click(const char* button) {
        m_host.click(button);
        m_host.settle();
    }
    /// Selects anomalies of the table's station and makes an edit of them with its keys.
    void editRows(const QStringList& names, Qt::Key key) {
        EXPECT_TRUE(QMetaObject::invokeMethod(IORVAContext::Instance()->GetAVWindow(), "SetSelectedbyname",
                                              Q_ARG(QStringList, names)));
        EXPECT_EQ(selectedRows(), names);
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        table().setFocus();
        QTest::keyClick(&table(), key);
        draw();
    }
    QVariantList everything() const {
        QVariantList values;
        for (const char* column : {"id", "name", "attribute", "station_id", "area_m2", "outline_wkt"}) {
            values << readStored(
                QString("select %1 from anomaly where is_deleted=0 order by id").arg(column));
        }
        return values;
    }
    QString newestInMenu() { return m_host.button("撤销").menu()->actions().first()->text(); }
};

TEST_F(UndoAnomaly, AClassOfSeveralIsOneEditThatSaysWhatAndHowMany) {
    const QVariantList before = everything();
    editRows({known::left, known::right}, Qt::Key_3);
    const QVariantList after = everything();
    EXPECT_EQ(stored(known::left), "深挖");
    EXPECT_EQ(newestInMenu(), "分类 2 处异常为 深挖");
    click("撤销");
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(selectedRows(), QStringList({known::left, known::right}));
    click("重做");
    EXPECT_EQ(everything(), after);
    EXPECT_EQ(newestInMenu(), "分类 2 处异常为 深挖");
}

TEST_F(UndoAnomaly, DeletedOnesComeBackWithRowOverlayAndSelection) {
    const QVariantList before = everything();
    const QStringList rows = tableNames();
    const QStringList both = {known::quoted, known::fill};
    startTool();
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::quoted));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        keyClick(Qt::Key_Delete);
    }
    EXPECT_EQ(overlay(known::fill), nullptr);
    EXPECT_EQ(newestInMenu(), "删除 2 处异常");
    click("撤销");
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(tableNames(), rows);
    EXPECT_EQ(selectedRows(), both);
    ASSERT_NE(overlay(known::fill), nullptr);
    ASSERT_TRUE(waitUntil([&] { return overlay(known::fill)->getImage() != nullptr; }));
    EXPECT_EQ(highlighted(), both) << "the tool takes what is selected in the table";
    leftClick(emptyGround());
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill}) << "the new overlays are picked";
    click("重做");
    EXPECT_EQ(overlay(known::fill), nullptr);
    EXPECT_FALSE(tableNames().contains(known::fill));
}

TEST_F(UndoAnomaly, TheSameClassAgainIsNoEdit) {
    editRows({known::left}, Qt::Key_1);
    const auto count = m_host.button("撤销").menu()->actions().size();
    editRows({known::left}, Qt::Key_1);
    EXPECT_EQ(m_host.button("撤销").menu()->actions().size(), count);
}

} // namespace
