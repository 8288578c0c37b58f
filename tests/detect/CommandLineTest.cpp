// `corridor detect` as scripts see it.

#include "tests/detect/Program.h"
#include "tests/detect/TestRasters.h"

#include <cpl_json.h>
#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>

namespace detect::test {
namespace {

class CommandLine : public testing::Test {
protected:
    CommandLine() {
        RasterPlan plan;
        plan.columns = plan.rows = 600;
        Random random(7);
        const auto rough = [&] { return 50.0 + 0.02 * random(); };
        writeRaster(m_folder.file("old.tif"), plan, [&](const Point&) { return rough(); });
        writeRaster(m_folder.file("new.tif"), plan, [&](const Point& p) {
            const double x = p.x - 500000.0;
            const double y = 3400000.0 - p.y;
            const bool change = x > 40 && x < 60 && y > 50 && y < 65;
            return rough() + 0.4 + (change ? 2.5 : 0.0);
        });
        m_inputs = m_folder.names();
    }

    std::vector<std::string> arguments(const std::string& out,
                                       const std::vector<std::string>& more = {}) const {
        std::vector<std::string> all{
            "detect", "--old",           m_folder.file("old.tif"), "--new", m_folder.file("new.tif"),
            "--out",  m_folder.file(out)};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    static void expectOneLine(const ProgramRun& run, const std::string& named) {
        EXPECT_EQ(std::count(run.messages.begin(), run.messages.end(), '\n'), 1) << run.messages;
        EXPECT_LT(run.messages.size(), 500U) << "nobody reads that";
        EXPECT_NE(run.messages.find(named), std::string::npos) << run.messages;
        EXPECT_EQ(run.output, "");
    }

    TemporaryFolder m_folder;
    std::vector<std::string> m_inputs;
};

TEST_F(CommandLine, WritesResultDifferencesAndSummary) {
    const ProgramRun run = runCorridor(
        arguments("result.gpkg", {"--dz", m_folder.file("dz.tif"), "--summary", m_folder.file("summary.json"),
                                  "--threshold", "0.6", "--min-area", "10", "--threads", "2"}));
    EXPECT_EQ(run.status, 0) << run.messages;
    EXPECT_EQ(m_folder.names(),
              (std::vector<std::string>{"dz.tif", "new.tif", "old.tif", "result.gpkg", "summary.json"}));
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 2) << run.output;
    EXPECT_NE(run.messages.find("100%"), std::string::npos);
    EXPECT_EQ(run.messages.find('\r'), std::string::npos) << "plain lines away from a terminal";

    CPLJSONDocument document;
    ASSERT_TRUE(document.Load(m_folder.file("summary.json")));
    const CPLJSONObject root = document.GetRoot();
    EXPECT_EQ(root.GetInteger("anomalies"), 1);
    EXPECT_EQ(root.GetLong("cells"), 360000);
    EXPECT_EQ(root.GetInteger("threads"), 2);
    EXPECT_EQ(root.GetDouble("threshold_m"), 0.6);
    EXPECT_GT(root.GetDouble("seconds"), 0.0);
    const CPLJSONObject coregistration = root.GetObj("coregistration");
    EXPECT_EQ(coregistration.GetString("method"), "bias");
    EXPECT_NEAR(coregistration.GetDouble("dz_m"), -0.4, 0.01);
    for (const char* field :
         {"dx_m", "dy_m", "dx_cells", "dy_cells", "iterations", "nmad_before_m", "nmad_after_m",
          "stable_share", "sigma_m", "sigma_slope_m", "tilt_east", "tilt_north"}) {
        EXPECT_TRUE(coregistration.GetObj(field).IsValid()) << field;
    }
    EXPECT_FALSE(coregistration.GetObj("refusal").IsValid());
    EXPECT_EQ(readRaster(m_folder.file("dz.tif")).size(), 360000U);
}

TEST_F(CommandLine, SaysWhyNothingWasShifted) {
    const std::vector<std::string> more{"--coregister", "full", "--summary", m_folder.file("summary.json")};
    const ProgramRun run = runCorridor(arguments("result.gpkg", more));
    EXPECT_EQ(run.status, 0) << run.messages;
    CPLJSONDocument document;
    ASSERT_TRUE(document.Load(m_folder.file("summary.json")));
    const std::string refusal = document.GetRoot().GetObj("coregistration").GetString("refusal");
    EXPECT_NE(refusal, "");
    const std::string line = "corridor detect: 未做水平配准：" + refusal + "；只校正高差\n";
    EXPECT_NE(run.messages.find(line), std::string::npos) << run.messages;
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 2) << run.output;

