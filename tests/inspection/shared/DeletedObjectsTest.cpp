// What becomes of the user's work on rows that somebody else deletes, renames or computes anew.

#include "tests/inspection/shared/SharedFixture.h"

#include "host/inspection/KVImageWindow.h"
#include "tests/support/CopyFolder.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QLineEdit>
#include <QPushButton>

namespace {

using inspection::kAnomalyTable;

constexpr int kPoints = 1;

/// Stands for a tool with its form: the user confirms it, and the tool hides it, whatever the answer.
class Form : public QWidget {
public:
    explicit Form(const Special_Point& point) : m_point(point), m_name(new QLineEdit(this)) {
        m_name->setText(fromGbk(point.GetName()));
        show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(this));
    }
    void write(const char* name, const char* attribute) {
        m_name->setText(name);
        m_point.m_attribute = toGbk(attribute);
    }
    bool confirm() {
        const std::string oldName = m_point.GetName();
        m_point.SetName(toGbk(m_name->text()));
        const bool isStored = InspectionContext::instance().GetStationWindow()->UpdataNode(m_point, oldName);
        hide();
        QApplication::processEvents();
        return isStored;
    }

private:
    Special_Point m_point;
    QLineEdit* m_name;
};

class DeletedObjectsTest : public SharedProjectTest {
protected:
    void SetUp() override {
        SharedProjectTest::SetUp();
        m_id = m_colleague->addPoint("阀室");
        ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀室") != nullptr; }));
    }
    Special_Point stored() { return inspection::readSpecialPoints(m_colleague->database()).back(); }
    QString caption() const { return m_window->findChild<QLabel*>("imageCaption")->text(); }
    static int shownAs(const char* name) {
        const auto* scene = dynamic_cast<OsgDataSet*>(context().GetDataSet(OsgDataSet::kIndex));
        int count = 0;
        for (const auto& [group, record] : scene->getPipePoints()) {
            count += record.GetName() == toGbk(name) ? 1 : 0;
        }
        return count;
    }

    std::int64_t m_id = 0;
};

TEST_F(DeletedObjectsTest, WhatWasEnteredOfADeletedObjectIsOfferedToANewOne) {
    for (const bool isKnown : {true, false}) {
        SCOPED_TRACE(isKnown);
        Form form(stored());
        form.write("阀室", isKnown ? "三通" : "弯头");
        m_colleague->remove("special_point", stored().m_id);
        if (isKnown) {
            ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀室") == nullptr; }));
        }
        const MessageWatch messages;
        EXPECT_FALSE(form.confirm()) << "the tool has nothing to show";
        EXPECT_EQ(messages.texts(), QStringList{"“阀室”已被 wang@field 删除。是否按您填写的内容新建？"});
        EXPECT_FALSE(form.isVisible());
        ASSERT_NE(object(kPoints, "阀室"), nullptr);
        EXPECT_EQ(shownAs("阀室"), 1);
        EXPECT_EQ(stored().m_attribute, toGbk(isKnown ? "三通" : "弯头"));
    }
    context().GetEditHistory()->UndoSteps(1);
    EXPECT_EQ(object(kPoints, "阀室"), nullptr);
    EXPECT_EQ(shownAs("阀室"), 0);
}

TEST_F(DeletedObjectsTest, AnOfferThatIsDeclinedStoresNothing) {
    Form form(stored());
    m_colleague->remove("special_point", m_id);
    const MessageWatch messages(false);
    EXPECT_FALSE(form.confirm());
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(inspection::readSpecialPoints(m_colleague->database()).empty());
    EXPECT_TRUE(waitUntil([&] { return object(kPoints, "阀室") == nullptr; }));
}

TEST_F(DeletedObjectsTest, WhatWasEnteredOfARenamedObjectIsStoredOnceTheUserHasBeenAsked) {
    Form form(stored());
    form.write("我的阀室", "三通");
    m_colleague->change("重命名特殊点 阀室 为 阀井", "special_point", m_id, {{"name", toGbk("阀井")}});
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀井") != nullptr; }));
    {
        const MessageWatch messages(false);
        EXPECT_FALSE(form.confirm());
        EXPECT_EQ(
            messages.texts(),
            QStringList{"“阀井”已被 wang@field 修改（重命名特殊点 阀室 为 阀井）。是否仍按您的操作保存？"});
    }
    EXPECT_EQ(stored().GetName(), toGbk("阀井"));
    EXPECT_TRUE(waitUntil([&] { return form.isVisible(); })) << "what was entered can be used again";
    const MessageWatch messages;
    EXPECT_FALSE(form.confirm());
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(stored().GetName(), toGbk("我的阀室"));
    EXPECT_EQ(stored().m_attribute, toGbk("三通"));
    EXPECT_NE(object(kPoints, "我的阀室"), nullptr);
    EXPECT_EQ(object(kPoints, "阀井"), nullptr);
    EXPECT_EQ(shownAs("我的阀室"), 1);
    EXPECT_EQ(shownAs("阀井"), 0);
}

