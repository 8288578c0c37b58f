// Development tool: draws the globe from given viewpoints into PNG files, to be looked at.
//   globe_pictures OUT.png LON LAT ALT HEADING PITCH RANGE [image:FILE | elevation:FILE]...
#include "OffscreenGlobe.h"

#include <osg/Timer>
#include <osgDB/WriteFile>

#include <cstdlib>
#include <ctime>
#include <iostream>

int main(int argc, char** argv) {
    if (argc < 8) {
        std::cerr << "usage: globe_pictures OUT.png LON LAT ALT HEADING PITCH RANGE "
                     "[image:FILE|elevation:FILE]...\n";
        return 2;
    }
    globetest::OffscreenGlobe globe(1280, 800);
    if (!globe.isUsable()) {
        std::cerr << "no GL context\n";
        return 1;
    }
    for (int i = 8; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto colon = argument.find(':');
        const std::string file = argument.substr(colon + 1);
        if (argument.compare(0, colon, "image") == 0) {
            globe.addImage(file, file);
        } else {
            globe.addElevation(file, file);
        }
    }
    globe.mapNode();
    const osg::Timer_t start = osg::Timer::instance()->tick();
    globe.manipulator()->setViewpoint(osgEarth::Viewpoint("", std::atof(argv[2]), std::atof(argv[3]),
                                                          std::atof(argv[4]), std::atof(argv[5]),
                                                          std::atof(argv[6]), std::atof(argv[7])));
    const bool settled = globe.settle();
    const double seconds = osg::Timer::instance()->delta_s(start, osg::Timer::instance()->tick());
    // Processor time, because the machine may be busy with other work.
    const std::clock_t before = std::clock();
    for (int i = 0; i < 10; ++i) {
        globe.frame();
    }
    const double frameMs = 1000.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC / 10.0;
    std::cout << (settled ? "settled after " : "not settled after ") << seconds << " s, frame " << frameMs
              << " ms of processor time\n";
    osgDB::writeImageFile(*globe.picture(), argv[1]);
    return 0;
}
