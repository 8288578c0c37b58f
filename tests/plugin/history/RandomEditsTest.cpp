// Thousands of random edits, undos, redos and restarts, after each of which database, globe, tree, table,
// menu and buttons are what a model says.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/plugin/history/EditModel.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/AddressSanitizer.h"
#include "tests/support/MariaDbServer.h"
#include "workbench/inspectiondata/database/DatabaseMove.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <QApplication>

#include <random>

using inspection::tableName;
using inspection::takeField;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

/// AddressSanitizer takes eight times as long for each. It looks at how a step is done, and fewer steps still come in all
/// kinds; where many of them lead is seen without it.
constexpr int kSteps = kUnderAddressSanitizer ? 4000 : 10000;
constexpr std::size_t kMostUndoable = 80; // the menu is filled with a hundred after a restart
constexpr KV_ObjectType kTypes[] = {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA};

QString title(int type) {
    return type == KV_SPECIAL_POINT ? "特殊点" : type == KV_SPECIAL_AREA ? "特殊面" : "高后果区";
}

QString textOf(const KV_Record& row, const char* field) {
    std::string gbk;
    takeField(row, field, gbk);
    return fromGbk(gbk);
}

qint64 numberOf(const KV_Record& row, const char* field) {
    qint64 number = 0;
    takeField(row, field, number);
    return number;
}

ModelState stateIn(KV_MySQL& database) {
    ModelState state;
    for (const KV_ObjectType type : kTypes) {
        for (const KV_Record& row : database.queryRecord("select * from " + tableName(type))) {
            state.objects[textOf(row, "name")] = {type, numberOf(row, "id"), textOf(row, "attribute"),
                                                  static_cast<int>(numberOf(row, "level"))};
        }
    }
    for (const KV_Record& row :
         database.queryRecord("select id, name, attribute from anomaly where is_deleted=0")) {
        state.anomalies[textOf(row, "name")] = {numberOf(row, "id"), textOf(row, "attribute")};
    }
    return state;
}

class RandomEdits : public AnomalyTest {
protected:
    void run(const QString& databaseUrl, unsigned seed) {
        std::cout << "[     SEED ] " << seed << std::endl;
        m_random.seed(seed);
        moveTo(databaseUrl);
        ASSERT_FALSE(HasFailure());
        m_model = std::make_unique<EditModel>(stateIn(*m_database));
        for (int step = 0; step < kSteps; ++step) {
            const QString what = takeStep();
            if (step % 100 == 0) {
                QApplication::processEvents();
            }
            compare();
            ASSERT_FALSE(HasFailure()) << "after step " << step << ", " << what.toStdString();
        }
        EXPECT_GT(m_count["edit"], kSteps / 4);
        EXPECT_GT(m_count["undo"], kSteps / 10);
        EXPECT_GT(m_count["redo"], kSteps / 20);
        EXPECT_GT(m_count["multi-step undo"], kSteps / 100);
        EXPECT_GT(m_count["restart"], kSteps / 1000);
    }

private:
    // What a user does.

    QString takeStep() {
        const int chance = below(1000);
        QString what = m_model->undoable() >= kMostUndoable ? "multi-step undo"
                       : chance < 5                         ? "restart"
                       : chance < 45                        ? "multi-step undo"
                       : chance < 300                       ? "undo"
                       : chance < 480                       ? "redo"
                                                            : "edit";
        ++m_count[what];
        if (what == "restart") {
            restart();
        } else if (what == "multi-step undo") {
            undoSeveral();
        } else if (what == "undo") {
            undo();
        } else if (what == "redo") {
            redo();
        } else {
            return edit();
        }
        return what;
    }

    void undo() {
        m_host.button("撤销").click();
        if (m_model->undoable() > 0) {
            m_model->undo();
        }
    }
    void redo() {
        m_host.button("重做").click();
        if (m_model->redoable() > 0) {
            m_model->redo();
        }
    }
    /// By the menu, mostly a few steps, now and then all.
    void undoSeveral() {
        if (m_model->undoable() == 0) {
            return;
        }
        const int most = static_cast<int>(m_model->undoable());
        const int steps = below(4) == 0 ? most : 1 + below(std::min(most, 10));
        m_host.button("撤销").menu()->actions().at(steps - 1)->trigger();
        m_model->undo(static_cast<std::size_t>(steps));
    }
    void restart() {
        InspectionContext::instance().closeProject();
        const auto refusal = InspectionContext::instance().openProject(m_folder);
        ASSERT_FALSE(refusal) << refusal->toStdString();
    }

