// Tools and host are built apart from each other and meet in these tables and fields, so their order may not
// change.
#include "tests/engine/RecordingTool.h"
#include "tests/support/VirtualSlot.h"

#include "host/inspection/EditHistory.h"
#include "host/viewmanager/CXCommandHandler.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace {

using zeo::CommandPlugin;
using zeo::ICommand;
using zeo::ITool;
using zeo::ToolPlugin;

/// Its own first operation takes the first place behind those of `Base`.
template<typename Base>
class OneMore : public Base {
public:
    virtual void first();
};

void expectConsecutive(const std::vector<std::ptrdiff_t>& operations, std::ptrdiff_t first) {
    for (std::size_t index = 0; index < operations.size(); ++index) {
        EXPECT_EQ(operations[index], first + static_cast<std::ptrdiff_t>(index)) << "operation " << index;
    }
}

TEST(InterfaceLayout, TheOperationsOfACommandFollowThoseOfAnObjectInTheirOrder) {
    expectConsecutive({slotOf(&ICommand::Destroy), slotOf(&ICommand::Execute), slotOf(&ICommand::Name),
                       slotOf(&ICommand::ToolTip), slotOf(&ICommand::Key), slotOf(&ICommand::IsTool),
                       slotOf(&ICommand::CommandType), slotOf(&ICommand::GetIcon),
                       slotOf(&ICommand::GetCursor), slotOf(&ICommand::OnBeforeExcute),
                       slotOf(&ICommand::setStatbarTip), slotOf(&ICommand::createselfUI)},
                      slotOf(&OneMore<QObject>::first));
}

TEST(InterfaceLayout, TheOperationsOfAToolFollowThoseOfACommandInTheirOrder) {
    const auto number = static_cast<void (ITool::*)(int, double)>(&ITool::onFormAction);
    const auto text = static_cast<void (ITool::*)(int, QString)>(&ITool::onFormAction);
    const auto name = static_cast<void (ITool::*)(QString)>(&ITool::onFormAction);
    expectConsecutive({slotOf(&ITool::OnKeyPress), slotOf(&ITool::OnKeyRelease), slotOf(&ITool::OnMouseMove),
                       slotOf(&ITool::OnMousePress), slotOf(&ITool::OnMouseRelease),
                       slotOf(&ITool::OnMouseDoubleClick), slotOf(&ITool::OnMouseWheel),
                       slotOf(&ITool::MessageEvent), slotOf(&ITool::OnActivate), slotOf(&ITool::OnDeactivate),
                       slotOf(number), slotOf(text), slotOf(name)},
                      slotOf(&ICommand::createselfUI) + 1);
}

TEST(InterfaceLayout, TheBasesOfCommandsAndToolsAddNoOperation) {
    EXPECT_EQ(slotOf(&OneMore<CommandPlugin>::first), slotOf(&ICommand::createselfUI) + 1);
    const auto last = static_cast<void (ITool::*)(QString)>(&ITool::onFormAction);
    EXPECT_EQ(slotOf(&OneMore<ToolPlugin>::first), slotOf(last) + 1);
}

TEST(InterfaceLayout, TheOperationsOfAHandlerFollowThoseOfAnEventHandlerInTheirOrder) {
    using Handle = bool (CXCommandHandler::*)(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&);
    using BaseHandle =
        bool (osgGA::GUIEventHandler::*)(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&);
    EXPECT_EQ(slotOf(static_cast<Handle>(&CXCommandHandler::handle)),
              slotOf(static_cast<BaseHandle>(&osgGA::GUIEventHandler::handle)));
    expectConsecutive({slotOf(&CXCommandHandler::OnMessage), slotOf(&CXCommandHandler::InitInstance),
                       slotOf(&CXCommandHandler::ExitInstance)},
                      slotOf(&OneMore<osgGA::GUIEventHandler>::first));
}

TEST(InterfaceLayout, TheOperationsOfTheEditHistoryStandInTheirOrder) {
    expectConsecutive({slotOf(&EditHistory::CanUndo), slotOf(&EditHistory::CanRedo),
                       slotOf(&EditHistory::TakeUndo), slotOf(&EditHistory::TakeRedo),
                       slotOf(&EditHistory::UndoSteps)},
                      slotOf(&EditHistory::CanUndo));
    expectConsecutive({slotOf(&EditCommand::Undo), slotOf(&EditCommand::Redo), slotOf(&EditCommand::GetText)},
                      slotOf(&EditCommand::Undo));
}

TEST(InterfaceLayout, OnlyTheToolItselfSaysThatItIsOne) {
    EXPECT_TRUE(std::is_abstract_v<ToolPlugin>);
    EXPECT_TRUE((std::is_same_v<decltype(&ToolPlugin::IsTool), bool (ICommand::*)()>));
    EXPECT_TRUE((std::is_same_v<decltype(&CommandPlugin::IsTool), bool (CommandPlugin::*)()>));
}

TEST(InterfaceLayout, CommandsAndToolsKeepTheirHostsDefaultsForButtonAndTip) {
    EXPECT_TRUE((std::is_same_v<decltype(&CommandPlugin::createselfUI), decltype(&ICommand::createselfUI)>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(&CommandPlugin::setStatbarTip), decltype(&ICommand::setStatbarTip)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ToolPlugin::createselfUI), decltype(&ICommand::createselfUI)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ToolPlugin::setStatbarTip), decltype(&ICommand::setStatbarTip)>));
}

/// How far into the object each field of the base lies.
template<typename Base>
class Fields : public Base {
public:
    using Base::Base;
    std::vector<std::ptrdiff_t> offsets() const {
        return {offsetOf(&this->m_pButton), offsetOf(&this->m_name),        offsetOf(&this->m_toolTip),
                offsetOf(&this->m_key),     offsetOf(&this->m_commandType), offsetOf(&this->m_icon),
                offsetOf(&this->m_cursor)};
    }

private:
    std::ptrdiff_t offsetOf(const void* field) const {
        return static_cast<const char*>(field) -
               reinterpret_cast<const char*>(static_cast<const QObject*>(this));
    }
};

class CommandFields : public Fields<CommandPlugin> {
public:
    CommandFields() : Fields("fields") {}
    void Execute() override {}
};

class ToolFields : public Fields<ToolPlugin> {
public:
    ToolFields() : Fields("fields") {}
    bool IsTool() override { return true; }
    void OnActivate() override {}
    void OnDeactivate() override {}
};

std::vector<std::ptrdiff_t> expectedOffsets() {
    constexpr auto kText = static_cast<std::ptrdiff_t>(sizeof(std::string));
    const auto first = static_cast<std::ptrdiff_t>(sizeof(ICommand));
    return {static_cast<std::ptrdiff_t>(sizeof(QObject)),
            first,
            first + kText,
            first + 2 * kText,
            first + 3 * kText,
            first + 4 * kText,
            first + 4 * kText + static_cast<std::ptrdiff_t>(sizeof(QIcon))};
}

TEST(InterfaceLayout, TheFieldsOfCommandsAndToolsStandInTheirOrder) {
    EXPECT_EQ(CommandFields().offsets(), expectedOffsets());
    EXPECT_EQ(ToolFields().offsets(), expectedOffsets());
}

} // namespace
