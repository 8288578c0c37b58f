#include <osgEarthSymbology/Style>

namespace osgEarth {
namespace Symbology {

Style::Style(const std::string& name) : m_name(name) {}

Style::Style(const Style& rhs, const osg::CopyOp& op) : m_name(rhs.m_name) {
    m_symbols.reserve(rhs.m_symbols.size());
    for (const osg::ref_ptr<Symbol>& symbol : rhs.m_symbols) {
        m_symbols.push_back(static_cast<Symbol*>(symbol->clone(op)));
    }
}

Style& Style::operator=(const Style& rhs) {
    if (this != &rhs) {
        Style copy(rhs);
        m_name.swap(copy.m_name);
        m_symbols.swap(copy.m_symbols);
    }
    return *this;
}

Style::~Style() = default;

void Style::addSymbol(Symbol* symbol) {
    if (!symbol) {
        return;
    }
    for (osg::ref_ptr<Symbol>& present : m_symbols) {
        if (typeid(*present) == typeid(*symbol)) {
            present = symbol;
            return;
        }
    }
    m_symbols.push_back(symbol);
}

} // namespace Symbology
} // namespace osgEarth
