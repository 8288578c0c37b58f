#include "workbench/inspectiondata/project/ReferredFiles.h"

#include "detect/GdalErrors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <cpl_conv.h>
#include <cpl_minixml.h>

#include <algorithm>
#include <array>
#include <memory>

namespace inspection {

namespace {

/// Of these GDAL reads the file, and what stands beside it under its name.
constexpr std::array kContainedRasters{"GTiff", "COG",     "PNG",     "JPEG", "JP2OpenJPEG", "WEBP",
                                       "BMP",   "AAIGrid", "USGSDEM", "DTED", "MBTiles",     "GPKG"};
constexpr std::array kContainedVectors{"GPKG", "GeoJSON", "ESRI Shapefile", "FlatGeobuf", "MBTiles"};
constexpr std::array kBeside{".ovr", ".OVR", ".msk", ".MSK"};

/// What virtual rasters of tiles, and of one warped or translated raster, consist of. In any other element a file may be
/// named in a way that is not known here.
const QSet<QByteArray>& plainElements() {
    static const QSet<QByteArray> names{"vrtdataset",
                                        "srs",
                                        "geotransform",
                                        "metadata",
                                        "mdi",
                                        "vrtrasterband",
                                        "nodatavalue",
                                        "hidenodatavalue",
                                        "colorinterp",
                                        "colortable",
                                        "entry",
                                        "description",
                                        "unittype",
                                        "offset",
                                        "scale",
                                        "categorynames",
                                        "category",
                                        "histograms",
                                        "histitem",
                                        "histmin",
                                        "histmax",
                                        "bucketcount",
                                        "includeoutofrange",
                                        "approximate",
                                        "histcounts",
                                        "simplesource",
                                        "complexsource",
                                        "averagedsource",
                                        "sourcefilename",
                                        "sourceband",
                                        "sourceproperties",
                                        "srcrect",
                                        "dstrect",
                                        "scaleoffset",
                                        "scaleratio",
                                        "nodata",
                                        "lut",
                                        "usemaskband",
                                        "exponent",
                                        "srcmin",
                                        "srcmax",
                                        "dstmin",
                                        "dstmax",
                                        "colortablecomponent",
                                        "maskband",
                                        "overview",
                                        "overviewlist",
                                        "gcplist",
                                        "gcp",
                                        "blockxsize",
                                        "blockysize",
                                        "gdalwarpoptions",
                                        "warpmemorylimit",
                                        "resamplealg",
                                        "workingdatatype",
                                        "option",
                                        "sourcedataset",
                                        "transformer",
                                        "approxtransformer",
                                        "maxerror",
                                        "basetransformer",
                                        "genimgprojtransformer",
                                        "srcgeotransform",
                                        "srcinvgeotransform",
                                        "dstgeotransform",
                                        "dstinvgeotransform",
                                        "reprojecttransformer",
                                        "reprojectiontransformer",
                                        "sourcesrs",
                                        "targetsrs",
                                        "sourcecrs",
                                        "targetcrs",
                                        "bandlist",
                                        "bandmapping",
                                        "srcnodatareal",
                                        "srcnodataimag",
                                        "dstnodatareal",
                                        "dstnodataimag",
                                        "srcalphaband",
                                        "dstalphaband"};
    return names;
}

struct DestroyXml {
    void operator()(CPLXMLNode* node) const { CPLDestroyXMLNode(node); }
};

class VirtualRaster {
public:
    VirtualRaster(const QString& file, Referred& referred)
        : m_file(file), m_folder(QFileInfo(file).absolutePath()), m_referred(referred) {}

    void read() {
        // GDAL's own reader: what another one made of the text would not be what GDAL opens.
        const std::unique_ptr<CPLXMLNode, DestroyXml> root(CPLParseXMLFile(m_file.toUtf8().constData()));
        for (const CPLXMLNode* node = root.get(); node; node = node->psNext) {
            visit(*node);
        }
    }

private:
    void visit(const CPLXMLNode& node) {
        if (node.eType != CXT_Element || node.pszValue[0] == '?') {
            return;
        }
        const QByteArray name = QByteArray(node.pszValue).toLower();
        const QByteArray domain = CPLGetXMLValue(&node, "domain", "");
        if (!plainElements().contains(name) || (!domain.isEmpty() && domain != "IMAGE_STRUCTURE")) {
            addUnclear(m_file);
        } else if (name == "sourcefilename" || name == "sourcedataset") {
            addSource(QString::fromUtf8(CPLGetXMLValue(&node, nullptr, "")),
                      qstrcmp(CPLGetXMLValue(&node, "relativeToVRT", "0"), "0") != 0);
        }
        for (const CPLXMLNode* child = node.psChild; child; child = child->psNext) {
            visit(*child);
        }
    }
    void addSource(const QString& name, bool isBesideIt) {
        if (isNoPath(name) || (!isBesideIt && QDir::isRelativePath(name))) {
            addUnclear(name);
        } else {
            m_referred.files << (QDir::isAbsolutePath(name) ? name : m_folder + '/' + name);
        }
    }
    void addUnclear(const QString& name) {
        if (!m_referred.unclear.contains(name)) {
            m_referred.unclear << name;
        }
    }

