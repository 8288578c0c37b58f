#pragma once

#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/MariaDbServer.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/DatabaseMove.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

/// Somebody at another workbench, who sees every row as it is now.
class Colleague {
public:
    explicit Colleague(const QString& url) : m_database(url.toStdString()) {
        m_history.setDatabase(&m_database, "wang@field:/line");
    }
    void judge(std::int64_t anomalyId, const char* attribute) {
        change("分类 1 处异常为 " + QString(attribute), inspection::kAnomalyTable, anomalyId,
               {{"attribute", toGbk(attribute)}});
    }
    void change(const QString& description, const std::string& table, std::int64_t id,
                const mysqlhelper::KV_Record& fields) {
        EXPECT_TRUE(m_history.perform(description, [&](inspection::EditTransaction& edit) {
            edit.update(table, id, fields, versionOf(table, id));
        }));
    }
    void remove(const std::string& table, std::int64_t id) {
        EXPECT_TRUE(m_history.perform("删除", [&](inspection::EditTransaction& edit) {
            edit.remove(table, id, versionOf(table, id));
        }));
    }
    std::int64_t addPoint(const char* name) {
        std::int64_t id = 0;
        EXPECT_TRUE(m_history.perform("添加特殊点", [&](inspection::EditTransaction& edit) {
            id = edit.insert(
                "special_point",
                {{"name", toGbk(name)}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}});
        }));
        return id;
    }
    void undo() { m_history.TakeUndo()->Undo(true); }
    mysqlhelper::KV_MySQL& database() { return m_database; }

private:
    std::int64_t versionOf(const std::string& table, std::int64_t id) {
        const auto row = inspection::readRow(m_database, table, id);
        return row ? std::get<std::int64_t>(row->at("version")) : 0;
    }

    mysqlhelper::KV_MySQL m_database;
    inspection::ProjectHistory m_history;
};

class SharedProjectTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        context().closeProject();
        moveToServer();
        const auto problem = context().openProject(m_project);
        ASSERT_FALSE(problem.has_value()) << problem->toStdString();
        ASSERT_EQ(context().readOnlyReason(), QString());
        showRichestStation();
        m_colleague = std::make_unique<Colleague>(m_url);
    }

    void moveToServer() {
        auto project = inspection::Project::open(m_project).value();
        const auto moved = inspection::moveDatabase(project, m_url, {});
        ASSERT_TRUE(moved);
    }
    void showRichestStation() {
        QTreeWidgetItem* richest = station(0);
        for (int i = 0; i < tree().topLevelItem(0)->childCount(); ++i) {
            if (station(i)->text(1).toInt() > richest->text(1).toInt()) {
                richest = station(i);
            }
        }
        tree().setCurrentItem(richest);
        clickCheckBox(richest);
        ASSERT_GE(rows(), 2);
    }
    int rows() const { return table().model()->rowCount(); }
    QString name(int row) const { return table().model()->index(row, 0).data().toString(); }
    QString attribute(int row) const { return table().model()->index(row, 6).data().toString(); }
    QString areas(int row) const { return table().model()->index(row, 9).data().toString(); }
    /// As somebody else's `corridor import` does it.
    void importAreaAround(const SdiffData& anomaly, const char* name) {
        QFile file(m_folder.filePath("areas.csv"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("name,WKT\n%1,\"POLYGON ((%2 %3,%4 %3,%2 %5,%2 %3))\"\n")
                       .arg(name)
                       .arg(anomaly.lonDegrees, 0, 'f', 7)
                       .arg(anomaly.latDegrees, 0, 'f', 7)
                       .arg(anomaly.lonDegrees + 1e-5, 0, 'f', 7)
                       .arg(anomaly.latDegrees + 1e-5, 0, 'f', 7)
                       .toUtf8());
        file.close();
        inspection::ProjectDescription theirs = context().project()->description();
        theirs.folder = m_folder.filePath("theirs");
        const auto result = inspection::importSpecialObjects(
            theirs, {file.fileName(), KV_HIGH_CONSEQUENCE_AREA, "EPSG:4326", QString()}, true,
            m_colleague->database(), {});
        ASSERT_TRUE(result);
        ASSERT_EQ(result->stored, 1) << result->refusals.join('\n').toStdString();
    }
    const SdiffData& shown(int row) {
        for (const SdiffData& anomaly : current().m_diffData.m_anomalies) {
            if (fromGbk(anomaly.name) == name(row)) {
                return anomaly;
            }
        }
        throw std::runtime_error("no such row");
    }
    KV_StationItem& current() { return *context().GetAVWindow()->GetCurrentItem(); }
    /// As the class keys do it.
    void judge(int row, Qt::Key key) {
        table().selectRow(row);
        table().setFocus();
        QTest::keyClick(&table(), key);
        QApplication::processEvents();
    }
    QTreeWidgetItem* object(int group, const QString& name) const {
        QTreeWidgetItem* root = tree().topLevelItem(group);
        for (int i = 0; i < root->childCount(); ++i) {
            if (root->child(i)->text(0) == name) {
                return root->child(i);
            }
        }
        return nullptr;
    }
    bool overlayIsShown(const QString& anomaly) const {
        for (const osg::Group* group : overlayGroups()) {
            for (unsigned i = 0; i < group->getNumChildren(); ++i) {
                if (group->getChild(i)->getName() == toGbk(anomaly)) {
                    return true;
                }
            }
        }
        return false;
    }
    /// Gives the workbench the time to learn of everything that is stored by now. Nobody else works meanwhile.
    void waitForNews() {
        const auto executed = [this] {
            return m_server
                .run("select variable_value from information_schema.global_status "
                     "where variable_name='COM_STMT_EXECUTE'")[0]
                .toLongLong();
        };
        const qint64 before = executed();
        constexpr int kLooks = 3; // the first one may have begun before
        ASSERT_TRUE(waitUntil([&] { return executed() >= before + kLooks; }));
        QApplication::processEvents();
    }
    QString status() const {
        const QWidget* progress = context().progressWidget();
        const QLabel* text = progress->findChild<QLabel*>();
        return progress->isHidden() || !text ? QString() : text->text();
    }
    static InspectionContext& context() { return InspectionContext::instance(); }

    MariaDbServer& m_server = MariaDbServer::instance();
    const QString m_url = m_server.newDatabase();
    std::unique_ptr<Colleague> m_colleague;
};
