#include "host/viewmanager/MessageBus.h"
#include "host/Gbk.h"
#include "host/viewmanager/DynamicClass.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <gtest/gtest.h>
#include <osgViewer/Viewer>

#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using Strings = std::vector<std::string>;

/// A handler that is, like a tool, deleted by its owner and never by a reference count.
class Listener : public CXCommandHandler {
public:
    Listener(std::string name, Strings& log) : m_name(std::move(name)), m_log(log) {}
    ~Listener() override = default;

    using CXCommandHandler::handle;
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter&) override {
        m_log.push_back(m_name + ": event " + std::to_string(ea.getEventType()));
        if (m_throws) {
            throw std::runtime_error("handle");
        }
        return m_consumes;
    }
    void OnMessage(std::string message) override {
        m_log.push_back(m_name + ": " + message);
        if (message == "again") {
            osgPush("posted meanwhile");
        }
        if (m_throws) {
            throw std::runtime_error("OnMessage");
        }
    }
    void InitInstance() override { m_log.push_back(m_name + ": init"); }
    void ExitInstance() override { m_log.push_back(m_name + ": exit"); }

    bool m_consumes = false;
    bool m_throws = false;

private:
    std::string m_name;
    Strings& m_log;
};

class MessageBus : public ::testing::Test {
protected:
    MessageBus()
        : m_first(std::make_unique<Listener>("A", m_log)), m_second(std::make_unique<Listener>("B", m_log)) {
        DynamicClass(std::string("second name"), m_second.get());
        DynamicClass(toGbk("查看\\编辑异常"), m_first.get());
        m_log.clear();
    }
    ~MessageBus() override {
        m_registry.setWakeUp({});
        m_registry.clear();
    }

    bool forward(osgGA::GUIEventAdapter::EventType type) {
        const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
        event->setEventType(type);
        return m_registry.activeHandlerForwarder()->handle(*event, m_viewer);
    }

    HandlerRegistry& m_registry = HandlerRegistry::instance();
    Strings m_log;
    std::unique_ptr<Listener> m_first;
    std::unique_ptr<Listener> m_second;
    osgViewer::Viewer m_viewer;
};

TEST_F(MessageBus, KeepsTheNamesInTheOrderOfRegistration) {
    EXPECT_EQ(m_registry.names(), (Strings{"second name", toGbk("查看\\编辑异常")}));
}

TEST_F(MessageBus, ASecondRegistrationUnderANameReplacesTheFirstInPlace) {
    Listener replacement("C", m_log);
    const DynamicClass again("second name", &replacement);
    EXPECT_EQ(m_registry.names().size(), 2U);
    EXPECT_EQ(m_registry.find("second name"), &replacement);
    EXPECT_EQ(m_log, Strings{"C: init"});
}

TEST_F(MessageBus, DeliversToEveryHandlerMessageByMessageInOrder) {
    osgPush("one");
    osgPush("two");
    EXPECT_TRUE(m_log.empty()) << "nothing before the frame loop asks for it";
    m_registry.deliverMessages();
    EXPECT_EQ(m_log, (Strings{"B: one", "A: one", "B: two", "A: two"}));
    EXPECT_FALSE(m_registry.hasMessages());
}

TEST_F(MessageBus, WhatIsPostedDuringADeliveryArrivesInTheNextRound) {
    osgPush("again");
    osgPush("last of the round");
    m_registry.deliverMessages();
    EXPECT_EQ(m_log, (Strings{"B: again", "A: again", "B: last of the round", "A: last of the round"}));
    EXPECT_TRUE(m_registry.hasMessages());
    m_log.clear();
    m_registry.deliverMessages();
    EXPECT_EQ(m_log, (Strings{"B: posted meanwhile", "A: posted meanwhile", "B: posted meanwhile",
                              "A: posted meanwhile"}));
}

TEST_F(MessageBus, EveryPostWakesTheViewer) {
    int calls = 0;
    m_registry.setWakeUp([&] { ++calls; });
    osgPush("one");
    osgPush("two");
    EXPECT_EQ(calls, 2);
}

