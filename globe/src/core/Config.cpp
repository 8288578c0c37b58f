#include <osgEarth/Config>

namespace osgEarth {

std::string Config::value(const std::string& key) const {
    const auto found = m_children.find(key);
    return found == m_children.end() ? std::string() : found->second;
}

} // namespace osgEarth
