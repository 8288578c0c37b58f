// Writing destroys no input and no other output, whatever the files are called.

#include "detect/TouchedFiles.h"
#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>

#include <fstream>

namespace detect::test {
namespace {

class TouchedFiles : public testing::Test {
protected:
    TouchedFiles() {
        writeRaster(m_folder.file("old.tif"), {}, [](const Point&) { return 50.0; });
        writeRaster(m_folder.file("new.tif"), {}, [](const Point&) { return 51.0; });
    }
    std::string at(const std::string& name) const { return m_folder.file(name); }
    void link(const std::string& to, const std::string& name) const {
        std::filesystem::create_symlink(at(to), at(name));
    }
    void makeVirtual(const std::string& source, const std::string& name) const {
        const GDALDatasetUniquePtr raster(GDALDataset::Open(at(source).c_str()));
        const GDALDatasetUniquePtr copy(GetGDALDriverManager()->GetDriverByName("VRT")->CreateCopy(
            at(name).c_str(), raster.get(), 0, nullptr, nullptr, nullptr));
        ASSERT_TRUE(copy);
    }
    bool mayWrite(const std::vector<std::string>& outputs,
                  const std::vector<std::string>& inputs = {}) const {
        return checkOutputs(outputs, inputs).has_value();
    }

    TemporaryFolder m_folder;
};

TEST_F(TouchedFiles, FilesOfTheirOwnMayBeWritten) {
    EXPECT_TRUE(mayWrite({at("r.gpkg"), at("dz.tif"), "", at("s.json")}, {at("old.tif"), at("new.tif"), ""}));
    EXPECT_TRUE(mayWrite({at("r.shp"), at("r.json")}, {at("old.tif")}));
}

TEST_F(TouchedFiles, AFileThatIsNotThereYetHasOneNameOnly) {
    EXPECT_FALSE(mayWrite({at("o.gpkg"), at("./o.gpkg")}));
    EXPECT_FALSE(mayWrite({at("o.gpkg"), at("sub/../o.gpkg")}));
    std::filesystem::create_directory(at("real"));
    link("real", "other");
    EXPECT_FALSE(mayWrite({at("real/o.gpkg"), at("other/o.gpkg")}));
}

TEST_F(TouchedFiles, TheFilesThatBelongToAnOutputAreTouchedToo) {
    for (const char* name : {"r.dbf", "r.shx", "r.prj", "r.cpg", "r.shp.aux.xml"}) {
        EXPECT_FALSE(mayWrite({at("r.shp"), at(name)})) << name;
    }
    EXPECT_FALSE(mayWrite({at("r.gpkg"), at("r.gpkg-wal")}));
    EXPECT_FALSE(mayWrite({at("dz.tif"), at("dz.tif.aux.xml")}));
    EXPECT_FALSE(mayWrite({at("old.tif.ovr")}, {at("old.tif")})) << "its heights would be reduced to those";
}

TEST_F(TouchedFiles, ByALinkTheFileBehindItIsTouched) {
    link("old.tif", "link.tif");
    EXPECT_FALSE(mayWrite({at("link.tif")}, {at("old.tif")}));
    EXPECT_FALSE(mayWrite({at("old.tif")}, {at("link.tif")}));
    std::filesystem::create_hard_link(at("old.tif"), at("second.tif"));
    EXPECT_FALSE(mayWrite({at("second.tif")}, {at("old.tif")}));
    link("nowhere.gpkg", "dangling.gpkg");
    EXPECT_FALSE(mayWrite({at("dangling.gpkg"), at("nowhere.gpkg")}));
}

TEST_F(TouchedFiles, WhatAVirtualRasterIsMadeOfIsAnInput) {
    makeVirtual("old.tif", "one.vrt");
    makeVirtual("one.vrt", "two.vrt");
    for (const char* input : {"one.vrt", "two.vrt"}) {
        EXPECT_FALSE(mayWrite({at("old.tif")}, {at(input)})) << input;
    }
    EXPECT_TRUE(mayWrite({at("new.tif")}, {at("two.vrt")}));
}

} // namespace
} // namespace detect::test
