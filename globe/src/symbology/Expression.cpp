#include <osgEarthSymbology/Expression>

#include <locale>
#include <sstream>

namespace osgEarth {
namespace Symbology {

// The stream's own locale keeps "1.5" a number where the process writes decimal commas.
NumericExpression::NumericExpression(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    if (!(stream >> m_value)) {
        m_value = 0.0;
    }
}

} // namespace Symbology
} // namespace osgEarth