TEST_F(MessageBus, TakesMessagesFromOtherThreadsWithoutLosingAny) {
    constexpr int kPerThread = 500;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([] {
            for (int message = 0; message < kPerThread; ++message) {
                osgPush("from elsewhere");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    m_registry.deliverMessages();
    EXPECT_EQ(m_log.size(), 2U * 4U * kPerThread);
}

TEST_F(MessageBus, GoesOnAfterAHandlerThatThrows) {
    m_second->m_throws = true;
    osgPush("one");
    m_registry.deliverMessages();
    EXPECT_EQ(m_log, (Strings{"B: one", "A: one"}));
}

TEST_F(MessageBus, SkipsADestroyedHandler) {
    ASSERT_TRUE(osgCmd("second name"));
    m_second.reset();
    osgPush("one");
    m_registry.deliverMessages();
    EXPECT_EQ(m_log, Strings{"A: one"});
    EXPECT_EQ(m_registry.activeHandler(), nullptr);
    EXPECT_FALSE(forward(osgGA::GUIEventAdapter::PUSH));
    EXPECT_FALSE(osgCmd("second name"));
}

TEST_F(MessageBus, SelectsTheActiveHandlerByItsRegisteredName) {
    EXPECT_TRUE(osgCmd(toGbk("查看\\编辑异常").c_str()));
    EXPECT_EQ(m_registry.activeHandler(), m_first.get());
}

TEST_F(MessageBus, AnUnknownNameLeavesTheActiveHandlerAsItIs) {
    ASSERT_TRUE(osgCmd("second name"));
    EXPECT_FALSE(osgCmd("nobody"));
    EXPECT_FALSE(osgCmd(nullptr));
    EXPECT_EQ(m_registry.activeHandler(), m_second.get());
}

TEST_F(MessageBus, ANullHandlerIsRegisteredAndNeverBecomesActive) {
    const DynamicClass nothing("no tool", nullptr);
    EXPECT_EQ(m_registry.names().back(), "no tool");
    EXPECT_FALSE(osgCmd("no tool"));
    osgPush("one");
    m_registry.deliverMessages();
    EXPECT_EQ(m_log.size(), 2U);
}

TEST_F(MessageBus, EventsGoToTheActiveHandlerOnly) {
    EXPECT_FALSE(forward(osgGA::GUIEventAdapter::PUSH));
    EXPECT_TRUE(m_log.empty()) << "no handler is active yet";
    ASSERT_TRUE(osgCmd("second name"));
    m_second->m_consumes = true;
    EXPECT_TRUE(forward(osgGA::GUIEventAdapter::PUSH));
    EXPECT_EQ(m_log, Strings{"B: event " + std::to_string(osgGA::GUIEventAdapter::PUSH)});
}

TEST_F(MessageBus, AHandlerThatThrowsConsumesNothing) {
    ASSERT_TRUE(osgCmd("second name"));
    m_second->m_consumes = true;
    m_second->m_throws = true;
    EXPECT_FALSE(forward(osgGA::GUIEventAdapter::PUSH));
}

TEST_F(MessageBus, ClearSaysGoodbyeNewestFirstAndForgetsEverything) {
    osgPush("never delivered");
    m_registry.clear();
    EXPECT_EQ(m_log, (Strings{"A: exit", "B: exit"}));
    EXPECT_TRUE(m_registry.names().empty());
    EXPECT_FALSE(m_registry.hasMessages());
}

TEST_F(MessageBus, TheDefaultHandlerIgnoresEventsAndMessages) {
    class Plain : public CXCommandHandler {
    public:
        ~Plain() override = default;
    };
    Plain plain;
    const DynamicClass registration("plain", &plain);
    ASSERT_TRUE(osgCmd("plain"));
    EXPECT_FALSE(forward(osgGA::GUIEventAdapter::KEYDOWN));
    osgPush("anything");
    m_registry.deliverMessages();
    EXPECT_EQ(m_log.size(), 2U);
}

} // namespace
