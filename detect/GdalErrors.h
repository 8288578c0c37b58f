#pragma once

#include "detect/Result.h"

#include <string>

namespace detect {

/// While it lives, GDAL's messages of this thread stay off standard error and the first failure is
/// remembered.
class GdalErrors {
public:
    GdalErrors();
    ~GdalErrors();
    GdalErrors(const GdalErrors&) = delete;
    GdalErrors& operator=(const GdalErrors&) = delete;

    bool any() const { return !m_firstFailure.empty(); }
    /// GDAL's own words, one line; empty when nothing failed.
    const std::string& first() const { return m_firstFailure; }
    /// Called from GDAL's error hook.
    void remember(const char* message);
    void clear() { m_firstFailure.clear(); }

private:
    std::string m_firstFailure;
};

/// libtiff writes lines of its own to standard error, beside the errors that GDAL reports. For a program that
/// says each error in one line: call it first in main.
void silenceTiff();
/// The same with what GDAL reports where nobody asks it, in every thread.
void silenceLibraries();

/// A failure of one line: the file, the cause, and GDAL's own words in brackets when there are any.
Unexpected failureOf(const std::string& file, const std::string& cause, const std::string& gdalWords = {});

/// The same failure, marked as one of the window only.
Unexpected nothingInWindow(Unexpected failure);

} // namespace detect
