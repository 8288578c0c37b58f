#pragma once

#include <osgViewer/Viewer>

#include <atomic>
#include <functional>

/// An OSG viewer that draws inside somebody else's window and only when something changed.
///
/// Single threaded. A frame has two halves: prepare() hands out the events and updates the scene, draw()
/// culls and draws it, as often as the window wants the picture. It never polls; whoever owns it makes frames
/// as long as needsFrame() says so and looks again later while hasBackgroundWork().
class EmbeddedViewer : public osgViewer::Viewer {
public:
    /// `wakeUp` is called, on the thread that asked, whenever a frame becomes needed.
    explicit EmbeddedViewer(std::function<void()> wakeUp);

    /// Makes the viewer draw into a window of this size in device pixels.
    void embed(int widthPixels, int heightPixels);
    void resize(int widthPixels, int heightPixels);
    /// The frame buffer to draw into; it may change with every resize of the window.
    void setFramebuffer(unsigned id);

    /// The first half of a frame. An event handler may open a dialog and wait for the user: not in a paint
    /// event, and not again before it has returned. The GL context must be current the first time.
    void prepare();
    /// The second half, after at least one prepare(). The GL context must be current.
    void draw();

    /// True while a frame has been asked for, events wait, something moves by itself, or a loaded tile waits
    /// to be put into the scene.
    bool needsFrame();
    /// True while tiles are being loaded.
    bool hasBackgroundWork();

    void requestRedraw() override;
    void requestContinuousUpdate(bool needed = true) override;

private:
    std::function<void()> m_wakeUp;
    osg::ref_ptr<osgViewer::GraphicsWindowEmbedded> m_window;
    std::atomic<int> m_framesOwed{0};
};
