// Which operations of the host's interfaces the tools supply themselves, read from their tables.
#include "tests/plugin/PluginHost.h"
#include "tests/support/VirtualSlot.h"

#include "host/engine/CommandPlugin.h"
#include "host/engine/ToolPlugin.h"

#include <map>
#include <set>
#include <string>

namespace {

using zeo::ICommand;
using zeo::ITool;
using Names = std::set<std::string>;
using Places = std::map<std::string, std::ptrdiff_t>;

class PlainCommand : public zeo::CommandPlugin {
public:
    PlainCommand() : CommandPlugin("plain command") {}
    void Execute() override {}
};

class PlainTool : public zeo::ToolPlugin {
public:
    PlainTool() : ToolPlugin("plain tool") {}
    bool IsTool() override { return true; }
    void OnActivate() override {}
    void OnDeactivate() override {}
};

class PlainHandler : public CXCommandHandler {
public:
    ~PlainHandler() override = default;
};

Places placesOfCommands() {
    return {{"Destroy", slotOf(&ICommand::Destroy)},
            {"Execute", slotOf(&ICommand::Execute)},
            {"Name", slotOf(&ICommand::Name)},
            {"ToolTip", slotOf(&ICommand::ToolTip)},
            {"Key", slotOf(&ICommand::Key)},
            {"IsTool", slotOf(&ICommand::IsTool)},
            {"CommandType", slotOf(&ICommand::CommandType)},
            {"GetIcon", slotOf(&ICommand::GetIcon)},
            {"GetCursor", slotOf(&ICommand::GetCursor)},
            {"OnBeforeExcute", slotOf(&ICommand::OnBeforeExcute)},
            {"setStatbarTip", slotOf(&ICommand::setStatbarTip)},
            {"createselfUI", slotOf(&ICommand::createselfUI)}};
}

Places placesOfTools() {
    Places places = placesOfCommands();
    places.insert(
        {{"OnKeyPress", slotOf(&ITool::OnKeyPress)},
         {"OnKeyRelease", slotOf(&ITool::OnKeyRelease)},
         {"OnMouseMove", slotOf(&ITool::OnMouseMove)},
         {"OnMousePress", slotOf(&ITool::OnMousePress)},
         {"OnMouseRelease", slotOf(&ITool::OnMouseRelease)},
         {"OnMouseDoubleClick", slotOf(&ITool::OnMouseDoubleClick)},
         {"OnMouseWheel", slotOf(&ITool::OnMouseWheel)},
         {"MessageEvent", slotOf(&ITool::MessageEvent)},
         {"OnActivate", slotOf(&ITool::OnActivate)},
         {"OnDeactivate", slotOf(&ITool::OnDeactivate)},
         {"onFormAction of a number",
          slotOf(static_cast<void (ITool::*)(int, double)>(&ITool::onFormAction))},
         {"onFormAction of a text", slotOf(static_cast<void (ITool::*)(int, QString)>(&ITool::onFormAction))},
         {"onFormAction", slotOf(static_cast<void (ITool::*)(QString)>(&ITool::onFormAction))}});
    return places;
}

Places placesOfHandlers() {
    using Handle = bool (CXCommandHandler::*)(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&);
    return {{"handle", slotOf(static_cast<Handle>(&CXCommandHandler::handle))},
            {"OnMessage", slotOf(&CXCommandHandler::OnMessage)},
            {"InitInstance", slotOf(&CXCommandHandler::InitInstance)},
            {"ExitInstance", slotOf(&CXCommandHandler::ExitInstance)}};
}

/// Where the object does something else than the plain one.
Names differences(const void* object, const void* plain, const Places& places) {
    Names names;
    for (const auto& [name, place] : places) {
        if (entryOf(object, place) != entryOf(plain, place)) {
            names.insert(name);
        }
    }
    return names;
}

class Overrides : public PluginTest {
protected:
    Names ofCommand(ICommand& command) {
        const PlainCommand plain;
        return differences(&command, static_cast<const ICommand*>(&plain), placesOfCommands());
    }
    Names ofTool(ICommand& tool) {
        const PlainTool plain;
        return differences(&tool, static_cast<const ICommand*>(&plain), placesOfTools());
    }
    Names ofHandler(ICommand& command) {
        const osg::ref_ptr<PlainHandler> plain = new PlainHandler;
        return differences(dynamic_cast<CXCommandHandler*>(&command),
                           static_cast<const CXCommandHandler*>(plain.get()), placesOfHandlers());
    }
};

TEST_F(Overrides, OneShotCommandsSupplyTheirExecuteAndNothingElse) {
    for (const char* name : {"计算异常", "输出报告", "输出shape", "参数设置", "正北视图"}) {
        EXPECT_EQ(ofCommand(m_host.command(name)), Names({"Execute"})) << name;
        EXPECT_EQ(ofHandler(m_host.command(name)), Names()) << name;
    }
}

TEST_F(Overrides, UndoAndRedoSupplyTheirButtonAsWell) {
    for (const char* name : {"撤销", "重做"}) {
        EXPECT_EQ(ofCommand(m_host.command(name)), Names({"Execute", "createselfUI"})) << name;
        EXPECT_EQ(ofHandler(m_host.command(name)), Names()) << name;
    }
}

TEST_F(Overrides, ToolsLeaveAllKeyAndMouseWorkToTheirHandlers) {
    for (const char* name : {"查看\\编辑异常", "编辑特殊区域", "添加特殊点", "添加特殊面"}) {
        EXPECT_EQ(ofTool(m_host.command(name)), Names({"IsTool", "OnActivate", "OnDeactivate"})) << name;
        EXPECT_EQ(ofHandler(m_host.command(name)),
                  Names({"handle", "OnMessage", "InitInstance", "ExitInstance"}))
            << name;
    }
}

} // namespace
