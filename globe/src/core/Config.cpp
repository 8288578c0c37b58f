#include <osgEarth/Config>

namespace osgEarth {

std::string Config::value(const std::string& key) const {
    const auto found = _children.find(key);
    return found == _children.end() ? std::string() : found->second;
}

} // namespace osgEarth
