// A computation in pieces is that of one run; whatever else lies in a folder is refused, and nothing is left of what failed.

#include "Opened.h"
#include "TestDatabase.h"
#include "tests/support/CopyFolder.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/FullDisk.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pieces/CollectPieces.h"
#include "workbench/inspectiondata/pieces/ComputationPlan.h"
#include "workbench/inspectiondata/pieces/ComputePiece.h"
#include "workbench/inspectiondata/pieces/CoregistrationFile.h"
#include "workbench/inspectiondata/pieces/PieceFolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>

#include <cmath>

namespace {

using namespace inspection;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

/// Stations that reach out in two directions, which are therefore searched apart; each looks at other ground of the rasters.
void searchApart(OpenedProject& opened) {
    opened.sql().execute("update station set x_max=500060, y_max=3410000 where id=1");
    opened.sql().execute("update station set x_min=500060, x_max=510000 where id=2");
}

/// What an inspector has done to the results of an earlier computation.
void judge(OpenedProject& opened) {
    valueOf(computeAnomalies(opened.request()));
    opened.sql().updateRecord(kAnomalyTable, {{"attribute", toGbk("建构筑物")}}, "where name=?",
                              {std::string("S1-0001")});
    opened.sql().updateRecord(kAnomalyTable, {{"is_deleted", std::int64_t{1}}}, "where name=?",
                              {std::string("S2-0001")});
}

std::string textOf(const KV_Record& row, const char* column) {
    const auto* text = std::get_if<std::string>(&row.at(column));
    return text ? *text : std::string();
}

/// Rows without ids and times, and instead of the rasters' names what is in them.
struct Stored {
    KV_Rows anomalies;
    KV_Rows results;
    std::vector<QByteArray> rasters;

    bool operator==(const Stored& other) const {
        return anomalies == other.anomalies && results == other.results && rasters == other.rasters;
    }
};

Stored storedIn(OpenedProject& opened) {
    Stored stored{opened.sql().queryRecord("select * from anomaly order by id"),
                  opened.sql().queryRecord("select * from comparison_result order by station_id"),
                  {}};
    for (KV_Record& row : stored.anomalies) {
        row.erase("id");
    }
    for (KV_Record& row : stored.results) {
        for (const char* column : {"dz_raster", "correction_raster"}) {
            const std::string name = textOf(row, column);
            stored.rasters.push_back(name.empty() ? QByteArray()
                                                  : bytesOf(opened.files.file(QString::fromStdString(name))));
        }
        QJsonObject summary =
            QJsonDocument::fromJson(QByteArray::fromStdString(textOf(row, "summary"))).object();
        summary.remove("seconds");
        row["summary"] = QJsonDocument(summary).toJson().toStdString();
        for (const char* column : {"id", "computed_at", "dz_raster", "correction_raster"}) {
            row.erase(column);
        }
    }
    return stored;
}

QStringList filesIn(const QString& folder) {
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        files << QDir(folder).relativeFilePath(walk.next());
    }
    files.sort();
    return files;
}

/// A small project whose stations are searched apart.
struct ProjectOfTwoGroups : OpenedProject {
    explicit ProjectOfTwoGroups(const QString& databaseUrl = {}) : OpenedProject(databaseUrl) {
        searchApart(*this);
    }

    QString pieceOf(std::uint32_t station, ComputationRequest wish) const {
        wish.stationIds = {station};
        const QString folder = files.beside(QStringLiteral("piece-%1").arg(station));
        valueOf(computePiece(wish, folder));
        return folder;
    }
    QString pieceOf(std::uint32_t station) const { return pieceOf(station, request()); }
    QStringList bothPieces() const { return {pieceOf(2), pieceOf(1)}; }

    Result<CollectedPieces> collect(const QStringList& folders) {
        return collectPieces(project.description(), sql(), folders);
    }
    /// Refused in one line that names the folder, with nothing changed.
    Failure expectRefused(const QStringList& folders, const QString& folder) {
        const Stored before = storedIn(*this);
        const QStringList files = filesIn(project.description().folder);
        const Failure failure = failureOf(collect(folders));
        EXPECT_TRUE(failure.userMessage.startsWith(folder)) << failure.userMessage.toStdString();
        EXPECT_TRUE(storedIn(*this) == before);
        EXPECT_EQ(filesIn(project.description().folder), files);
        return failure;
    }
};

