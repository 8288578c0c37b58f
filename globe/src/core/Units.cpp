#include <osgEarth/Units>

#include <osg/Math>

#include <utility>

namespace osgEarth {

const Units Units::METERS("meters", "m", TYPE_LINEAR, 1.0);
const Units Units::KILOMETERS("kilometers", "km", TYPE_LINEAR, 1000.0);
const Units Units::CENTIMETERS("centimeters", "cm", TYPE_LINEAR, 0.01);
const Units Units::FEET("feet", "ft", TYPE_LINEAR, 0.3048);
const Units Units::MILES("miles", "mi", TYPE_LINEAR, 1609.344);
const Units Units::NAUTICAL_MILES("nautical miles", "nm", TYPE_LINEAR, 1852.0);
const Units Units::DEGREES("degrees", "\xC2\xB0", TYPE_ANGULAR, osg::PI / 180.0);
const Units Units::RADIANS("radians", "rad", TYPE_ANGULAR, 1.0);
const Units Units::SECONDS("seconds", "s", TYPE_TEMPORAL, 1.0);
const Units Units::MINUTES("minutes", "min", TYPE_TEMPORAL, 60.0);
const Units Units::HOURS("hours", "h", TYPE_TEMPORAL, 3600.0);
const Units Units::MILLISECONDS("milliseconds", "ms", TYPE_TEMPORAL, 0.001);
const Units Units::METERS_PER_SECOND("meters per second", "m/s", TYPE_SPEED, 1.0);
const Units Units::KILOMETERS_PER_HOUR("kilometers per hour", "km/h", TYPE_SPEED, 1.0 / 3.6);
const Units Units::PIXELS("pixels", "px", TYPE_SCREEN_SIZE, 1.0);

Units::Units() = default;

Units::Units(const std::string& name, const std::string& abbreviation, Type type, double toBase)
    : m_name(name), m_abbreviation(abbreviation), m_type(type), m_toBase(toBase) {}

double Units::convert(const Units& from, const Units& to, double input) {
    if (from == to || !from.canConvert(to)) {
        return input;
    }
    return input * from.m_toBase / to.m_toBase;
}

bool Units::operator==(const Units& rhs) const {
    return m_type == rhs.m_type && m_toBase == rhs.m_toBase;
}

} // namespace osgEarth
