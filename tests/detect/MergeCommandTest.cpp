// `corridor detect --window` and `corridor merge` as a batch engine sees them.

#include "detect/output/AnomalyLayer.h"
#include "detect/output/PieceFile.h"
#include "tests/detect/Program.h"
#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace detect::test {
namespace {

class MergeCommand : public testing::Test {
protected:
    MergeCommand() {
        Random random(5);
        write("old.tif", random, 0.8);
        write("new.tif", random, 0.8);
    }

    void write(const std::string& name, Random& random, double metres) const {
        RasterPlan plan;
        plan.epsg = 4326; // cells differ in size from row to row
        plan.columns = 90;
        plan.rows = 80;
        plan.toMap = {114.0, 5e-6, 0.0, 30.0, 0.0, -5e-6};
        writeRaster(m_folder.file(name), plan, randomHeights(random, plan.columns, plan.rows, metres));
    }

    ProgramRun detect(const std::string& out, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"detect",
                                           "--old",
                                           m_folder.file("old.tif"),
                                           "--new",
                                           m_folder.file("new.tif"),
                                           "--out",
                                           m_folder.file(out),
                                           "--min-area",
                                           "1"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runCorridor(arguments);
    }
    ProgramRun merge(const std::vector<std::string>& pieces, const std::string& out,
                     const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"merge"};
        for (const std::string& piece : pieces) {
            arguments.push_back(m_folder.file(piece));
        }
        arguments.insert(arguments.end(), {"--out", m_folder.file(out)});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runCorridor(arguments);
    }

    /// Four windows, in the order in which they happen to end.
    std::vector<std::string> detectWindows() const {
        const std::vector<std::pair<std::string, std::string>> windows = {{"d.gpkg", "37,41,53,39"},
                                                                          {"b.gpkg", "37,0,53,41"},
                                                                          {"a.gpkg", "0,0,37,41"},
                                                                          {"c.gpkg", "0,41,37,39"}};
        std::vector<std::string> names;
        for (const auto& [name, window] : windows) {
            EXPECT_EQ(detect(name, {"--window", window}).status, 0);
            names.push_back(name);
        }
        return names;
    }