TEST_F(DeletedObjectsTest, TheFormOfAnObjectThatIsNotToBeReplacedComesBack) {
    Form form(stored());
    form.write("阀室", "三通");
    m_colleague->change("编辑特殊点 阀室", "special_point", m_id, {{"attribute", toGbk("弯头")}});
    const MessageWatch messages(false);
    EXPECT_FALSE(form.confirm());
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(waitUntil([&] { return form.isVisible(); }));
    EXPECT_EQ(stored().m_attribute, toGbk("弯头"));
}

TEST_F(DeletedObjectsTest, TheTreeSelectsNoOtherObjectInPlaceOfADeletedOne) {
    m_colleague->addPoint("邻居");
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "邻居") != nullptr; }));
    tree().setCurrentItem(object(kPoints, "阀室"));
    m_colleague->remove("special_point", m_id);
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "阀室") == nullptr; }));
    EXPECT_EQ(tree().currentItem(), tree().topLevelItem(kPoints));
}

TEST_F(DeletedObjectsTest, TheImageWindowShowsNothingOfADeletedAnomaly) {
    context().GetKVImageWindow()->CreatZoomItem(&current(), shown(1));
    ASSERT_TRUE(caption().contains(name(1))) << caption().toStdString();
    m_colleague->judge(shown(1).id, "深挖");
    ASSERT_TRUE(waitUntil([&] { return attribute(1) == "深挖"; }));
    EXPECT_TRUE(caption().contains(name(1))) << "it is still there";
    const QString gone = name(1);
    m_colleague->remove(kAnomalyTable, shown(1).id);
    EXPECT_TRUE(waitUntil([&] { return !caption().contains(gone); }));
}

TEST_F(DeletedObjectsTest, AComputationOfOthersIsToldOnceAndWithTheAnomalysName) {
    const QString judged = name(0);
    const std::int64_t id = shown(0).id;
    const QString theirs = m_folder.filePath("theirs");
    copyFolder(m_project, theirs);
    ASSERT_TRUE(inspection::trustProject(theirs));
    QFile::remove(theirs + "/.corridor.lock");
    inspection::ComputationRequest request;
    request.project =
        inspection::Project::open(theirs, inspection::Project::Access::ReadOnly).value().description();
    request.stationIds = {current().GetStationId()};
    context().GetKVImageWindow()->CreatZoomItem(&current(), shown(0));
    ASSERT_TRUE(computeAnomalies(request, {})); // in this thread: no news come meanwhile
    const MessageWatch messages;
    judge(0, Qt::Key_3);
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(messages.texts()[0].startsWith("“" + judged + "”已被 ")) << messages.texts()[0].toStdString();
    EXPECT_TRUE(messages.texts()[0].endsWith(" 重新计算，您的修改未保存"))
        << messages.texts()[0].toStdString();
    EXPECT_NE(shown(0).id, id) << "the rows were shown before the message";
    EXPECT_FALSE(caption().contains(judged));
    judge(0, Qt::Key_3);
    EXPECT_EQ(messages.texts().size(), 1) << messages.texts().join('\n').toStdString();
    EXPECT_EQ(attribute(0), "深挖");
}

TEST_F(DeletedObjectsTest, NewsComeWhileAMessageStandsAndTheQuestionsDefaultIsNo) {
    m_colleague->judge(shown(0).id, "塌陷");
    QString focused;
    QTimer press;
    QObject::connect(&press, &QTimer::timeout, [&] {
        const QWidget* box = QApplication::activeModalWidget();
        if (QWidget* button = box ? box->focusWidget() : nullptr) {
            press.stop();
            focused = button->objectName();
            QTest::keyClick(button, Qt::Key_Return);
        }
    });
    press.start(10);
    judge(0, Qt::Key_3);
    EXPECT_EQ(focused, "pushButtonNo");
    EXPECT_FALSE(context().GetEditHistory()->CanUndo());

    m_colleague->remove(kAnomalyTable, shown(0).id);
    const int before = rows();
    bool isShownMeanwhile = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        QWidget* box = QApplication::activeModalWidget();
        if (box && rows() == before - 1) {
            isShownMeanwhile = true;
            look.stop();
            QTest::keyClick(box, Qt::Key_Escape);
        }
    });
    look.start(10);
    judge(0, Qt::Key_3);
    EXPECT_TRUE(isShownMeanwhile);
}

TEST_F(DeletedObjectsTest, AnUndoThatOthersForbidSaysWhoAndWhatInChinese) {
    judge(0, Qt::Key_3);
    m_colleague->judge(shown(0).id, "塌陷");
    const MessageWatch messages;
    context().GetEditHistory()->TakeUndo()->Undo(true);
    ASSERT_TRUE(waitUntil([&] { return !messages.texts().isEmpty(); }));
    EXPECT_EQ(messages.texts(), QStringList{"无法撤销，未作任何更改：“" + name(0) +
                                            "”已被 wang@field 修改（分类 1 处异常为 塌陷）"});
}

} // namespace