class Pieces : public testing::TestWithParam<DatabaseKind> {};

TEST_P(Pieces, AreExactlyTheResultOfOneRun) {
    ProjectOfTwoGroups once(newProjectDatabase(GetParam()));
    judge(once);
    EXPECT_EQ(valueOf(computeAnomalies(once.request())).anomalies, 2) << "one was deleted";

    ProjectOfTwoGroups pieces(newProjectDatabase(GetParam()));
    judge(pieces);
    const CollectedPieces collected = valueOf(pieces.collect(pieces.bothPieces()));
    EXPECT_EQ(collected.stored.stationIds, (std::vector<std::uint32_t>{1, 2}));
    EXPECT_EQ(collected.stored.anomalies, 2);
    EXPECT_TRUE(collected.missing.empty());

    const Stored expected = storedIn(once);
    const Stored found = storedIn(pieces);
    ASSERT_EQ(expected.anomalies.size(), 3U);
    EXPECT_EQ(found.anomalies, expected.anomalies);
    EXPECT_EQ(found.results, expected.results);
    EXPECT_TRUE(found.rasters == expected.rasters);
    EXPECT_FALSE(expected.rasters[0].isEmpty());
    EXPECT_NE(expected.rasters[0], expected.rasters[2]) << "two searches";
    EXPECT_TRUE(checkProject(pieces.project.description(), pieces.sql()).empty());
    EXPECT_TRUE(pieces.sql().queryRecord("select * from edit_history where is_dropped=0").empty());
}

TEST_P(Pieces, CollectedAgainChangeNothing) {
    ProjectOfTwoGroups opened(newProjectDatabase(GetParam()));
    const QStringList folders = opened.bothPieces();
    valueOf(opened.collect(folders));
    opened.sql().execute("update anomaly set attribute='judged since'");
    const KV_Rows before = opened.sql().queryRecord("select * from anomaly order by id");
    const KV_Rows results = opened.sql().queryRecord("select * from comparison_result order by id");
    const QStringList files = filesIn(opened.project.description().folder);
    const std::int64_t revision = readRevision(opened.sql());
    const CollectedPieces again = valueOf(opened.collect(folders));
    EXPECT_TRUE(again.stored.stationIds.empty());
    EXPECT_EQ(again.unchanged.size(), 2U);
    EXPECT_EQ(opened.sql().queryRecord("select * from anomaly order by id"), before);
    EXPECT_EQ(opened.sql().queryRecord("select * from comparison_result order by id"), results);
    EXPECT_EQ(filesIn(opened.project.description().folder), files);
    EXPECT_EQ(readRevision(opened.sql()), revision);
}

INSTANTIATE_TEST_SUITE_P(Databases, Pieces, kEachKind, kindName);

TEST(PiecesTest, WithASharedLocalCorrectionAreThoseOfOneRun) {
    const auto warped = [](int column, int row) {
        return SmallProject::newHeight(column, row) + 0.15 * std::sin(column / 45.0) * std::cos(row / 60.0);
    };
    const auto local = [](const OpenedProject& opened) {
        ComputationRequest request = opened.request();
        request.project.parameters.coregistration = detect::CoregistrationMethod::Local;
        return request;
    };
    ProjectOfTwoGroups once;
    SmallProject::writeHeights(once.files.file("new/dsm.tif"), warped);
    const auto summary = valueOf(computeAnomalies(local(once)));
    ASSERT_TRUE(summary.coregistration.local.field != nullptr);

    ProjectOfTwoGroups pieces;
    SmallProject::writeHeights(pieces.files.file("new/dsm.tif"), warped);
    ComputationRequest request = local(pieces);
    const QString file = pieces.files.beside("coregistration.json");
    ASSERT_TRUE(writeCoregistrationFile(request.project, valueOf(coregisterPair(request.project, 1)), file));
    request.coregistration = valueOf(readCoregistrationFile(request.project, file));
    const QString first = pieces.pieceOf(1, request);
    const QString second = pieces.pieceOf(2, local(pieces)); // finds the same by itself
    valueOf(collectPieces(request.project, pieces.sql(), {first, second}));
    const Stored expected = storedIn(once);
    const Stored found = storedIn(pieces);
    EXPECT_EQ(found.anomalies, expected.anomalies);
    EXPECT_EQ(found.results, expected.results);
    EXPECT_TRUE(found.rasters == expected.rasters);
    EXPECT_FALSE(expected.rasters[1].isEmpty()) << "the correction";
}

