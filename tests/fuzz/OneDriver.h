#pragma once

#include <gdal_priv.h>

#include <string>

namespace fuzz {

/// Leaves GDAL one driver, so that not every other looks at each input first; their own formats are none of what a target
/// lets through. After whatever registers them all.
inline void keepOnlyDriver(const std::string& name) {
    GDALDriverManager* drivers = GetGDALDriverManager();
    for (int i = drivers->GetDriverCount() - 1; i >= 0; --i) {
        if (GDALDriver* driver = drivers->GetDriver(i); name != driver->GetDescription()) {
            drivers->DeregisterDriver(driver);
            delete driver;
        }
    }
}

} // namespace fuzz