    QString edit() {
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
            return addObject();
        case 3:
        case 4:
            return editObject();
        case 5:
            return renameInTree();
        case 6:
            return deleteObject();
        case 7:
            return deleteAnomalies();
        default:
            return classifyAnomalies();
        }
    }

    QString addObject() {
        const KV_ObjectType type = kTypes[below(3)];
        const QString name = freeName();
        if (type == KV_SPECIAL_POINT) {
            const Special_Point point(toGbk(name), {114.0 + below(100) * 1e-5, 30.7, 1.0 / 3.0});
            EXPECT_TRUE(stations().AddPointNode(point));
            scene().addPipePoints(putOnGlobe("ROIPoint"), point);
        } else {
            const Special_Polygon region = madeRegion(name, type);
            EXPECT_TRUE(stations().AddAreaNode(region));
            if (type == KV_SPECIAL_AREA) {
                scene().addPipeAreas(putOnGlobe("ROIArea"), Special_Area(region));
            } else {
                scene().addPipePolygons(putOnGlobe("ROIPolygon"), region);
            }
        }
        ModelState after = m_model->now();
        const auto rows =
            m_database->queryRecord("select * from " + tableName(type) + " where name=?", {toGbk(name)});
        EXPECT_EQ(rows.size(), 1U);
        after.objects[name] = {type, rows.empty() ? 0 : numberOf(rows[0], "id"), QString(),
                               type == KV_SPECIAL_POINT ? 0 : 1};
        const QString text = "添加" + title(type) + ' ' + name;
        m_model->edit(text, std::move(after));
        return text;
    }

    QString editObject() {
        const QString oldName = someObject();
        if (oldName.isEmpty()) {
            return {};
        }
        ModelState after = m_model->now();
        ModelObject object = after.objects[oldName];
        const QString name = below(2) == 0 ? oldName : freeName();
        object.attribute = QString("属性%1'").arg(below(3));
        object.level = object.type == KV_SPECIAL_POINT ? 0 : below(6);
        switch (object.type) {
        case KV_SPECIAL_POINT:
            editRecord(scene().getPipePoints(), oldName, name, object, &OsgDataSet::UpdataPipePoint);
            break;
        case KV_SPECIAL_AREA:
            editRecord(scene().getPipeAreas(), oldName, name, object, &OsgDataSet::UpdataPipeArea);
            break;
        default:
            editRecord(scene().getPipePolygons(), oldName, name, object, &OsgDataSet::UpdataPipePolygon);
        }
        after.objects.erase(oldName);
        after.objects[name] = object;
        const QString text = "编辑" + title(object.type) + ' ' + name;
        m_model->edit(text, std::move(after));
        return text;
    }
    /// As the editing tool does it.
    template<typename Map, typename Update>
    void editRecord(const Map& map, const QString& oldName, const QString& name, const ModelObject& object,
                    Update update) {
        osg::Group* group = groupIn(map, oldName);
        ASSERT_NE(group, nullptr) << oldName.toStdString();
        auto record = map.at(group);
        record.SetName(toGbk(name));
        record.m_attribute = toGbk(object.attribute);
        setLevel(record, object.level);
        EXPECT_TRUE(stations().UpdataNode(record, toGbk(oldName)));
        (scene().*update)(group, record);
    }
    static void setLevel(Special_Region& region, int level) { region.m_level = level; }
    static void setLevel(Special_Point& /*point*/, int /*level*/) {}

    QString renameInTree() {
        const QString oldName = someObject();
        if (oldName.isEmpty()) {
            return {};
        }
        const QString name = freeName();
        ModelState after = m_model->now();
        const ModelObject object = after.objects[oldName];
        entryOf(oldName)->setText(0, name);
        after.objects.erase(oldName);
        after.objects[name] = object;
        const QString text = "重命名" + title(object.type) + ' ' + oldName + " 为 " + name;
        m_model->edit(text, std::move(after));
        return text;
    }

    QString deleteObject() {
        const QString name = someObject();
        if (name.isEmpty()) {
            return {};
        }
        ModelState after = m_model->now();
        const int type = after.objects[name].type;
        EXPECT_TRUE(stations().DeleteNode(name, type));
        osg::ref_ptr<osg::Group> group;
        if (type == KV_SPECIAL_POINT) {
            group = groupIn(scene().getPipePoints(), name); // its record stays in the map
        } else if (type == KV_SPECIAL_AREA) {
            group = groupIn(scene().getPipeAreas(), name);
            scene().removePipeAreas(group);
        } else {
            group = groupIn(scene().getPipePolygons(), name);
            scene().removePipePolygons(group);
        }
        EXPECT_TRUE(group);
        if (group) {
            group->getParent(0)->removeChild(group);
        }
        after.objects.erase(name);
        const QString text = "删除" + title(type) + ' ' + name;
        m_model->edit(text, std::move(after));
        return text;
    }

    QString classifyAnomalies() {
        static const QStringList classes = {"建构筑物", "重物占压", "深挖", "塌陷", QString()};
        std::vector<SdiffData> some = someAnomalies();
        if (some.empty()) {
            return {};
        }
        const QString& attribute = classes[below(static_cast<int>(classes.size()))];
        ModelState after = m_model->now();
        for (SdiffData& anomaly : some) {
            anomaly.attribute = toGbk(attribute);
            after.anomalies[fromGbk(anomaly.name)].attribute = attribute;
        }
        anomalies().SetItemAtrii(anomalies().GetCurrentItem(), some);
        const QString text = attribute.isEmpty()
                                 ? QString("清除 %1 处异常的分类").arg(some.size())
                                 : QString("分类 %1 处异常为 %2").arg(some.size()).arg(attribute);
        m_model->edit(text, std::move(after));
        return text;
    }

    QString deleteAnomalies() {
        const std::vector<SdiffData> some = someAnomalies();
        if (some.empty()) {
            return {};
        }
        ModelState after = m_model->now();
        for (const SdiffData& anomaly : some) {
            after.anomalies.erase(fromGbk(anomaly.name));
        }
        anomalies().DeleteItems(anomalies().GetCurrentItem(), some);
        const QString text = QString("删除 %1 处异常").arg(some.size());
        m_model->edit(text, std::move(after));
        return text;
    }

    // What is there.

    void compare() {
        const ModelState& now = m_model->now();
        ASSERT_EQ(stateIn(*m_database), now) << "database";
        ASSERT_EQ(onGlobe(), now.objects) << "globe";
        compareTree(now);
        compareTable(now);
        QStringList menu = m_model->undoTexts();
        if (!menu.isEmpty()) {
            menu << QString() << "取消";
        }
        ASSERT_EQ(menuTexts(), menu) << "menu";
        ASSERT_EQ(m_host.button("撤销").isEnabled(), m_model->undoable() > 0);
        ASSERT_EQ(m_host.button("重做").isEnabled(), m_model->redoable() > 0);
    }
    void compareTree(const ModelState& now) {
        std::size_t entries = 0;
        for (int group = 1; group < tree().topLevelItemCount(); ++group) {
            const QTreeWidgetItem* root = tree().topLevelItem(group);
            for (int i = 0; i < root->childCount(); ++i, ++entries) {
                const auto object = now.objects.find(root->child(i)->text(0));
                ASSERT_NE(object, now.objects.end()) << root->child(i)->text(0).toStdString();
                ASSERT_EQ(root->child(i)->data(0, Qt::UserRole).toLongLong(), object->second.id);
                ASSERT_EQ(root->child(i)->data(0, Qt::UserRole + 1).toInt(), object->second.type);
            }
        }
        ASSERT_EQ(entries, now.objects.size()) << "tree";
    }
    /// The table, of the stations that it shows: an undo of several steps shows all that it has changed.
    void compareTable(const ModelState& now) {
        constexpr int kStation = 16;
        const QAbstractItemModel& rows = *table().model();
        std::map<QString, qint64> shown;
        if (const KV_StationItem& current = *anomalies().GetCurrentItem(); current.GetStationId() != 0) {
            shown[fromGbk(current.m_station.m_name)] = 0;
        }
        for (int row = 0; row < rows.rowCount(); ++row) {
            const auto anomaly = now.anomalies.find(rows.index(row, 0).data(Qt::EditRole).toString());
            ASSERT_NE(anomaly, now.anomalies.end());
            ASSERT_EQ(rows.index(row, 6).data(Qt::EditRole).toString(), anomaly->second.attribute);
            ++shown[rows.index(row, kStation).data().toString()];
        }
        for (const auto& [station, count] : shown) {
            const auto stored = m_database->queryRecord(
                "select count(*) as n from anomaly a join station s on s.id=a.station_id "
                "where s.name=? and a.is_deleted=0",
                {toGbk(station)});
            ASSERT_EQ(count, numberOf(stored[0], "n")) << "table";
        }
    }
    std::map<QString, ModelObject> onGlobe() {
        std::map<QString, ModelObject> objects;
        const auto enter = [&](const auto& map, int type, auto level) {
            for (const auto& [group, record] : map) {
                if (group->getNumParents() > 0) {
                    const QString name = fromGbk(record.GetName());
                    const auto stored = m_model->now().objects.find(name);
                    // A record that was drawn in this run does not know its id.
                    const qint64 id = record.m_id != 0 || stored == m_model->now().objects.end()
                                          ? record.m_id
                                          : stored->second.id;
                    EXPECT_EQ(objects.count(name), 0U) << "twice: " << name.toStdString();
                    objects[name] = {type, id, fromGbk(record.m_attribute), level(record)};
                }
            }
        };
        const auto ofRegion = [](const Special_Region& region) { return region.m_level; };
        enter(scene().getPipePoints(), KV_SPECIAL_POINT, [](const Special_Point&) { return 0; });
        enter(scene().getPipeAreas(), KV_SPECIAL_AREA, ofRegion);
        enter(scene().getPipePolygons(), KV_HIGH_CONSEQUENCE_AREA, ofRegion);
        return objects;
    }
    QStringList menuTexts() {
        QStringList texts;
        for (const QAction* action : m_host.button("撤销").menu()->actions()) {
            texts << action->text();
        }
        return texts;
    }

    // Helpers.

    void moveTo(const QString& databaseUrl) {
        InspectionContext::instance().closeProject();
        if (!databaseUrl.isEmpty()) {
            // On a server a name has at most 768 characters.
            KV_MySQL((m_folder + "/inspection.db").toStdString())
                .execute("delete from anomaly where length(name)>768");
            auto project = inspection::Project::open(m_folder).value();
            const auto moved = inspection::moveDatabase(project, databaseUrl, {});
            ASSERT_TRUE(moved) << moved.error().message.toStdString();
        }
        restart();
        m_database = std::make_unique<KV_MySQL>(
            InspectionContext::instance().project()->description().databaseUrl().toStdString());
    }
    int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    /// Names come back after they were deleted.
    QString freeName() {
        for (;;) {
            const QString name = QString("名'%1😀").arg(below(60));
            if (m_model->now().objects.count(name) == 0) {
                return name;
            }
        }
    }
    QString someObject() {
        const auto& objects = m_model->now().objects;
        return objects.empty() ? QString()
                               : std::next(objects.begin(), below(static_cast<int>(objects.size())))->first;
    }
    /// Of a station that the table is made to show.
    std::vector<SdiffData> someAnomalies() {
        showStation(below(3));
        std::vector<SdiffData> some = anomalies().GetCurrentItem()->m_diffData.m_anomalies;
        std::shuffle(some.begin(), some.end(), m_random);
        some.resize(some.empty() ? 0 : static_cast<std::size_t>(1 + below(static_cast<int>(some.size()))));
        return some;
    }
    static Special_Polygon madeRegion(const QString& name, int type) {
        Special_Polygon region(toGbk(name), {114.0, 30.7, 50.0});
        region.m_type = type;
        region.m_vertices = {{114.0, 30.7, 1.0 / 3.0}, {114.001, 30.7, 50.0}, {114.001, 30.701, 50.0}};
        return region;
    }
    osg::Group* putOnGlobe(const char* kind) {
        auto* group = new osg::Group;
        group->setName(kind);
        m_host.globe->getMapNode()->addChild(group);
        return group;
    }
    template<typename Map>
    static osg::Group* groupIn(const Map& map, const QString& name) {
        for (const auto& [group, record] : map) {
            if (group->getNumParents() > 0 && record.GetName() == toGbk(name)) {
                return group.get();
            }
        }
        return nullptr;
    }
    QTreeWidgetItem* entryOf(const QString& name) const {
        return tree().findItems(name, Qt::MatchExactly | Qt::MatchCaseSensitive | Qt::MatchRecursive).at(0);
    }
    static StationWindow& stations() { return *InspectionContext::instance().GetStationWindow(); }
    static AVWindow& anomalies() { return *InspectionContext::instance().GetAVWindow(); }
    static OsgDataSet& scene() {
        return dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    }

    std::mt19937 m_random;
    std::unique_ptr<KV_MySQL> m_database;
    std::unique_ptr<EditModel> m_model;
    std::map<QString, int> m_count;
};

TEST_F(RandomEdits, OnSqliteEverythingIsWhatTheModelSays) {
    run(QString(), 20261122U);
}

TEST_F(RandomEdits, OnMariaDbEverythingIsWhatTheModelSays) {
    run(MariaDbServer::instance().newDatabase(), 20261123U);
}

} // namespace
