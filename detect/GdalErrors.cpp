#include "detect/GdalErrors.h"

#include <cpl_error.h>

#include <algorithm>

namespace detect {

namespace {

void CPL_STDCALL rememberFailure(CPLErr severity, CPLErrorNum, const char* message) {
    if (severity == CE_Failure || severity == CE_Fatal)
        static_cast<GdalErrors*>(CPLGetErrorHandlerUserData())->remember(message);
}

} // namespace

GdalErrors::GdalErrors() {
    CPLPushErrorHandlerEx(rememberFailure, this);
}

GdalErrors::~GdalErrors() {
    CPLPopErrorHandler();
}

void GdalErrors::remember(const char* message) {
    if (m_firstFailure.empty())
        m_firstFailure = message != nullptr && *message != '\0' ? message : "unknown GDAL error";
}

Failure failureOf(const std::string& file, const std::string& cause, const std::string& gdalWords) {
    Failure failure;
    failure.message = file + "：" + cause;
    if (!gdalWords.empty())
        failure.message += "（" + gdalWords + "）";
    std::replace(failure.message.begin(), failure.message.end(), '\n', ' ');
    std::replace(failure.message.begin(), failure.message.end(), '\r', ' ');
    return failure;
}

Failure nothingInWindow(Failure failure) {
    failure.nothingInWindow = true;
    return failure;
}

} // namespace detect
