#include "Pictures.h"

#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osgDB/WriteFile>

#include <cstdlib>

namespace drawingtest {
namespace {

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

osg::ref_ptr<osg::GraphicsContext> offscreenContext(int size) {
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
    traits->readDISPLAY();
    traits->width = size;
    traits->height = size;
    traits->pbuffer = true;
    traits->doubleBuffer = false;
    traits->depth = 24;
    return osg::GraphicsContext::createGraphicsContext(traits);
}

} // namespace

Canvas::Canvas(int size) {
    stayConnected();
    m_viewer.setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    osg::Camera* camera = m_viewer.getCamera();
    camera->setGraphicsContext(offscreenContext(size));
    if (!camera->getGraphicsContext()) {
        throw std::runtime_error("no graphics context: these tests need a display");
    }
    camera->setViewport(0, 0, size, size);
    camera->setDrawBuffer(GL_FRONT);
    camera->setReadBuffer(GL_FRONT);
    camera->setClearColor(osg::Vec4(0.0f, 0.0f, 0.0f, 1.0f));
    camera->setProjectionMatrixAsOrtho(-1.0, 1.0, -1.0, 1.0, -1.0, 1.0);
    camera->setViewMatrix(osg::Matrix::identity());
    camera->setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
    camera->getOrCreateStateSet()->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    m_viewer.setLightingMode(osg::View::NO_LIGHT);
    m_viewer.realize();
}

osg::ref_ptr<osg::Image> Canvas::draw(osg::Node* scene) {
    m_viewer.setSceneData(scene);
    m_viewer.getCamera()->setViewMatrix(osg::Matrix::identity());
    return nextFrame(m_viewer);
}

void stayConnected() {
    static const osg::ref_ptr<osg::GraphicsContext> connection = offscreenContext(1);
}

osg::ref_ptr<osg::Image> nextFrame(osgViewer::Viewer& viewer) {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    viewer.getCamera()->setFinalDrawCallback(new ReadBack(image));
    viewer.frame();
    viewer.getCamera()->setFinalDrawCallback(nullptr);
    return image;
}

osg::ref_ptr<osg::Geometry> square(const osg::Vec4& color) {
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    for (const osg::Vec3& vertex : {osg::Vec3(-0.5f, -0.5f, 0.0f), osg::Vec3(0.5f, -0.5f, 0.0f),
                                    osg::Vec3(-0.5f, 0.5f, 0.0f), osg::Vec3(0.5f, 0.5f, 0.0f)}) {
        vertices->push_back(vertex);
    }
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(true);
    geometry->setVertexArray(vertices);
    geometry->setColorArray(new osg::Vec4Array(1, &color), osg::Array::BIND_OVERALL);
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4));
    return geometry;
}

osg::Vec3i pixel(const osg::Image& image, int x, int y) {
    const unsigned char* bytes = image.data(static_cast<unsigned>(x), static_cast<unsigned>(y));
    return {bytes[0], bytes[1], bytes[2]};
}

osg::Vec3i centerPixel(const osg::Image& image) {
    return pixel(image, image.s() / 2, image.t() / 2);
}

int count(const osg::Image& image, const std::function<bool(const osg::Vec3i&)>& condition) {
    int found = 0;
    for (int y = 0; y < image.t(); ++y) {
        for (int x = 0; x < image.s(); ++x) {
            found += condition(pixel(image, x, y));
        }
    }
    return found;
}

int differences(const osg::Image& a, const osg::Image& b, int tolerance) {
    int found = 0;
    for (int y = 0; y < a.t(); ++y) {
        for (int x = 0; x < a.s(); ++x) {
            const osg::Vec3i p = pixel(a, x, y);
            const osg::Vec3i q = pixel(b, x, y);
            found += std::abs(p.x() - q.x()) > tolerance || std::abs(p.y() - q.y()) > tolerance ||
                     std::abs(p.z() - q.z()) > tolerance;
        }
    }
    return found;
}

void keep(const osg::Image& image, const std::string& name) {
    if (const char* folder = std::getenv("CORRIDOR_TEST_PICTURES")) {
        osgDB::writeImageFile(image, std::string(folder) + "/" + name + ".png");
    }
}

} // namespace drawingtest
