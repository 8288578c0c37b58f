#include "host/Gbk.h"
#include "host/engine/ICommand.h"
#include "host/viewmanager/MessageBus.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ToolArea.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QToolButton>

#include <new>

namespace {

constexpr int kNone = -1;

/// How many allocations that may fail are still granted before one of them is refused.
int grantedAllocations = kNone;

} // namespace

// Replaces the library's own for the whole program, also for what the program loads.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (grantedAllocations != kNone && grantedAllocations-- == 0) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

TEST(ShortMemory, AToolThatCannotBeBuiltLeavesItsNameWithoutAHandlerAndAllOthersAreThere) {
    MainWindow window;
    grantedAllocations = 3;
    window.loadPlugin(TOOL_PLUGIN);
    EXPECT_EQ(grantedAllocations, kNone) << "no allocation was refused";
    grantedAllocations = kNone;

    const std::string refused = toGbk("添加特殊点");
    const HandlerRegistry& handlers = HandlerRegistry::instance();
    ASSERT_EQ(handlers.names().size(), 11U);
    EXPECT_EQ(handlers.names().at(3), refused);
    for (const std::string& name : handlers.names()) {
        EXPECT_EQ(!handlers.find(name), name == refused) << name;
    }
    EXPECT_FALSE(osgCmd(refused.c_str()));
    EXPECT_EQ(zeo::EngineContext::instance().commands().size(), 10U);
    EXPECT_EQ(window.toolArea().findChildren<QToolButton*>().size(), 10);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

} // namespace
