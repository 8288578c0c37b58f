#include "TileLoader.h"

#include "TileContext.h"
#include "TileNode.h"

#include <cstdio>

namespace osgEarth {

osgDB::ReaderWriter::ReadResult TileLoader::readNode(const std::string& name, const osgDB::Options*) {
    const std::shared_ptr<TileContext> context = _context.lock();
    char kind[16] = "";
    unsigned lod = 0;
    unsigned x = 0;
    unsigned y = 0;
    // NOLINTNEXTLINE(cert-err34-c): the names are our own
    if (context == nullptr || std::sscanf(name.c_str(), "%15[a-z]/%u/%u/%u", kind, &lod, &x, &y) != 4) {
        return osgDB::ReaderWriter::ReadResult::FILE_NOT_HANDLED;
    }
    const TileKey key(lod, x, y, context->profile());
    if (std::string(kind) == "surface") {
        const auto layers = context->layers();
        return osgDB::ReaderWriter::ReadResult(
            new TileSurface(new TileMesh(key, *layers, context->options())));
    }
    osg::ref_ptr<osg::Group> children = new osg::Group();
    for (unsigned quadrant = 0; quadrant < 4; ++quadrant) {
        children->addChild(new TileNode(key.createChildKey(quadrant), context));
    }
    return osgDB::ReaderWriter::ReadResult(children);
}

} // namespace osgEarth
