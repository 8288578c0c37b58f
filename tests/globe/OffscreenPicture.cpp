#include "OffscreenPicture.h"

namespace globetest {
namespace {

// Copies the frame buffer at the end of a frame.
class ReadBack : public osg::Camera::DrawCallback {
public:
    explicit ReadBack(osg::Image* image) : m_image(image) {}
    void operator()(osg::RenderInfo& info) const override {
        const osg::Viewport* viewport = info.getCurrentCamera()->getViewport();
        m_image->readPixels(0, 0, static_cast<int>(viewport->width()), static_cast<int>(viewport->height()),
                            GL_RGB, GL_UNSIGNED_BYTE);
    }

private:
    osg::ref_ptr<osg::Image> m_image;
};

osg::ref_ptr<osg::GraphicsContext> offscreenContext(int width, int height) {
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits();
    traits->readDISPLAY();
    traits->width = width;
    traits->height = height;
    traits->pbuffer = true;
    traits->doubleBuffer = false;
    traits->depth = 24;
    traits->stencil = 8;
    return osg::GraphicsContext::createGraphicsContext(traits);
}

} // namespace

bool drawOffscreen(osgViewer::Viewer& viewer, int width, int height) {
    viewer.setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    osg::Camera* camera = viewer.getCamera();
    camera->setGraphicsContext(offscreenContext(width, height));
    camera->setViewport(0, 0, width, height);
    camera->setDrawBuffer(GL_FRONT);
    camera->setReadBuffer(GL_FRONT);
    camera->setClearColor(osg::Vec4(0.0F, 0.0F, 0.0F, 1.0F));
    return camera->getGraphicsContext() != nullptr;
}

osg::ref_ptr<osg::Image> nextFrame(osgViewer::Viewer& viewer) {
    osg::ref_ptr<osg::Image> image = new osg::Image();
    viewer.getCamera()->setFinalDrawCallback(new ReadBack(image));
    viewer.frame();
    viewer.getCamera()->setFinalDrawCallback(nullptr);
    return image;
}

void stayConnected() {
    static const osg::ref_ptr<osg::GraphicsContext> connection = offscreenContext(1, 1);
}

} // namespace globetest
