#pragma once

#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/Style>

/// Lays what has that style on the terrain, just above it.
inline void drapeOnTerrain(osgEarth::Symbology::Style& style) {
    using osgEarth::Symbology::AltitudeSymbol;
    auto* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_DRAPE;
    altitude->verticalOffset() = 0.1;
}
