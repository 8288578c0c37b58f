#include "tests/engine/RecordingTool.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

class Commands : public ::testing::Test {
protected:
    ~Commands() override { m_engine.shutdown(); }

    zeo::EngineContext& m_engine = zeo::EngineContext::instance();
    QStringList m_log;
};

TEST_F(Commands, AreListedInTheOrderOfConstruction) {
    auto* second = new RecordingCommand("z", m_log);
    auto* first = new RecordingTool("a", m_log);
    EXPECT_EQ(m_engine.commands(), (std::vector<zeo::ICommand*>{second, first}));
}

TEST_F(Commands, KeepTheirExactKeys) {
    new RecordingCommand("303 comput diff ", m_log);
    EXPECT_EQ(m_engine.commands().at(0)->Key(), "303 comput diff ") << "a trailing blank is part of the key";
}

TEST_F(Commands, TellWhetherTheyAreTools) {
    EXPECT_FALSE((new RecordingCommand("c", m_log))->IsTool());
    EXPECT_TRUE((new RecordingTool("t", m_log))->IsTool());
}

TEST_F(Commands, LeaveTheListWhenDestroyed) {
    auto* first = new RecordingCommand("1", m_log);
    auto* second = new RecordingCommand("2", m_log);
    QSignalSpy changes(&m_engine, &zeo::EngineContext::commandsChanged);
    first->Destroy();
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(m_engine.commands(), std::vector<zeo::ICommand*>{second});
}

TEST_F(Commands, ShutdownLeavesTheActiveToolAndDestroysAllNewestFirst) {
    ToolAreaWindow area;
    new RecordingCommand("1", m_log);
    auto* tool = new RecordingTool("2", m_log);
    clickOn(area.addButton(*tool));
    m_engine.shutdown();
    EXPECT_EQ(m_log, QStringList({"2 on", "2 off", "2 destroyed", "1 destroyed"}));
    EXPECT_TRUE(m_engine.commands().empty());
    EXPECT_EQ(m_engine.GetActiveTool(), nullptr);
}

TEST_F(Commands, ADestroyedToolIsNoLongerActive) {
    ToolAreaWindow area;
    auto* tool = new RecordingTool("1", m_log);
    clickOn(area.addButton(*tool));
    tool->Destroy();
    EXPECT_EQ(m_engine.GetActiveTool(), nullptr);
}

TEST_F(Commands, ShowTheirTipInTheStatusBar) {
    QSignalSpy tips(&m_engine, &zeo::EngineContext::statusTipChanged);
    (new RecordingCommand("1", m_log))->setStatbarTip(QStringLiteral("添加特殊点"));
    ASSERT_EQ(tips.size(), 1);
    EXPECT_EQ(tips[0][0].toString(), QStringLiteral("添加特殊点"));
}

TEST_F(Commands, ReachTheSameContextThroughTheInterface) {
    EXPECT_EQ(zeo::IEngineContext::Instance(), &m_engine);
    EXPECT_EQ(m_engine.GetMapSRS(), nullptr);
}

} // namespace
