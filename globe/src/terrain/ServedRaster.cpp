#include "ServedRaster.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_http.h>
#include <cpl_minixml.h>
#include <cpl_multiproc.h>
#include <cpl_string.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>

namespace osgEarth {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAddress = "GetCapabilitiesUrl";
constexpr std::chrono::hours kKeptFor{24};

struct DestroyXml {
    void operator()(CPLXMLNode* node) const { CPLDestroyXMLNode(node); }
};
using Xml = std::unique_ptr<CPLXMLNode, DestroyXml>;

struct DestroyAnswer {
    void operator()(CPLHTTPResult* answer) const { CPLHTTPDestroyResult(answer); }
};
using Answer = std::unique_ptr<CPLHTTPResult, DestroyAnswer>;

class QuietErrors {
public:
    QuietErrors() { CPLPushErrorHandler(CPLQuietErrorHandler); }
    ~QuietErrors() { CPLPopErrorHandler(); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
};

bool isDescription(const std::string& location, const char* root) {
    return location.rfind(root, 0) == 0;
}

std::string textOf(const CPLXMLNode& xml) {
    char* text = CPLSerializeXMLTree(&xml);
    std::string description(text);
    CPLFree(text);
    return description;
}

// Empty when the description names no cache.
fs::path keptFile(const CPLXMLNode& xml) {
    const char* folder = CPLGetXMLValue(&xml, "Cache.Path", nullptr);
    return folder ? fs::u8path(folder) / "capabilities.xml" : fs::path();
}

bool isFresh(const fs::path& file) {
    std::error_code error;
    const fs::file_time_type written = fs::last_write_time(file, error);
    return !error && fs::file_time_type::clock::now() - written < kKeptFor;
}

// A page on which somebody must log in first is no such document.
bool isCapabilities(const std::string& document) {
    return document.find("<Capabilities") != std::string::npos ||
           document.find(":Capabilities") != std::string::npos;
}

// Wholly or not at all: another program may read it.
void keep(const std::string& document, const fs::path& file) {
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    const fs::path half = file.parent_path() / ("capabilities." + std::to_string(CPLGetPID()) + ".half");
    std::ofstream out(half, std::ios::binary);
    out << document;
    out.close();
    if (out) {
        fs::rename(half, file, error);
    }
    fs::remove(half, error);
}

std::optional<std::string> fetch(const CPLXMLNode& xml, std::string& trouble) {
    CPLStringList options;
    options.SetNameValue("TIMEOUT", CPLGetXMLValue(&xml, "Timeout", "10"));
    options.SetNameValue("USERAGENT", CPLGetXMLValue(&xml, "UserAgent", nullptr));
    options.SetNameValue("USERPWD", CPLGetXMLValue(&xml, "UserPwd", nullptr));
    const QuietErrors quiet;
    const Answer answer(CPLHTTPFetch(CPLGetXMLValue(&xml, kAddress, ""), options.List()));
    if (!answer || answer->nStatus != 0 || answer->pszErrBuf || !answer->pabyData) {
        trouble = answer && answer->pszErrBuf ? answer->pszErrBuf : "no answer";
        return std::nullopt;
    }
    std::string document(reinterpret_cast<const char*>(answer->pabyData),
                         static_cast<std::size_t>(answer->nDataLen));
    if (!isCapabilities(document)) {
        trouble = "the answer is not about a map service";
        return std::nullopt;
    }
    return document;
}

} // namespace

std::string cacheOnly(const std::string& location) {
    const bool isService = isDescription(location, "<GDAL_WMTS>");
    if (!isService && !isDescription(location, "<GDAL_WMS>")) {
        return {};
    }
    const Xml xml(CPLParseXMLString(location.c_str()));
    if (!xml || !CPLGetXMLNode(xml.get(), "Cache")) {
        return {};
    }
    if (isService) {
        CPLSetXMLValue(xml.get(), kAddress, keptFile(*xml).u8string().c_str());
    }
    CPLSetXMLValue(xml.get(), "OfflineMode", "true");
    CPLSetXMLValue(xml.get(), "Cache.Expires", "2000000000");
    return textOf(*xml);
}

std::optional<std::string> readyToOpen(const std::string& location, std::string& trouble) {
    const Xml xml(isDescription(location, "<GDAL_WMTS>") ? CPLParseXMLString(location.c_str()) : nullptr);
    const fs::path file = xml ? keptFile(*xml) : fs::path();
    if (file.empty()) {
        return location;
    }
    if (!isFresh(file)) {
        if (const std::optional<std::string> document = fetch(*xml, trouble)) {
            keep(*document, file);
        }
    }
    std::error_code error;
    if (!fs::exists(file, error)) {
        return std::nullopt;
    }
    CPLSetXMLValue(xml.get(), kAddress, file.u8string().c_str());
    return textOf(*xml);
}

} // namespace osgEarth
