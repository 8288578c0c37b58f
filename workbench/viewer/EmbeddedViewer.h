#pragma once

#include <osgViewer/Viewer>

#include <atomic>
#include <functional>

/// An OSG viewer that draws inside somebody else's window and only when something changed.
///
/// Single threaded: events, updates, culling and drawing all happen in frame(). It never polls; whoever owns
/// it calls frame() as long as needsFrame() says so and looks again later while hasBackgroundWork().
class EmbeddedViewer : public osgViewer::Viewer {
public:
    /// `wakeUp` is called, on the thread that asked, whenever a frame becomes needed.
    explicit EmbeddedViewer(std::function<void()> wakeUp);

    /// Makes the viewer draw into a window of this size in device pixels.
    void embed(int widthPixels, int heightPixels);
    void resize(int widthPixels, int heightPixels);
    /// The frame buffer to draw into; it may change with every resize of the window.
    void setFramebuffer(unsigned id);

    /// Draws one frame. The GL context must be current.
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