    std::vector<std::string> quiet = more;
    quiet.emplace_back("--quiet");
    const ProgramRun silent = runCorridor(arguments("again.gpkg", quiet));
    EXPECT_EQ(silent.status, 0);
    EXPECT_EQ(silent.messages + silent.output, "");
}

TEST_F(CommandLine, TiltIsTakenOut) {
    RasterPlan plan;
    plan.columns = plan.rows = 600;
    Random random(9);
    const auto hills = [&](const Point& p) {
        return 50.0 + 4.0 * std::sin(p.x / 11.0) + 3.0 * std::cos(p.y / 8.0) + 0.02 * random();
    };
    writeRaster(m_folder.file("old.tif"), plan, hills);
    writeRaster(m_folder.file("new.tif"), plan, [&](const Point& p) {
        return hills(p) + 0.008 * (p.x - 500150.0) - 0.004 * (p.y - 3399850.0);
    });
    const auto anomalies = [&](const std::vector<std::string>& more) {
        std::vector<std::string> all{"--coregister", "full", "--quiet", "--summary", m_folder.file("s.json")};
        all.insert(all.end(), more.begin(), more.end());
        EXPECT_EQ(runCorridor(arguments("result.gpkg", all)).status, 0);
        CPLJSONDocument document;
        EXPECT_TRUE(document.Load(m_folder.file("s.json")));
        return document.GetRoot();
    };
    EXPECT_GT(anomalies({}).GetInteger("anomalies"), 0);
    const CPLJSONObject levelled = anomalies({"--tilt"});
    EXPECT_EQ(levelled.GetInteger("anomalies"), 0);
    EXPECT_NEAR(levelled.GetObj("coregistration").GetDouble("tilt_east"), -0.008, 2e-5);
    EXPECT_NEAR(levelled.GetObj("coregistration").GetDouble("tilt_north"), 0.004, 2e-5);
}

TEST_F(CommandLine, ChosenModelIsToldAndTheCorrectionWritten) {
    const ProgramRun run =
        runCorridor(arguments("result.gpkg", {"--summary", m_folder.file("summary.json"), "--correction",
                                              m_folder.file("field.tif")}));
    EXPECT_EQ(run.status, 0) << run.messages;
    EXPECT_NE(run.messages.find("配准："), std::string::npos) << run.messages;
    CPLJSONDocument document;
    ASSERT_TRUE(document.Load(m_folder.file("summary.json")));
    EXPECT_EQ(document.GetRoot().GetString("coregister"), "auto");
    EXPECT_FALSE(document.GetRoot().GetObj("coregistration").GetString("reason").empty());
    EXPECT_EQ(readRaster(m_folder.file("field.tif")), std::vector<float>{0.0F})
        << "nothing varies slowly here";
    EXPECT_EQ(runCorridor(arguments("result.gpkg", {"--ignore", m_folder.file("no.gpkg")})).status, 1);
    EXPECT_EQ(runCorridor(arguments("result.gpkg", {"--correction", m_folder.file("old.tif")})).status, 2);
}

TEST_F(CommandLine, SignificanceAndRulesAreInTheSummary) {
    const ProgramRun run =
        runCorridor(arguments("result.gpkg", {"--sigma", "0.01,0.02", "--confidence", "0.99", "--rules",
                                              "core,speckle", "--summary", m_folder.file("summary.json")}));
    EXPECT_EQ(run.status, 0) << run.messages;
    CPLJSONDocument document;
    ASSERT_TRUE(document.Load(m_folder.file("summary.json")));
    const CPLJSONObject root = document.GetRoot();
    EXPECT_EQ(root.GetInteger("anomalies"), 1);
    EXPECT_EQ(root.GetDouble("threshold_m"), 0.0);
    EXPECT_EQ(root.GetDouble("confidence"), 0.99);
    EXPECT_EQ(root.GetDouble("sigma_old_m"), 0.01);
    EXPECT_EQ(root.GetDouble("sigma_new_m"), 0.02);
    const CPLJSONObject rules = root.GetObj("rules");
    EXPECT_TRUE(rules.GetObj("core").GetBool("on"));
    EXPECT_FALSE(rules.GetObj("sliver").GetBool("on"));
    EXPECT_TRUE(rules.GetObj("speckle").GetBool("on"));
    EXPECT_EQ(rules.GetObj("area").GetDouble("least_m2"), 4.0);
    const GDALDatasetUniquePtr file(GDALDataset::Open(m_folder.file("result.gpkg").c_str(), GDAL_OF_VECTOR));
    const OGRFeatureUniquePtr anomaly(file->GetLayer(0)->GetNextFeature());
    const double sigma = std::hypot(0.01, 0.02);
    EXPECT_NEAR(anomaly->GetFieldAsDouble("sigma_m"), sigma, 1e-5);
    EXPECT_NEAR(anomaly->GetFieldAsDouble("lod_m"), 2.5758 * sigma, 1e-4);
    EXPECT_GT(anomaly->GetFieldAsDouble("signif"), 2.5 / (2.5758 * sigma));
    EXPECT_GT(anomaly->GetFieldAsDouble("vol_sd_m3"), 0.0);
    EXPECT_GT(anomaly->GetFieldAsDouble("sugg_conf"), 0.5);
}

TEST_F(CommandLine, EveryFormatIsWritten) {
    for (const char* name : {"a.gpkg", "a.geojson", "a.shp"}) {
        const ProgramRun run = runCorridor(arguments(name, {"--quiet"}));
        EXPECT_EQ(run.status, 0) << run.messages;
        EXPECT_EQ(run.messages + run.output, "") << "--quiet";
        const GDALDatasetUniquePtr file(GDALDataset::Open(m_folder.file(name).c_str(), GDAL_OF_VECTOR));
        ASSERT_TRUE(file) << name;
        EXPECT_EQ(file->GetLayer(0)->GetFeatureCount(), 1);
    }
}

TEST_F(CommandLine, TerminalGetsABar) {
    ASSERT_TRUE(hasPseudoTerminals()) << "there is no pseudo-terminal here: mount devpts on /dev/pts";
    ProgramSetting setting;
    setting.terminal = true;
    const ProgramRun run = runCorridor(arguments("result.gpkg"), setting);
    EXPECT_EQ(run.status, 0) << run.messages;
    EXPECT_NE(run.messages.find("\r"), std::string::npos);
    EXPECT_NE(run.messages.find("####] 100%"), std::string::npos) << run.messages;
}

TEST_F(CommandLine, WrongUseIsStatusTwoAndOneLine) {
    const std::string old = m_folder.file("old.tif");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"detect"}, "--old"},
        {{"detect", "--old", old, "--new", old}, "--out"},
        {{"detect", "--old"}, "--old"},
        {arguments("result.gpkg", {"--colour"}), "--colour"},
        {arguments("result.gpkg", {"surplus"}), "surplus"},
        {arguments("result.gpkg", {"--threshold", "much"}), "--threshold"},
        {arguments("result.gpkg", {"--threshold", "-1"}), "--threshold"},
        {arguments("result.gpkg", {"--threshold", "nan"}), "--threshold"},
        {arguments("result.gpkg", {"--min-area", "4x"}), "--min-area"},
        {arguments("result.gpkg", {"--threads", "0"}), "--threads"},
        {arguments("result.gpkg", {"--coregister", "magic"}), "--coregister"},
        {arguments("result.gpkg", {"--tilt"}), "--tilt"},
        {arguments("result.gpkg", {"--tilt", "--coregister", "bias"}), "--tilt"},
        {arguments("result.gpkg", {"--sigma", "0"}), "--sigma"},
        {arguments("result.gpkg", {"--sigma", "0.1,0.2,0.3"}), "--sigma"},
        {arguments("result.gpkg", {"--sigma", "0.1,"}), "--sigma"},
        {arguments("result.gpkg", {"--confidence", "95"}), "--confidence"},
        {arguments("result.gpkg", {"--rules", "core,moss"}), "--rules"},
        {arguments("result.gpkg", {"--rules", ""}), "--rules"},
        {arguments("result.gpkg", {"--quiet", "--quiet"}), "--quiet"},
        {arguments("result.tif"), "--out"},
        {arguments("result.gpkg", {"--dz", old}), "old.tif"},
        {arguments("result.gpkg", {"--dz", m_folder.file("result.gpkg")}), "result.gpkg"}};
    for (const auto& [given, named] : cases) {
        const ProgramRun run = runCorridor(given);
        EXPECT_EQ(run.status, 2) << run.messages;
        expectOneLine(run, named);
    }
    EXPECT_EQ(m_folder.names(), m_inputs);
}

