// Development tool: draws the globe widget from a given viewpoint into a PNG file, to be looked at.
//   viewer_pictures OUT.png LON LAT ALT HEADING PITCH RANGE [image:FILE | elevation:FILE]...
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QPixmap>

#include <cstdio>

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    const QApplication application(argc, argv);
    if (argc < 8) {
        std::fprintf(stderr, "usage: viewer_pictures OUT.png LON LAT ALT HEADING PITCH RANGE "
                             "[image:FILE|elevation:FILE]...\n");
        return 2;
    }
    GlobeWidget globe;
    globe.resize(1280, 800);
    globe.map().addWorldBackdrop(
        "/usr/share/cartopy/data/raster/natural_earth/50-natural-earth-1-downsampled.png");
    for (int i = 8; i < argc; ++i) {
        const std::string layer = argv[i];
        const std::string file = layer.substr(layer.find(':') + 1);
        if (layer.rfind("image:", 0) == 0) {
            globe.map().addImagery(file, file);
        } else {
            globe.map().addElevation(file, file);
        }
    }
    const auto number = [argv](int index) { return QByteArray(argv[index]).toDouble(); };
    globe.getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", number(2), number(3), number(4), number(5), number(6), number(7)));
    QObject::connect(&globe, &GlobeWidget::pictureCompleted, &globe, [&globe, argv] {
        globe.grab().save(argv[1]);
        QCoreApplication::quit();
    });
    globe.show();
    return QApplication::exec();
}
