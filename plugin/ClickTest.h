#pragma once

#include <osgGA/GUIEventAdapter>

#include <cmath>

/// True when a release at (x, y) still counts as a click on (pressX, pressY), in window pixels with y
/// upwards. The vertical test is one-sided on purpose: a release below the press always passes.
inline bool isClick(float x, float y, int pressX, int pressY) {
    constexpr float kTolerancePixels = 3.0F;
    return std::abs(x - static_cast<float>(pressX)) <= kTolerancePixels &&
           y - static_cast<float>(pressY) <= kTolerancePixels;
}

inline bool isClick(const osgGA::GUIEventAdapter& release, int pressX, int pressY) {
    return isClick(release.getX(), release.getY(), pressX, pressY);
}