TEST(PiecesTest, ReachNothingOfTheProject) {
    ProjectOfTwoGroups opened;
    const QStringList files = filesIn(opened.project.description().folder);
    const std::int64_t revision = readRevision(opened.sql());
    const QString folder = opened.pieceOf(1);
    EXPECT_EQ(filesIn(opened.project.description().folder), files);
    EXPECT_EQ(readRevision(opened.sql()), revision);
    EXPECT_EQ(filesIn(folder).filter("inspection.db"), QStringList{"inspection.db"});
    EXPECT_EQ(bytesOf(folder + "/inspection.db").at(19), 1)
        << "without a log, so that its readers make no files";
}

TEST(PiecesTest, StationsThatNoPieceHasKeepTheirResultsAndAreNamed) {
    ProjectOfTwoGroups opened;
    valueOf(computeAnomalies(opened.request()));
    const auto before = readStationResult(opened.sql(), 2, kSamplePair);
    opened.sql().execute("update anomaly set attribute='kept'");
    const CollectedPieces collected = valueOf(opened.collect({opened.pieceOf(1)}));
    EXPECT_EQ(collected.missing, std::vector<std::uint32_t>{2});
    const auto after = readStationResult(opened.sql(), 2, kSamplePair);
    EXPECT_EQ(after->dzRaster, before->dzRaster);
    EXPECT_TRUE(QFile::exists(opened.files.file(after->dzRaster)));
    EXPECT_EQ(readAnomalies(opened.sql(), 2, kSamplePair).size(), 2U);
    EXPECT_TRUE(checkProject(opened.project.description(), opened.sql()).empty());
}

TEST(PiecesTest, APartOfAGroupIsRefusedAndLeavesNothing) {
    OpenedProject opened; // both stations in one group
    ComputationRequest request = opened.request();
    request.stationIds = {2};
    const QString folder = opened.files.beside("piece");
    const Failure failure = failureOf(computePiece(request, folder));
    EXPECT_TRUE(failure.userMessage.contains("1-2")) << failure.userMessage.toStdString();
    EXPECT_EQ(filesIn(opened.files.beside({})).filter("piece"), QStringList());
}

TEST(PiecesTest, OfOtherParametersRastersOrStationsAreRefused) {
    ProjectOfTwoGroups opened;
    ComputationRequest other = opened.request();
    other.project.parameters.thresholdMetres = 0.7;
    const QString first = opened.pieceOf(1, other);
    EXPECT_TRUE(opened.expectRefused({first}, first).userMessage.contains("检测参数"));

    const QString second = opened.pieceOf(2);
    SmallProject::writeHeights(opened.files.file("new/dsm.tif"), [](int column, int row) {
        return SmallProject::newHeight(column, row) + (column == 200 && row == 20 ? 0.01 : 0.0);
    });
    EXPECT_TRUE(opened.expectRefused({second}, second).userMessage.contains("新期表面模型"));
    SmallProject::writeHeights(opened.files.file("new/dsm.tif"), SmallProject::newHeight);
    opened.sql().execute("update station set x_max=x_max+1 where id=2");
    EXPECT_TRUE(opened.expectRefused({second}, second).userMessage.contains("站段已更改"));
    opened.sql().execute("update station set x_max=x_max-1 where id=2");
    EXPECT_EQ(valueOf(opened.collect({second})).stored.stationIds.size(), 1U);
}

