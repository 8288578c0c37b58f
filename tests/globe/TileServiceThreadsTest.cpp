// Two threads read a tile service (WMTS), here one in memory. All that one thread opens of a service shares the data set that
// fetches the tiles, so no thread may read with what another one has opened.
#include "TestRaster.h"
#include "globe/src/terrain/RasterSource.h"

#include <gtest/gtest.h>

#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

using namespace osgEarth;
using namespace globetest;

namespace {

constexpr int kCells = 256;
constexpr auto kAddressesInMemory = "CPL_CURL_ENABLE_VSIMEM";
const std::string kFolder = "/vsimem/service/";

void put(const std::string& name, const std::string& bytes) {
    VSILFILE* file = VSIFOpenL((kFolder + name).c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(VSIFWriteL(bytes.data(), 1, bytes.size(), file), bytes.size());
    VSIFCloseL(file);
}

std::string blackTile() {
    GDALAllRegister();
    const GDALDatasetUniquePtr cells(
        GetGDALDriverManager()->GetDriverByName("MEM")->Create("", kCells, kCells, 4, GDT_Byte, nullptr));
    const std::string name = kFolder + "black.png";
    GDALClose(GetGDALDriverManager()->GetDriverByName("PNG")->CreateCopy(name.c_str(), cells.get(), FALSE,
                                                                         nullptr, nullptr, nullptr));
    vsi_l_offset size = 0;
    const GByte* bytes = VSIGetMemFileBuffer(name.c_str(), &size, FALSE);
    return {bytes, bytes + size};
}

std::string capabilities() {
    // Level 7 of the well-known scale set GoogleMapsCompatible (OGC 07-057r7).
    return R"(<?xml version="1.0"?>
<Capabilities xmlns="http://www.opengis.net/wmts/1.0" xmlns:ows="http://www.opengis.net/ows/1.1" version="1.0.0">
<Contents><Layer><ows:Identifier>ground</ows:Identifier><Style isDefault="true"><ows:Identifier>any</ows:Identifier></Style>
<Format>image/png</Format><TileMatrixSetLink><TileMatrixSet>web</TileMatrixSet></TileMatrixSetLink>
<ResourceURL format="image/png" resourceType="tile" template=")" +
           kFolder + R"({TileMatrix}-{TileCol}-{TileRow}.png"/></Layer>
<TileMatrixSet><ows:Identifier>web</ows:Identifier><ows:SupportedCRS>urn:ogc:def:crs:EPSG::3857</ows:SupportedCRS>
<TileMatrix><ows:Identifier>7</ows:Identifier><ScaleDenominator>4367830.187724358</ScaleDenominator>
<TopLeftCorner>-20037508.342789 20037508.342789</TopLeftCorner><TileWidth>256</TileWidth><TileHeight>256</TileHeight>
<MatrixWidth>128</MatrixWidth><MatrixHeight>128</MatrixHeight></TileMatrix></TileMatrixSet></Contents></Capabilities>)";
}

/// The description of the service, for as long as this lives.
class Service {
public:
    Service() {
        CPLSetConfigOption(kAddressesInMemory, "YES");
        put("capabilities.xml", capabilities());
        put("7-0-0.png", blackTile());
    }
    ~Service() {
        VSIRmdirRecursive(kFolder.c_str());
        CPLSetConfigOption(kAddressesInMemory, nullptr);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    static std::string description() {
        return "<GDAL_WMTS><GetCapabilitiesUrl>" + kFolder +
               "capabilities.xml</GetCapabilitiesUrl><Layer>ground</Layer></GDAL_WMTS>";
    }
};

/// How many data sets there are that fetch tiles.
int openTileReaders() {
    int count = 0;
    GDALDataset** all = GDALDataset::GetOpenDatasets(&count);
    return static_cast<int>(std::count_if(
        all, all + count, [](GDALDataset* each) { return each->GetDriverName() == std::string("WMS"); }));
}

} // namespace

TEST(TileServiceThreads, ReadWhatTheyHaveOpenedThemselves) {
    const Service service;
    Status status;
    const auto source = RasterSource::open(Service::description(), status, RasterSource::Log::Nothing);
    ASSERT_TRUE(source) << status.message();
    EXPECT_EQ(openTileReaders(), 1);
    std::vector<std::uint8_t> rgba;
    std::thread([&] { EXPECT_TRUE(source->readImage({0, 0, kCells, kCells}, rgba)); }).join();
    EXPECT_EQ(openTileReaders(), 2);
    EXPECT_TRUE(source->readImage({0, 0, kCells, kCells}, rgba));
    EXPECT_EQ(openTileReaders(), 2) << "its own serves again";
}