    Changes read(const std::string& name) const {
        Changes result;
        const GDALDatasetUniquePtr file(
            GDALDataset::Open(m_folder.file(name).c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
        EXPECT_TRUE(file);
        EXPECT_EQ(file->GetLayerCount(), 1);
        for (const auto& feature : *file->GetLayerByName("anomalies")) {
            const auto anomaly = anomalyOf(*feature);
            EXPECT_TRUE(anomaly);
            result.anomalies.push_back(anomaly.value_or(Anomaly()));
        }
        return result;
    }

    void expectRefused(const ProgramRun& run, int status, const std::string& named) const {
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(std::count(run.messages.begin(), run.messages.end(), '\n'), 1) << run.messages;
        EXPECT_NE(run.messages.find(named), std::string::npos) << run.messages;
        const auto names = m_folder.names();
        EXPECT_EQ(std::count(names.begin(), names.end(), "all.gpkg"), 0);
    }

    TemporaryFolder m_folder;
};

TEST_F(MergeCommand, WindowsGiveTheFileAndTheTableOfOneRun) {
    const ProgramRun whole = detect("whole.gpkg");
    ASSERT_EQ(whole.status, 0) << whole.messages;
    const ProgramRun merged = merge(detectWindows(), "all.gpkg");
    ASSERT_EQ(merged.status, 0) << merged.messages;
    EXPECT_EQ(merged.output, whole.output);
    EXPECT_GT(std::count(whole.output.begin(), whole.output.end(), '\n'), 20);
    expectIdentical(read("all.gpkg"), read("whole.gpkg"));
}

TEST_F(MergeCommand, WindowsThatCannotBeTrustedAreToldLikeOneRun) {
    Random random(6);
    write("new.tif", random, 20.0);
    const ProgramRun whole = detect("whole.gpkg");
    ASSERT_EQ(whole.status, 0) << whole.messages;
    const ProgramRun merged = merge(detectWindows(), "all.gpkg");
    ASSERT_EQ(merged.status, 0) << merged.messages;
    const auto doubtIn = [](const std::string& messages) {
        const std::size_t begin = messages.find("结果不可信");
        return begin == std::string::npos ? std::string()
                                          : messages.substr(begin, messages.find('\n', begin) - begin);
    };
    EXPECT_FALSE(doubtIn(whole.messages).empty()) << whole.messages;
    EXPECT_EQ(doubtIn(merged.messages), doubtIn(whole.messages));
    EXPECT_EQ(merge({"a.gpkg", "b.gpkg", "c.gpkg", "d.gpkg"}, "all.gpkg", {"--quiet"}).messages, "");
}

TEST_F(MergeCommand, TheFolderHoldsTheResultsAndNothingElse) {
    const std::vector<std::string> before = m_folder.names();
    std::vector<std::string> expected = detectWindows();
    ASSERT_EQ(
        detect("whole.gpkg", {"--dz", m_folder.file("dz.tif"), "--summary", m_folder.file("whole.json")})
            .status,
        0);
    ASSERT_EQ(merge(expected, "all.gpkg", {"--summary", m_folder.file("all.json")}).status, 0);
    expected.insert(expected.end(), before.begin(), before.end());
    expected.insert(expected.end(), {"whole.gpkg", "dz.tif", "whole.json", "all.gpkg", "all.json"});
    std::sort(expected.begin(), expected.end());
    std::vector<std::string> names = m_folder.names();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, expected);
}

TEST_F(MergeCommand, WindowBesideTheRastersIsNoError) {
    std::vector<std::string> names = detectWindows();
    ASSERT_EQ(detect("e.gpkg", {"--window", "90,0,40,40"}).status, 0);
    names.emplace_back("e.gpkg");
    EXPECT_EQ(merge(names, "all.gpkg").status, 0);
}

TEST_F(MergeCommand, FailuresAreStatusOneAndOneLine) {
    std::vector<std::string> names = detectWindows();
    names.pop_back();
    expectRefused(merge(names, "all.gpkg"), 1, "缺少窗口：第 0 列、第 41 行");
    ASSERT_EQ(detect("c.gpkg", {"--window", "0,41,37,39", "--threshold", "0.7"}).status, 0);
    names.emplace_back("c.gpkg");
    expectRefused(merge(names, "all.gpkg"), 1, "检测参数");
    ASSERT_EQ(detect("whole.gpkg").status, 0);
    expectRefused(merge({"whole.gpkg"}, "all.gpkg"), 1, "whole.gpkg");
    expectRefused(merge({"old.tif"}, "all.gpkg"), 1, "old.tif");
    std::ofstream(m_folder.file("cut.gpkg"), std::ios::binary)
        << contentOf(m_folder.file("a.gpkg")).substr(0, 30000);
    expectRefused(merge({"cut.gpkg"}, "all.gpkg"), 1, "cut.gpkg");
}

TEST_F(MergeCommand, WrongUseIsStatusTwo) {
    expectRefused(runCorridor({"merge"}), 2, "窗口结果");
    expectRefused(runCorridor({"merge", m_folder.file("a.gpkg")}), 2, "--out");
    expectRefused(merge({"a.gpkg"}, "a.gpkg"), 2, "输入文件");
    expectRefused(detect("all.gpkg", {"--window", "0,0,10"}), 2, "--window");
    expectRefused(detect("all.gpkg", {"--window", "0,0,10,-3"}), 2, "--window");
    expectRefused(detect("all.geojson", {"--window", "0,0,10,10"}), 2, ".gpkg");
}

TEST_F(MergeCommand, LeavesNothingBesideItsResult) {
    const auto pieces = detectWindows();
    auto names = m_folder.names();
    EXPECT_EQ(merge(pieces, "all.gpkg").status, 0);
    names.emplace_back("all.gpkg");
    std::sort(names.begin(), names.end());
    EXPECT_EQ(m_folder.names(), names);
}

/// Changes a piece as anybody can who has SQLite.
void change(const std::string& piece, const std::string& statement) {
    const GDALDatasetUniquePtr file(GDALDataset::Open(piece.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
    ASSERT_TRUE(file);
    file->ReleaseResultSet(file->ExecuteSQL(statement.c_str(), nullptr, "SQLITE"));
}

TEST_F(MergeCommand, APieceThatNoSearchCanWriteIsRefused) {
    const auto pieces = detectWindows();
    const auto before = m_folder.names();
    const std::string columns =
        "row,begin,end,sign,gap,lowest,highest,strongest,raised,sunk,variance,explained,cores,"
        "cores_begin,cores_end,restless,heights";
    std::string again = "insert into seam_runs (";
    again.append(columns).append(") select ").append(columns).append(" from seam_runs");
    const std::string whole = m_folder.file("a.gpkg");
    const std::string kept = m_folder.file("kept");
    std::filesystem::copy_file(whole, kept);
    for (const std::string& statement :
         {std::string("update seam_runs set begin=-2147483648, end=1, heights=x'00000000'"),
          std::string("update seam_runs set begin=begin-1, end=end-1"),
          std::string("update seam_runs set row=79"), std::string("update seam_runs set row=-1"),
          std::string("update seam_runs set heights=null"),
          std::string("update seam_runs set heights=null where fid % 2"),
          std::string("update seam_runs set heights=x'0000c07f' where end=begin+1"),
          std::string("update seam_runs set raised=9223372036854775807"),
          std::string("update seam_runs set sign=2"),
          std::string("update seam_runs set cores=1, cores_begin=-5, cores_end=1000"), again,
          std::string(
              "update piece set description=replace(description, '\"columns\":90', '\"columns\":-90')"),
          std::string(
              "update piece set description=replace(description, '[0,0,37,41]', '[0,0,37,2147483647]')"),
          std::string("update piece set description=replace(description, '\"min_area_m2\":1.0', "
                      "'\"min_area_m2\":1e999')")}) {
        std::filesystem::copy_file(kept, whole, std::filesystem::copy_options::overwrite_existing);
        change(whole, statement);
        const ProgramRun run = merge(pieces, "all.gpkg");
        EXPECT_EQ(run.status, 1) << statement;
        EXPECT_EQ(std::count(run.messages.begin(), run.messages.end(), '\n'), 1) << statement << run.messages;
        EXPECT_NE(run.messages.find("a.gpkg"), std::string::npos) << statement << run.messages;
    }
    std::filesystem::rename(kept, whole);
    EXPECT_EQ(m_folder.names(), before);
    EXPECT_EQ(merge(pieces, "all.gpkg").status, 0) << "unchanged it is one";
}

TEST_F(MergeCommand, PieceFilesKeepEveryFigureToTheLastBit) {
    Request request;
    request.oldRaster = m_folder.file("old.tif");
    request.newRaster = m_folder.file("new.tif");
    request.parameters.significance = Significance{0.1 / 3.0, 0.07, 0.9};
    request.parameters.growRatio = 2.0 / 3.0;
    request.parameters.thresholdMetres = 1.2;
    request.parameters.minAreaSquareMetres = 0.5;
    request.parameters.rules.restless = false; // it leaves little of such random heights
    auto found = detectPiece(request, {10, 10, 70, 60});
    ASSERT_TRUE(found);
    ASSERT_GT(found->seamRuns.runs.size(), 20U);
    found->seamRuns.runs[3].restless = true;
    const Piece& piece = *found;
    EXPECT_GT(piece.anomalies.size(), 3U);
    auto output = StagedOutput::beside(m_folder.file("piece.gpkg"));
    ASSERT_TRUE(output);
    PieceFile file(*output);
    ASSERT_TRUE(file.begin(piece.frame.srsWkt));
    for (const Anomaly& anomaly : piece.anomalies) {
        ASSERT_TRUE(file.take(anomaly));
    }
    ASSERT_TRUE(file.close(piece));
    ASSERT_TRUE(output->commit());
    const auto again = readPieceSeams(m_folder.file("piece.gpkg"));
    ASSERT_TRUE(again);
    const auto anomalies = readPieceAnomalies(m_folder.file("piece.gpkg"));
    ASSERT_TRUE(anomalies);
    EXPECT_EQ(anomalies->size(), piece.anomalies.size());
    const Piece& read = *again;
    EXPECT_FALSE(read.frame.parameters.rules.restless);
    EXPECT_EQ(read.frame.parameters.growRatio, piece.frame.parameters.growRatio);
    EXPECT_EQ(read.frame.parameters.significance->oldSigmaMetres, 0.1 / 3.0);
    EXPECT_EQ(read.frame.coregistration.dzMetres, piece.frame.coregistration.dzMetres);
    EXPECT_EQ(read.frame.coregistration.sigmaMetres, piece.frame.coregistration.sigmaMetres);
    EXPECT_EQ(read.frame.cellToMap.c, piece.frame.cellToMap.c);
    EXPECT_EQ(read.frame.srsWkt, piece.frame.srsWkt);
    EXPECT_EQ(read.cells, piece.cells);
    EXPECT_EQ(read.seamRuns.heights, piece.seamRuns.heights);
    ASSERT_EQ(read.seamRuns.runs.size(), piece.seamRuns.runs.size());
    for (std::size_t i = 0; i < piece.seamRuns.runs.size(); ++i) {
        const ::detect::Run& p = piece.seamRuns.runs[i];
        const ::detect::Run& q = read.seamRuns.runs[i];
        EXPECT_EQ(std::tie(p.row, p.begin, p.end, p.sign, p.gap, p.restless, p.heights),
                  std::tie(q.row, q.begin, q.end, q.sign, q.gap, q.restless, q.heights));
        EXPECT_EQ(
            std::tie(p.lowest, p.highest, p.strongest, p.raised, p.sunk, p.variance, p.explainedByShift),
            std::tie(q.lowest, q.highest, q.strongest, q.raised, q.sunk, q.variance, q.explainedByShift));
    }
}

} // namespace
} // namespace detect::test
