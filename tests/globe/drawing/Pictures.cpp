#include "Pictures.h"
#include "../OffscreenPicture.h"

#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osgDB/WriteFile>

#include <cstdlib>

namespace drawingtest {

Canvas::Canvas(int size) {
    globetest::stayConnected();
    if (!globetest::drawOffscreen(m_viewer, size, size)) {
        throw std::runtime_error("no graphics context: these tests need a display");
    }
    osg::Camera* camera = m_viewer.getCamera();
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
    return globetest::nextFrame(m_viewer);
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