TEST_F(CommandLine, FailureIsStatusOneAndOneLine) {
    std::vector<std::string> given = arguments("result.gpkg");
    given[2] = m_folder.file("never.tif");
    ProgramRun run = runCorridor(given);
    EXPECT_EQ(run.status, 1);
    expectOneLine(run, "never.tif");

    run = runCorridor(arguments("nowhere/result.gpkg"));
    EXPECT_EQ(run.status, 1);
    expectOneLine(run, "nowhere/result.gpkg");

    std::filesystem::resize_file(m_folder.file("new.tif"),
                                 std::filesystem::file_size(m_folder.file("new.tif")) / 2);
    run = runCorridor(arguments("result.gpkg", {"--quiet"}));
    EXPECT_EQ(run.status, 1);
    expectOneLine(run, "new.tif");
    EXPECT_EQ(m_folder.names(), m_inputs);
}

TEST_F(CommandLine, FullDiskKeepsEarlierResultsAndLeavesNothingBehind) {
    const std::vector<std::string> outputs = {"result.geojson", "result.gpkg", "result.shp", "result.tif",
                                              "summary.json"};
    for (const std::string& name : outputs) {
        std::ofstream(m_folder.file(name)) << "an earlier result";
    }
    const std::vector<std::string> before = m_folder.names();
    ProgramSetting full;
    const auto expectUntouched = [&](const ProgramRun& run, const std::string& named) {
        EXPECT_EQ(run.status, 1);
        expectOneLine(run, named);
        EXPECT_EQ(m_folder.names(), before);
        for (const std::string& name : outputs) {
            EXPECT_EQ(contentOf(m_folder.file(name)), "an earlier result") << name;
        }
    };
    for (const unsigned long bytes : {0UL, 5000UL, 50000UL, 200000UL}) {
        SCOPED_TRACE(bytes);
        full.largestFileBytes = bytes;
        expectUntouched(
            runCorridor(arguments("result.gpkg", {"--quiet", "--dz", m_folder.file("result.tif")}), full),
            "/result."); // both are written at once; either may be the first to find the disk full
    }
    for (const unsigned long bytes : {0UL, 60UL}) {
        SCOPED_TRACE(bytes);
        full.largestFileBytes = bytes;
        for (const char* name : {"result.geojson", "result.gpkg", "result.shp"}) {
            expectUntouched(runCorridor(arguments(name, {"--quiet"}), full), name);
        }
    }
    full.largestFileBytes = 20000;
    expectUntouched(runCorridor(arguments("result.gpkg", {"--quiet"}), full), "result.gpkg");
}

TEST_F(CommandLine, InterruptEndsInGoodOrder) {
    RasterPlan plan;
    plan.columns = plan.rows = 6000;
    plan.creationOptions = {"COMPRESS=DEFLATE", "ZLEVEL=1"};
    const std::vector<float> level(36'000'000, 5.0F);
    writeRaster(m_folder.file("old.tif"), plan, level);
    writeRaster(m_folder.file("new.tif"), plan, level);
    ProgramSetting setting;
    setting.signal = SIGINT;
    const ProgramRun run = runCorridor(arguments("result.gpkg", {"--dz", m_folder.file("dz.tif")}), setting);
    EXPECT_EQ(run.status, 1) << run.messages;
    EXPECT_NE(run.messages.find("取消"), std::string::npos) << run.messages;
    EXPECT_EQ(m_folder.names(), m_inputs);
}

} // namespace
} // namespace detect::test
