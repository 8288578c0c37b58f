#pragma once

#include <osgGA/GUIEventAdapter>

#include <cmath>

/// True when a release at the event's position still counts as a click on (pressX, pressY), in window pixels
/// with y upwards. The vertical test is one-sided on purpose: a release below the press always passes.
inline bool isClick(const osgGA::GUIEventAdapter& release, int pressX, int pressY) {
    constexpr float kTolerancePixels = 3.0F;
    return std::abs(release.getX() - static_cast<float>(pressX)) <= kTolerancePixels &&
           release.getY() - static_cast<float>(pressY) <= kTolerancePixels;
}
