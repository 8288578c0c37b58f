// What a tool's hover picker does with its callbacks, between a GUI thread and a thread of the frames.

#include "plugin/HoverPicker.h"

#include "host/viewer/CXViewer.h"
#include "host/viewmanager/MessageBus.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>

CXViewer* g_pCXviewer = nullptr; // no globe: a callback comes and goes, and nothing is drawn for it

void osgPush(const char* /*message*/) {}

namespace {

/// Notes where it ends.
class Witness : public osgEarth::Picker::Callback {
public:
    ~Witness() override {
        ++gone;
        goneElsewhere += QThread::currentThread() == QCoreApplication::instance()->thread() ? 0 : 1;
    }
    osgEarth::Picker::Callback* asPickerCallback() { return this; }

    static inline std::atomic<int> gone{0};
    static inline std::atomic<int> goneElsewhere{0};
};

TEST(HoverPicker, HandsWhatItNoLongerNeedsToTheGuiThreadAndKeepsNoReference) {
    constexpr int kTimes = 1000;
    {
        ToolThreads threads("nothing");
        HoverPicker<Witness> picker(threads);
        std::atomic<int> announced{0};
        std::atomic<int> installed{0};
        std::thread frames([&] {
            while (installed < kTimes) {
                if (installed < announced) {
                    threads.enterFrame();
                    picker.install("nothing");
                    ++installed;
                }
            }
        });
        while (installed < kTimes) {
            if (announced == installed && announced < kTimes) {
                picker.announce();
                ++announced;
            }
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        }
        frames.join();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    }
    EXPECT_EQ(Witness::gone, kTimes);
    EXPECT_EQ(Witness::goneElsewhere, 0);
}

} // namespace
