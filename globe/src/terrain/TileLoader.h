// Builds terrain tiles for the database pager.
#pragma once
#include <osgDB/Callbacks>
#include <osgEarth/TileKey>

#include <memory>
#include <string>

namespace osgEarth {
class TileContext;

/// Answers the pager's requests for files that do not exist: "children/LOD/X/Y" gives a group with the four
/// children of a tile (and theirs, where the view is much nearer than they are fine), "surface/LOD/X/Y" the
/// surface of the tile itself, made anew unless it is still there from before. Runs on the pager's threads.
class TileLoader : public osgDB::ReadFileCallback {
public:
    explicit TileLoader(std::weak_ptr<TileContext> context) : m_context(std::move(context)) {}

    static std::string childrenName(const TileKey& key) { return "children/" + key.str(); }
    static std::string surfaceName(const TileKey& key) { return "surface/" + key.str(); }

    osgDB::ReaderWriter::ReadResult readNode(const std::string& name, const osgDB::Options* options) override;

protected:
    ~TileLoader() override = default;

private:
    std::weak_ptr<TileContext> m_context; // a request may outlive its terrain
};

} // namespace osgEarth
