#include "tests/plugin/UndoFixture.h"

#include <QTranslator>

namespace {

using HistoryButton = UndoMenu;

TEST_F(HistoryButton, BothButtonsStartDisabled) {
    EXPECT_FALSE(m_undoButton->isEnabled());
    EXPECT_FALSE(m_redoButton->isEnabled());
    EXPECT_EQ(m_undoButton->popupMode(), QToolButton::MenuButtonPopup);
}

TEST_F(HistoryButton, TheButtonsStandUnstretchedInTheRowAndFollowTheRunningSignal) {
    const std::vector<std::pair<zeo::ICommand*, QToolButton*>> both = {{m_undo, m_undoButton},
                                                                       {m_redo, m_redoButton}};
    for (int index = 0; index < 2; ++index) {
        const auto& [command, button] = both[static_cast<std::size_t>(index)];
        EXPECT_EQ(m_layout->itemAt(index)->widget(), button);
        EXPECT_EQ(m_layout->stretch(index), 0);
        EXPECT_EQ(m_layout->itemAt(index)->alignment(), Qt::Alignment());
        EXPECT_EQ(button->parent(), &m_row);
        emit command->isrun(true);
        EXPECT_TRUE(button->isChecked());
        emit command->isrun(false);
        EXPECT_FALSE(button->isChecked());
    }
}

/// Knows the texts of the two commands in English.
class English : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override {
        const QByteArray key = QByteArray(context) + ": " + text;
        return key == "CUndo: 撤销" ? "Undo" : key == "CRedo: 重做" ? "Redo" : QString();
    }
};

TEST_F(HistoryButton, TheButtonsNamesAndTipsAreTranslated) {
    English english;
    ASSERT_TRUE(QCoreApplication::installTranslator(&english));
    m_undo->createselfUI(&m_row, m_layout);
    m_redo->createselfUI(&m_row, m_layout);
    for (const auto& [command, text] :
         {std::pair<zeo::ICommand*, QString>{m_undo, "Undo"}, {m_redo, "Redo"}}) {
        const QToolButton* button = zeo::EngineContext::buttonOf(*command);
        EXPECT_EQ(button->text(), text);
        EXPECT_EQ(button->objectName(), text);
        EXPECT_EQ(button->toolTip(), text);
    }
    QCoreApplication::removeTranslator(&english);
}

} // namespace
