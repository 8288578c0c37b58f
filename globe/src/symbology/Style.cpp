#include <osgEarthSymbology/Style>

namespace osgEarth {
namespace Symbology {

Style::Style(const std::string& name) : _name(name) {}

Style::Style(const Style& rhs, const osg::CopyOp& op) : _name(rhs._name) {
    _symbols.reserve(rhs._symbols.size());
    for (const osg::ref_ptr<Symbol>& symbol : rhs._symbols)
        _symbols.push_back(static_cast<Symbol*>(symbol->clone(op)));
}

Style& Style::operator=(const Style& rhs) {
    if (this != &rhs) {
        Style copy(rhs);
        _name.swap(copy._name);
        _symbols.swap(copy._symbols);
    }
    return *this;
}

Style::~Style() = default;

void Style::addSymbol(Symbol* symbol) {
    if (!symbol)
        return;
    for (osg::ref_ptr<Symbol>& present : _symbols)
        if (typeid(*present) == typeid(*symbol)) {
            present = symbol;
            return;
        }
    _symbols.push_back(symbol);
}

} // namespace Symbology
} // namespace osgEarth