TEST(PiecesTest, WithAnotherCoregistrationOrTheSameStationAreRefused) {
    ProjectOfTwoGroups opened;
    const QString first = opened.pieceOf(1);
    ComputationRequest shifted = opened.request();
    shifted.coregistration = valueOf(coregisterPair(shifted.project, 1));
    shifted.coregistration->tiltEast = 1e-12;
    const QString second = opened.pieceOf(2, shifted);
    EXPECT_TRUE(opened.expectRefused({first, second}, second).userMessage.contains("配准结果"));
    const QString copy = opened.files.beside("copy");
    copyFolder(first, copy);
    EXPECT_TRUE(opened.expectRefused({first, copy}, copy).userMessage.contains("站段 1"));
}

TEST(PiecesTest, ACoregistrationOfOtherRastersIsRefused) {
    ProjectOfTwoGroups opened;
    const ProjectDescription project = opened.project.description();
    const QString file = opened.files.beside("coregistration.json");
    ASSERT_TRUE(writeCoregistrationFile(project, valueOf(coregisterPair(project, 1)), file));
    SmallProject::writeHeights(opened.files.file("old/dsm.tif"), SmallProject::newHeight);
    EXPECT_TRUE(failureOf(readCoregistrationFile(project, file)).userMessage.contains("旧期表面模型"));
    QFile(file).resize(100);
    EXPECT_TRUE(failureOf(readCoregistrationFile(project, file)).userMessage.startsWith(file));
    EXPECT_FALSE(writeCoregistrationFile(project, {}, project.oldEpoch().dsm))
        << "would replace a surface model";
}

/// Somebody's hand in a piece; those that know how to seal it again, too.
class TamperedPiece : public testing::Test {
protected:
    void change(const QString& statement) { ForeignConnection(m_piece + "/inspection.db").run(statement); }
    void sealAgain() {
        const QJsonObject seal = QJsonDocument::fromJson(bytesOf(m_piece + "/piece.json")).object();
        ASSERT_TRUE(sealPiece(m_piece, seal["comparison"].toObject(), {}));
    }
    QString dzRaster() { return QDir(m_piece).filePath(filesIn(m_piece).filter("dz-").value(0)); }
    void expectRefused() { m_opened.expectRefused({m_piece}, m_piece); }

    ProjectOfTwoGroups m_opened;
    QString m_piece = m_opened.pieceOf(1);
};

TEST_F(TamperedPiece, WithAnyFileChangedIsRefused) {
    for (const QString& name : filesIn(m_piece)) {
        const QString path = m_piece + '/' + name;
        if (QFileInfo(path).isDir()) {
            continue;
        }
        const QByteArray whole = bytesOf(path);
        for (const qsizetype length : {whole.size() - 1, whole.size() / 2, qsizetype{0}}) {
            ASSERT_TRUE(writeWhole(path, whole.left(length)));
            if (name == "piece.json" && length == whole.size() - 1) {
                continue; // a line's end
            }
            expectRefused();
        }
        ASSERT_TRUE(QFile::remove(path));
        expectRefused();
        ASSERT_TRUE(writeWhole(path, whole));
    }
    EXPECT_TRUE(m_opened.collect({m_piece}));
}

TEST_F(TamperedPiece, WithAFileMoreOrNoFolderAtAllIsRefused) {
    ASSERT_TRUE(writeWhole(m_piece + "/more", "bytes"));
    expectRefused();
    m_opened.expectRefused({m_piece + "-gone"}, m_piece + "-gone");
    m_opened.expectRefused({m_opened.files.folder()}, m_opened.files.folder());
}