    QString m_file;
    QString m_folder;
    Referred& m_referred;
};

template<std::size_t count>
bool isOneOf(const std::array<const char*, count>& names, GDALDriverH driver) {
    return std::any_of(names.begin(), names.end(),
                       [driver](const char* name) { return EQUAL(name, GDALGetDriverShortName(driver)); });
}

GDALDatasetUniquePtr openContained(const QString& file) {
    std::vector<const char*> drivers(kContainedRasters.begin(), kContainedRasters.end());
    drivers.push_back(nullptr);
    return GDALDatasetUniquePtr(
        GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers.data()));
}

/// Reduced pictures may be said to lie elsewhere, by a tag in the file or by the .aux.xml beside it.
bool hasFarOverviews(GDALDataset& raster) {
    return raster.GetMetadataItem("OVERVIEW_FILE", "OVERVIEWS") != nullptr;
}

/// Beside a raster, a file of Erdas Imagine, which may name others.
bool hasImagineBeside(const QString& file) {
    const QFileInfo info(file);
    return QFileInfo::exists(file + ".aux") ||
           QFileInfo::exists(info.path() + '/' + info.completeBaseName() + ".aux");
}

Referred referredByRaster(const QString& file, GDALDriverH driver) {
    Referred referred;
    for (const char* ending : kBeside) {
        if (QFileInfo::exists(file + ending)) {
            referred.files << file + ending;
        }
    }
    if (EQUAL(GDALGetDriverShortName(driver), "VRT")) {
        VirtualRaster(file, referred).read();
        return referred;
    }
    bool isUnclear = !isOneOf(kContainedRasters, driver) || hasImagineBeside(file);
    if (!isUnclear) {
        const GDALDatasetUniquePtr opened = openContained(file);
        isUnclear = opened && hasFarOverviews(*opened);
    }
    if (isUnclear) {
        referred.unclear << file;
    }
    return referred;
}

} // namespace

bool isNoPath(const QString& name) {
    const qsizetype colon = name.indexOf(':');
    const qsizetype slash = name.indexOf('/');
    return name.startsWith('<') || name.startsWith("/vsi") || (colon >= 0 && (slash < 0 || colon < slash));
}

Referred referredBy(const QString& file, OpenedAs kind) {
    const detect::GdalErrors quiet; // whoever opens the file says what is wrong with it
    // For each of a survey's thousands of tiles the whole folder would be listed.
    const CPLConfigOptionSetter withoutListing("GDAL_DISABLE_READDIR_ON_OPEN", "TRUE", false);
    const unsigned flags = kind == OpenedAs::Raster ? GDAL_OF_RASTER : GDAL_OF_VECTOR;
    GDALDriverH driver = GDALIdentifyDriverEx(file.toUtf8(), flags, nullptr, nullptr);
    if (!driver) {
        return {};
    }
    if (kind == OpenedAs::Raster) {
        return referredByRaster(file, driver);
    }
    return isOneOf(kContainedVectors, driver) ? Referred() : Referred{{}, {file}};
}

GDALDatasetUniquePtr openResultRaster(const QString& file) {
    constexpr const char* kDrivers[] = {"GTiff", nullptr};
    GDALAllRegister();
    GDALDatasetUniquePtr raster(
        GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER | GDAL_OF_READONLY, kDrivers));
    const auto isGeoTiff = [&kDrivers](const QString& beside) {
        return GDALIdentifyDriverEx(beside.toUtf8(), GDAL_OF_RASTER, kDrivers, nullptr) != nullptr;
    };
    const bool leadsElsewhere =
        raster && (hasFarOverviews(*raster) || hasImagineBeside(file) ||
                   std::any_of(kBeside.begin(), kBeside.end(), [&](const char* ending) {
                       return QFileInfo::exists(file + ending) && !isGeoTiff(file + ending);
                   }));
    if (leadsElsewhere) {
        raster.reset();
    }
    return raster;
}

} // namespace inspection
