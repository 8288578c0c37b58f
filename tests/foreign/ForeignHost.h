#pragma once

#include "host/inspection/Station.h"
#include "host/viewmanager/CXCommandHandler.h"

#include <QLibrary>
#include <QStringList>
#include <QWidget>

#include <osg/Group>
#include <osgEarthAnnotation/ImageOverlay>

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class QToolButton;
namespace globetest {
class OffscreenGlobe;
}
namespace zeo {
class ICommand;
class ITool;
} // namespace zeo

/// A host that is not ours: a row of buttons, a globe, one station with some anomalies in memory. It offers
/// what the interfaces in host/ ask for and nothing more, and it fails the test when an operation of a window
/// or of the inspection data is called on another thread than the GUI's, or the scene is changed on another
/// one than the frames'.
class ForeignHost {
public:
    /// Frames are made by settle, or on a thread of their own from the beginning to the end. A context of the
    /// software renderer does not stand to be handed from thread to thread.
    enum class Frames { OnTheGuiThread, OnAThreadOfTheirOwn };
    explicit ForeignHost(Frames frames);
    ~ForeignHost();
    static ForeignHost& instance();

    /// Loads the plug-in and makes its buttons.
    bool load(const QString& file);

    /// Waits until another frame has been made, and makes it where the frames have no thread of their own.
    void awaitFrame();
    bool hasOwnFrameThread() const { return m_frames.joinable(); }
    /// Lets both threads do all that they have to do.
    void settle();
    /// Does something between two frames, on their thread, and waits for it.
    void betweenFrames(const std::function<void()>& work);

    // The pointer and the keys, in pixels of the view, y upwards.
    void move(float x, float y);
    void press(int button);
    void release(int button);
    void doubleClick(int button);
    void keyDown(int key);
    void keyUp(int key);

    zeo::ICommand& command(const char* utf8Name) const;
    QToolButton& button(const char* utf8Name) const;
    void click(const char* utf8Name);
    void leaveActiveTool();

    /// To be called by every operation that belongs to the GUI thread.
    static void expectGui(const char* operation);

    /// At all anomalies. Between two frames.
    void lookFromAbove();
    const KV_Station& station() const { return m_station; }
    /// Of the anomaly of that number, in pixels.
    osg::Vec2d pixelOf(std::size_t anomaly) const { return m_pixels.at(anomaly); }
    /// Numbers of the anomalies that are.
    std::vector<std::size_t> highlighted();
    std::size_t groupsNamed(const std::string& name);
    /// How many the view has.
    std::size_t eventHandlers();
    /// Gives the value of the label on the globe; empty when there is none.
    std::string valueLabel();

    static constexpr float kWidth = 256;
    static constexpr float kHeight = 192;
    static constexpr std::size_t kAnomalies = 12;

    /// While it lives, nothing is delivered and no frame is made. Work that has come to the GUI thread waits
    /// there.
    class StoppedFrames {
    public:
        /// Waits for the end of a frame, without letting the GUI thread do anything meanwhile.
        explicit StoppedFrames(ForeignHost& host);
        ~StoppedFrames();
        StoppedFrames(const StoppedFrames&) = delete;
        StoppedFrames& operator=(const StoppedFrames&) = delete;

    private:
        std::promise<void> m_mayGoOn;
    };

    QStringList messages;                  ///< texts of all message boxes
    QStringList boxes;                     ///< title, type, buttons and modality of all message boxes
    QStringList calls;                     ///< of the windows
    std::atomic<int> picks{0};             ///< calls of pick
    std::map<std::uint32_t, int> domReads; ///< calls of readdom, by the station's id
    std::vector<zeo::ICommand*> commands;
    zeo::ITool* activeTool = nullptr;

    // For the functions of the view manager.
    void add(const std::string& name, CXCommandHandler* handler);
    bool activate(const std::string& name);
    void post(const std::string& message);
    CXCommandHandler* activeHandler() const { return m_active; }

private:
    void doBetweenFrames(std::function<void()> work);
    std::size_t indexOf(const char* utf8Name) const;
    void buildScene();
    void makeFrame();
    void awaitFrames(const std::function<bool()>& isDone);
    bool isHighlighted(std::size_t anomaly) const;
    osg::Vec2d project(std::size_t anomaly) const;
    void deliver();
    void later(const std::function<void(double time)>& event);

    std::unique_ptr<globetest::OffscreenGlobe> m_globe;
    KV_Station m_station;
    std::vector<SdiffData> m_anomalies;
    osg::ref_ptr<osg::Group> m_overlays;
    std::vector<osg::Vec2d> m_pixels;
    QWidget m_row;
    QLibrary m_library;
    std::thread m_frames;
    std::atomic<bool> m_isStopping{false};
    std::atomic<unsigned> m_frameCount{0};
    float m_x = 0;
    float m_y = 0;

    mutable std::mutex m_mutex; ///< guards what follows
    std::vector<std::pair<std::string, CXCommandHandler*>> m_handlers;
    std::deque<std::string> m_posted;
    std::vector<std::function<void()>> m_work; ///< for between two frames
    std::atomic<CXCommandHandler*> m_active{nullptr};
};
