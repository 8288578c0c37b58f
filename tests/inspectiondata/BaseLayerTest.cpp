#include "Opened.h"

#include "workbench/inspectiondata/check/CheckProjectFiles.h"
#include "workbench/inspectiondata/project/BaseLayer.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cpl_minixml.h>

#include <memory>

namespace {

using namespace inspection;

/// A description for GDAL, read as GDAL reads it.
class Xml {
public:
    explicit Xml(const QString& text) : m_root(CPLParseXMLString(text.toUtf8().constData())) {
        EXPECT_NE(m_root, nullptr) << text.toStdString();
    }
    std::string operator[](const char* path) const { return CPLGetXMLValue(m_root.get(), path, "none"); }
    std::string name() const { return m_root->pszValue; }

private:
    struct Destroy {
        void operator()(CPLXMLNode* node) const { CPLDestroyXMLNode(node); }
    };
    std::unique_ptr<CPLXMLNode, Destroy> m_root;
};

BaseLayer of(const QString& source) {
    BaseLayer layer;
    layer.name = QStringLiteral("影像底图");
    layer.source = source;
    return layer;
}

Xml definitionOf(const QString& source, int finestLevel = BaseLayer::kUsualFinestLevel) {
    BaseLayer layer = of(source);
    layer.finestLevel = finestLevel;
    return Xml(valueOf(gdalDefinition(layer, "/cache")));
}

void write(const QString& path, const QByteArray& content) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

TEST(BaseLayerTest, AnAddressOfTilesBecomesADescriptionForGdal) {
    const Xml xml = definitionOf("https://tiles.example.org:8080/a&b/{z}/{x}/{y}.png?style=<1>", 20);
    EXPECT_EQ(xml.name(), "GDAL_WMS");
    EXPECT_EQ(xml["Service.name"], "TMS");
    EXPECT_EQ(xml["Service.ServerUrl"], "https://tiles.example.org:8080/a&b/${z}/${x}/${y}.png?style=<1>");
    EXPECT_EQ(xml["DataWindow.TileLevel"], "20");
    EXPECT_EQ(xml["DataWindow.YOrigin"], "top");
    EXPECT_EQ(xml["DataWindow.UpperLeftX"], "-20037508.342789");
    EXPECT_EQ(xml["Projection"], "EPSG:3857");
    EXPECT_EQ(xml["BandsCount"], "4");
    EXPECT_EQ(xml["Timeout"], "10");
    EXPECT_EQ(xml["ZeroBlockHttpCodes"], "204,404");
    EXPECT_EQ(xml["Cache.MaxSize"], "536870912");
    EXPECT_EQ(xml["UserPwd"], "none");
    EXPECT_EQ(definitionOf("http://h/{z}/{x}/{-y}.jpg")["DataWindow.YOrigin"], "bottom");
    EXPECT_EQ(definitionOf("http://{s}.h/{z}/{x}/{y}")["Service.ServerUrl"], "http://a.h/${z}/${x}/${y}");
}

TEST(BaseLayerTest, EachSourceHasItsOwnFolderInTheCache) {
    const std::string one = definitionOf("http://h/{z}/{x}/{y}.png")["Cache.Path"];
    EXPECT_EQ(one.rfind("/cache/", 0), 0U) << one;
    EXPECT_EQ(one, definitionOf("http://h/{z}/{x}/{y}.png", 12)["Cache.Path"]);
    EXPECT_NE(one, definitionOf("http://h/{z}/{x}/{y}.jpg")["Cache.Path"]);
}

TEST(BaseLayerTest, AUserStandsBesideTheAddressAndNotInIt) {
    const Xml xml = definitionOf("https://me:pass%3Aword@h/{z}/{x}/{y}.png");
    EXPECT_EQ(xml["Service.ServerUrl"], "https://h/${z}/${x}/${y}.png");
    EXPECT_EQ(xml["UserPwd"], "me:pass:word");
}

TEST(BaseLayerTest, AWmtsAddressBecomesADescriptionForGdal) {
    const Xml xml = definitionOf("WMTS:https://me:secret@h/wmts?a=1&b=2,layer=img,style=s,tilematrixset=w");
    EXPECT_EQ(xml.name(), "GDAL_WMTS");
    EXPECT_EQ(xml["GetCapabilitiesUrl"], "https://h/wmts?a=1&b=2");
    EXPECT_EQ(xml["Layer"], "img");
    EXPECT_EQ(xml["Style"], "s");
    EXPECT_EQ(xml["TileMatrixSet"], "w");
    EXPECT_EQ(xml["UserPwd"], "me:secret");
    EXPECT_EQ(definitionOf("WMTS:http://h/c.xml")["Layer"], "none");
}

TEST(BaseLayerTest, APathStaysAsItIs) {
    for (const QString source : {"/data/底图.mbtiles", "/data/a b.tif", "/nowhere"}) {
        EXPECT_EQ(valueOf(gdalDefinition(of(source), "/cache")), source);
        EXPECT_EQ(localPath(source), source);
    }
    EXPECT_EQ(valueOf(gdalDefinition(of("file:///data/a%20b.tif"), "/cache")), "/data/a b.tif");
}

TEST(BaseLayerTest, AFolderOfTilesIsKnownByItsFolders) {
    const QTemporaryDir folder;
    const QString tiles = folder.filePath("瓦 片");
    write(tiles + "/3/6/3.jpg", "tile");
    write(tiles + "/11/1600/800.jpg", "tile");
    const Xml xml = definitionOf(tiles);
    EXPECT_EQ(xml["Service.ServerUrl"],
              QUrl::fromLocalFile(tiles).toEncoded().toStdString() + "/${z}/${x}/${y}.jpg");
    EXPECT_EQ(xml["DataWindow.TileLevel"], "11");
    EXPECT_EQ(xml["DataWindow.YOrigin"], "top");
    EXPECT_EQ(xml["Cache.Path"], "none");
    EXPECT_EQ(xml["UserPwd"], "none");
    EXPECT_EQ(definitionOf(tiles + "/{z}/{x}/{-y}.jpg")["DataWindow.YOrigin"], "bottom");
    EXPECT_EQ(localPath(tiles + "/{z}/{x}/{-y}.jpg"), tiles);
    write(tiles + "/tilemapresource.xml", "<TileMap/>");
    EXPECT_EQ(definitionOf(tiles)["DataWindow.YOrigin"], "bottom");
}

TEST(BaseLayerTest, WhatCannotBeAnAddressIsRefused) {
    const struct {
        QString source;
        QString cause;
    } cases[] = {{"https://h/tiles.png", "地址中要有 {z}、{x} 和 {y}（或 {-y}）"},
                 {"https://h/{z}/{x}.png", "地址中要有 {z}、{x} 和 {y}（或 {-y}）"},
                 {"https:///{z}/{x}/{y}.png", "不是有效的地址"},
                 {"https://me:secret@/{z}/{x}/{y}.png", "不是有效的地址"},
                 {"http://h/{z}/{x}/{y} png", "不是有效的地址"},
                 {"WMTS:/data/capabilities", "不是有效的地址"}};
    for (const auto& [source, cause] : cases) {
        const Failure failure = failureOf(gdalDefinition(of(source), "/cache"));
        EXPECT_TRUE(failure.userMessage.endsWith(cause)) << failure.userMessage.toStdString();
        EXPECT_FALSE(failure.userMessage.contains("secret")) << failure.userMessage.toStdString();
        EXPECT_FALSE(failure.message.contains("secret")) << failure.message.toStdString();
    }
}

TEST(BaseLayerTest, PasswordsAndKeysAreNotShown) {
    EXPECT_EQ(shownSource("https://me:secret@h/{z}/{x}/{y}.png?tk=KEY&style=1"),
              "https://me@h/{z}/{x}/{y}.png?tk=…&style=1");
    EXPECT_EQ(shownSource("WMTS:http://me:secret@h/c?Token=KEY,layer=img"),
              "WMTS:http://me@h/c?Token=…,layer=img");
    EXPECT_EQ(shownSource("/data/底图.tif"), "/data/底图.tif");
}

TEST(BaseLayerTest, AFailureIsToldInAFewWordsWithoutAnyAddress) {
    const std::pair<const char*, const char*> cases[] = {
        {"GDALWMS: Unable to download block 0, 0.\nURL: \n  HTTP status code: 503, error: (null).\nAdd",
         "服务器返回 HTTP 503"},
        {"HTTP error code : 401", "服务器返回 HTTP 401"},
        {"URL: http://a:b@h/1\n  HTTP status code: 0, error: Operation timed out after 10001 milliseconds",
         "服务器没有应答"},
        {"HTTP status code: 0, error: Failed to connect to h port 1 after 0 ms", "无法连接服务器"},
        {"Could not resolve host: h", "找不到服务器"},
        {"GDALWMS: ReadBlockFromFile (http://a:b@h/1/0/0.png) failed.", "收到的不是图块"},
        {"/x.tif: No such file or directory", "文件不存在"},
        {"`/vsicurl/http://h/a.tif' does not exist in the file system", "服务器没有给出该文件"},
        {"http://a:b@h/ is odd", "不是可以识别的栅格或服务"}};
    for (const auto& [message, words] : cases) {
        EXPECT_EQ(baseLayerTrouble(message), words);
    }
}

QJsonObject json(const SmallProject& files) {
    QFile file(files.file("project.json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object();
}

TEST(BaseLayerTest, LayersAreStoredInOrderAndTheRestOfTheFileIsKept) {
    const SmallProject files;
    EXPECT_TRUE(valueOf(Project::open(files.folder())).description().baseLayers.empty());
    BaseLayer served = of("https://me:secret@h/{z}/{x}/{y}.png");
    served.visible = false;
    served.opacity = 0.25;
    served.finestLevel = 20;
    const std::vector<BaseLayer> layers = {served, of(files.file("base/底图.mbtiles")), of("/data/x.tif")};
    {
        auto project = valueOf(Project::open(files.folder()));
        ASSERT_TRUE(project.setBaseLayers(layers).has_value());
        EXPECT_EQ(project.description().baseLayers, layers);
    }
    EXPECT_EQ(valueOf(Project::open(files.folder())).description().baseLayers, layers);
    const QJsonArray stored = json(files)["base_layers"].toArray();
    EXPECT_EQ(stored.at(0).toObject(), (QJsonObject{{"name", "影像底图"},
                                                    {"source", served.source},
                                                    {"visible", false},
                                                    {"opacity", 0.25},
                                                    {"max_level", 20}}));
    EXPECT_EQ(stored.at(1)["source"].toString(), "base/底图.mbtiles");
    EXPECT_EQ(stored.at(2)["source"].toString(), "/data/x.tif");
    EXPECT_EQ(json(files)["remark"].toString(), "kept");
    {
        auto project = valueOf(Project::open(files.folder()));
        ASSERT_TRUE(project.setParameters({}).has_value());
    }
    EXPECT_EQ(json(files)["base_layers"].toArray(), stored);
    {
        auto project = valueOf(Project::open(files.folder()));
        ASSERT_TRUE(project.setBaseLayers({}).has_value());
    }
    EXPECT_FALSE(json(files).contains("base_layers"));
}

TEST(BaseLayerTest, OddEntriesAreReadAsFarAsTheyMakeSense) {
    const SmallProject files;
    QJsonObject changed = json(files);
    changed["base_layers"] = QJsonArray{QJsonObject{{"name", "无源"}}, 7,
                                        QJsonObject{{"source", "a.tif"}, {"opacity", 7}, {"max_level", 99}}};
    write(files.file("project.json"), QJsonDocument(changed).toJson());
    const std::vector<BaseLayer> layers = valueOf(Project::open(files.folder())).description().baseLayers;
    ASSERT_EQ(layers.size(), 1U);
    EXPECT_EQ(layers[0].source, files.file("a.tif"));
    EXPECT_TRUE(layers[0].visible);
    EXPECT_DOUBLE_EQ(layers[0].opacity, 1.0);
    EXPECT_EQ(layers[0].finestLevel, BaseLayer::kFinestLevel);
}

TEST(BaseLayerTest, MissingFilesAndBadAddressesAreFoundAndNoServerIsAsked) {
    ProjectDescription project;
    const QTemporaryDir folder;
    write(folder.filePath("there.tif"), "any");
    project.baseLayers = {of(folder.filePath("there.tif")), of(folder.filePath("gone.mbtiles")),
                          of(folder.filePath("tiles/{z}/{x}/{y}.png")),
                          of("http://127.0.0.1:1/{z}/{x}/{y}.png"), of("http://me:secret@h/nothing")};
    const Findings findings = checkBaseLayers(project);
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].line(), folder.filePath("gone.mbtiles") + " 影像底图：文件不存在");
    EXPECT_EQ(findings[1].line(), folder.filePath("tiles") + " 影像底图：文件不存在");
    EXPECT_TRUE(findings[2].line().startsWith("project.json 影像底图：http://me@h/nothing"))
        << findings[2].line().toStdString();
}

} // namespace
