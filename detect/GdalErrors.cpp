#include "detect/GdalErrors.h"

#include <cpl_error.h>
#include <tiffio.h>

#include <algorithm>

namespace detect {

namespace {

void CPL_STDCALL rememberFailure(CPLErr severity, CPLErrorNum, const char* message) {
    if (severity == CE_Failure || severity == CE_Fatal) {
        static_cast<GdalErrors*>(CPLGetErrorHandlerUserData())->remember(message);
    }
}

/// GDAL quotes whole scripts of SQL; what went wrong stands at the end.
std::string shortened(const std::string& words) {
    constexpr std::size_t kEpt = 80; // bytes at either end
    if (words.size() <= 3 * kEpt) {
        return words;
    }
    const auto isInsideCharacter = [&words](std::size_t i) { return (words[i] & 0xC0) == 0x80; };
    std::size_t head = kEpt;
    while (isInsideCharacter(head)) {
        --head;
    }
    std::size_t tail = words.size() - kEpt;
    while (isInsideCharacter(tail)) {
        ++tail;
    }
    return words.substr(0, head) + " … " + words.substr(tail);
}

} // namespace

GdalErrors::GdalErrors() {
    CPLPushErrorHandlerEx(rememberFailure, this);
}

GdalErrors::~GdalErrors() {
    CPLPopErrorHandler();
}

void GdalErrors::remember(const char* message) {
    if (m_firstFailure.empty()) {
        m_firstFailure = message && *message != '\0' ? message : "unknown GDAL error";
    }
}

void silenceTiff() {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
}

void silenceLibraries() {
    silenceTiff();
    CPLSetErrorHandler(CPLQuietErrorHandler);
}

Unexpected failureOf(const std::string& file, const std::string& cause, const std::string& gdalWords) {
    std::string line = file + "：" + cause;
    if (!gdalWords.empty()) {
        line += "（" + shortened(gdalWords) + "）";
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::replace(line.begin(), line.end(), '\r', ' ');
    return Unexpected(Failure{line});
}

Unexpected nothingInWindow(Unexpected failure) {
    failure.value().nothingInWindow = true;
    return failure;
}

} // namespace detect