TEST_F(TamperedPiece, ThatWasSealedAgainIsRefusedWhereNoComputationLeavesIt) {
    for (const char* statement :
         {"update anomaly set outline_wkt='POLYGON ((0 0, nan 1))'", "update anomaly set x=1e300",
          "update comparison_result set summary='{'", "update comparison_result set cells=-1",
          "update comparison_result set dz_raster='../../somewhere.tif'",
          "update comparison_result set dz_raster='/etc/passwd'",
          "update comparison_result set coregistration='x'", "update station set x_min=x_min-1",
          "delete from comparison_result", "delete from station", "drop table anomaly",
          "pragma user_version=99", "pragma user_version=1"}) {
        SCOPED_TRACE(statement);
        const QByteArray database = bytesOf(m_piece + "/inspection.db");
        change(statement);
        sealAgain();
        expectRefused();
        ASSERT_TRUE(writeWhole(m_piece + "/inspection.db", database));
    }
    ASSERT_TRUE(writeWhole(dzRaster(), "no raster"));
    sealAgain();
    expectRefused();
}

TEST(PiecesTest, CancelledAtAnyTimeLeaveNothing) {
    ProjectOfTwoGroups opened;
    ComputationRequest request = opened.request();
    const QStringList before = filesIn(opened.files.beside({}));
    for (const double limit : {0.0, 0.1, 0.5, 1.0}) {
        const Failure failure =
            failureOf(computePiece(request, opened.files.beside("piece"),
                                   [limit](double fraction, const auto&) { return fraction < limit; }));
        EXPECT_TRUE(failure.cancelled);
        EXPECT_EQ(filesIn(opened.files.beside({})), before);
    }
}

TEST(PiecesTest, OnAFullDiskNothingIsLeftAndNothingIsCollected) {
    ProjectOfTwoGroups opened;
    const QStringList before = filesIn(opened.files.beside({}));
    {
        const FullDisk full;
        failureOf(computePiece(opened.request(), opened.files.beside("piece")));
    }
    EXPECT_EQ(filesIn(opened.files.beside({})), before);
    const QStringList folders = opened.bothPieces();
    const QStringList files = filesIn(opened.project.description().folder);
    {
        const FullDisk full;
        failureOf(opened.collect(folders));
    }
    EXPECT_EQ(filesIn(opened.project.description().folder), files);
    EXPECT_TRUE(readAnomalies(opened.sql(), 1, kSamplePair).empty());
    EXPECT_TRUE(opened.collect(folders));
}

TEST(PiecesTest, AFolderWithSomethingInItIsLeftAlone) {
    ProjectOfTwoGroups opened;
    const QString folder = opened.pieceOf(1);
    const QByteArray seal = bytesOf(folder + "/piece.json");
    EXPECT_TRUE(failureOf(computePiece(opened.request(), folder)).userMessage.contains("已存在"));
    EXPECT_EQ(bytesOf(folder + "/piece.json"), seal);
}

TEST(PiecesTest, OfEpochsWithoutDatesAreCalledAsTheProjectDoes) {
    const auto undated = [](ProjectOfTwoGroups& opened) {
        ProjectDescription described = opened.project.description();
        for (Epoch& epoch : described.epochs) {
            epoch.date.clear();
        }
        described.compared.reset();
        EXPECT_TRUE(opened.project.setDescription(described));
    };
    ProjectOfTwoGroups once;
    undated(once);
    valueOf(computeAnomalies(once.request()));
    ProjectOfTwoGroups pieces;
    undated(pieces);
    valueOf(pieces.collect(pieces.bothPieces()));
    EXPECT_TRUE(storedIn(pieces) == storedIn(once));
    EXPECT_EQ(pieces.sql().queryRecord("select * from comparison"),
              once.sql().queryRecord("select * from comparison"));
}

TEST(PiecesTest, ThePlanOfAProjectThatWasNeverOpenedHasItsStationsAndLeavesNothing) {
    const SmallProject files;
    const QStringList before = filesIn(files.folder());
    const auto project = valueOf(Project::open(files.folder(), Project::Access::ReadOnly));
    const ComputationPlan plan = valueOf(planComputation(project.description()));
    EXPECT_EQ(plan.stations.size(), 2U);
    ASSERT_EQ(plan.groups.size(), 1U);
    EXPECT_EQ(plan.groups[0].count, 2U);
    EXPECT_LT(plan.groups[0].cells, plan.cells[0] + plan.cells[1]);
    EXPECT_EQ(filesIn(files.folder()), before);
}

} // namespace
