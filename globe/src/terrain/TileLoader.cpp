#include "TileLoader.h"

#include "FormerSurfaces.h"
#include "TileContext.h"
#include "TileNode.h"

#include <cstdio>

namespace osgEarth {
namespace {

// A view that is far too near for a tile gets this many levels at once. Frame by frame it would wait for, and
// draw, each level in turn; all at once it would see nothing for too long.
constexpr int kLevelsAtOnce = 6;

osg::ref_ptr<osg::Group> childrenOf(const TileKey& key, const std::shared_ptr<TileContext>& context,
                                    const TileView* view, int levels) {
    osg::ref_ptr<osg::Group> children = new osg::Group();
    for (unsigned quadrant = 0; quadrant < 4; ++quadrant) {
        osg::ref_ptr<TileNode> tile = new TileNode(key.createChildKey(quadrant), context);
        if (levels > 1 && view && tile->isMuchTooCoarseFor(*view)) {
            tile->bringAlong(childrenOf(tile->key(), context, view, levels - 1));
        }
        children->addChild(tile);
    }
    return children;
}

osg::ref_ptr<TileSurface> surfaceOf(const TileKey& key, TileContext& context) {
    const auto layers = context.layers();
    osg::ref_ptr<TileSurface> surface = context.formerSurfaces().take(key, layers->look());
    if (surface) {
        surface->setRevision(layers->revision());
    } else {
        surface = new TileSurface(key, *layers, context.options());
    }
    return surface;
}

} // namespace

osgDB::ReaderWriter::ReadResult TileLoader::readNode(const std::string& name, const osgDB::Options*) {
    const std::shared_ptr<TileContext> context = m_context.lock();
    char kind[16] = "";
    unsigned lod = 0;
    unsigned x = 0;
    unsigned y = 0;
    // NOLINTNEXTLINE(cert-err34-c): the names are our own
    if (!context || std::sscanf(name.c_str(), "%15[a-z]/%u/%u/%u", kind, &lod, &x, &y) != 4) {
        return osgDB::ReaderWriter::ReadResult::FILE_NOT_HANDLED;
    }
    const TileKey key(lod, x, y, context->profile());
    if (std::string(kind) == "surface") {
        return osgDB::ReaderWriter::ReadResult(surfaceOf(key, *context));
    }
    return osgDB::ReaderWriter::ReadResult(childrenOf(key, context, context->view().get(), kLevelsAtOnce));
}

} // namespace osgEarth
