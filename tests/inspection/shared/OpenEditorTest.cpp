// What others do while the user writes into a cell or a name.

#include "tests/inspection/shared/SharedFixture.h"

#include <QComboBox>
#include <QLineEdit>

namespace {

using inspection::kAnomalyTable;

constexpr int kPoints = 1;

class OpenEditorTest : public SharedProjectTest {
protected:
    /// Opens the editor of a row's attribute and writes into it.
    void writeAttribute(int row, const QString& text) {
        table().selectRow(row);
        table().setFocus();
        QTest::keyClick(&table(), Qt::Key_F2);
        ASSERT_NE(attributeEditor(), nullptr);
        QTest::keyClicks(attributeEditor()->lineEdit(), text);
        ASSERT_EQ(attributeEditor()->currentText(), text);
    }
    QComboBox* attributeEditor() const {
        return visible(table().findChildren<QComboBox*>("attributeEditor"));
    }
    QLineEdit* nameEditor() const { return visible(tree().viewport()->findChildren<QLineEdit*>()); }
    /// As a user confirms it, questions and all that follows included.
    static void confirm(QWidget* editor) {
        QTest::keyClick(editor, Qt::Key_Return);
        QApplication::processEvents();
    }

private:
    template<typename Editor>
    static Editor* visible(const QList<Editor*>& editors) {
        for (Editor* editor : editors) {
            if (editor->isVisible()) {
                return editor;
            }
        }
        return nullptr;
    }
};

TEST_F(OpenEditorTest, WhatIsWrittenIntoACellStaysAndEnterAsks) {
    const std::int64_t id = shown(0).id;
    writeAttribute(0, "dig");
    m_colleague->judge(id, "塌陷");
    waitForNews();
    ASSERT_NE(attributeEditor(), nullptr);
    EXPECT_EQ(attributeEditor()->currentText(), "dig");
    QTest::keyClicks(attributeEditor()->lineEdit(), "ger");
    {
        const MessageWatch messages(false);
        confirm(attributeEditor());
        ASSERT_EQ(messages.texts().size(), 1) << messages.texts().join('\n').toStdString();
        EXPECT_TRUE(messages.texts()[0].contains("塌陷")) << messages.texts()[0].toStdString();
    }
    EXPECT_EQ(attributeEditor(), nullptr);
    EXPECT_FALSE(context().GetEditHistory()->CanUndo());
    ASSERT_TRUE(waitUntil([&] { return attribute(0) == "塌陷"; }));

    writeAttribute(0, "digger");
    m_colleague->judge(id, "建构筑物");
    waitForNews();
    const MessageWatch messages;
    confirm(attributeEditor());
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_EQ(attribute(0), "digger");
}

TEST_F(OpenEditorTest, AnEditorThatIsGivenUpOrLeftAsItWasShowsTheNews) {
    const MessageWatch messages;
    const std::int64_t id = shown(0).id;
    writeAttribute(0, "dig");
    m_colleague->judge(id, "塌陷");
    waitForNews();
    QTest::keyClick(attributeEditor(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return attribute(0) == "塌陷"; }));

    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_F2);
    ASSERT_NE(attributeEditor(), nullptr);
    m_colleague->judge(id, "深挖");
    waitForNews();
    confirm(attributeEditor());
    EXPECT_TRUE(waitUntil([&] { return attribute(0) == "深挖"; }));
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('\n').toStdString();
    EXPECT_FALSE(context().GetEditHistory()->CanUndo());
}

TEST_F(OpenEditorTest, WhatTheColleagueHasWrittenTooIsNoConflict) {
    const MessageWatch messages;
    writeAttribute(0, "dig");
    m_colleague->judge(shown(0).id, "dig");
    confirm(attributeEditor());
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('\n').toStdString();
    EXPECT_TRUE(waitUntil([&] { return attribute(0) == "dig"; }));
    EXPECT_FALSE(context().GetEditHistory()->CanUndo()) << "it is the colleague's edit";
}

TEST_F(OpenEditorTest, ACellWhoseRowIsDeletedStaysOpenAndEnterSaysSo) {
    const QString gone = name(0);
    const int before = rows();
    writeAttribute(0, "dig");
    m_colleague->remove(kAnomalyTable, shown(0).id);
    waitForNews();
    ASSERT_NE(attributeEditor(), nullptr);
    const MessageWatch messages;
    confirm(attributeEditor());
    ASSERT_TRUE(waitUntil([&] { return !messages.texts().isEmpty(); }));
    EXPECT_EQ(messages.texts(), QStringList{"“" + gone + "”已被 wang@field 删除，您的修改未保存"});
    EXPECT_TRUE(waitUntil([&] { return rows() == before - 1; }));
}

TEST_F(OpenEditorTest, WhatIsWrittenAsANameStaysAndEnterAsks) {
    const std::int64_t id = m_colleague->addPoint("valve");
    ASSERT_TRUE(waitUntil([&] { return object(kPoints, "valve") != nullptr; }));
    tree().expandItem(tree().topLevelItem(kPoints));
    tree().setCurrentItem(object(kPoints, "valve"));
    tree().setFocus();
    QTest::keyClick(&tree(), Qt::Key_F2);
    ASSERT_NE(nameEditor(), nullptr);
    QTest::keyClicks(nameEditor(), "mine");
    m_colleague->change("重命名特殊点 valve 为 theirs", "special_point", id, {{"name", toGbk("theirs")}});
    waitForNews();
    ASSERT_NE(nameEditor(), nullptr);
    EXPECT_EQ(nameEditor()->text(), "mine");
    const MessageWatch messages(false);
    confirm(nameEditor());
    ASSERT_EQ(messages.texts().size(), 1) << messages.texts().join('\n').toStdString();
    EXPECT_TRUE(messages.texts()[0].contains("theirs")) << messages.texts()[0].toStdString();
    EXPECT_EQ(nameEditor(), nullptr);
    EXPECT_TRUE(waitUntil([&] { return object(kPoints, "theirs") != nullptr; }));
    EXPECT_EQ(object(kPoints, "mine"), nullptr);
}

} // namespace
