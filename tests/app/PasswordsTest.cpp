// The password of a server's address is stored in project.json, and is nowhere else to be found.

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/StationWindow.h"
#include "tests/app/MessageBoxes.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/SmallProject.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/LocalSettings.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QFile>
#include <QLabel>
#include <QMutex>
#include <QStatusBar>
#include <QTest>

namespace {

constexpr auto kPassword = "very-secret";

/// Everything that is logged while this lives.
class Log {
public:
    Log() {
        lines().clear();
        m_former = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            const QMutexLocker lock(&mutex());
            lines() << text;
        });
    }
    ~Log() { qInstallMessageHandler(m_former); }
    static QString text() {
        const QMutexLocker lock(&mutex());
        return lines().join('\n');
    }

private:
    static QMutex& mutex() {
        static QMutex mutex;
        return mutex;
    }
    static QStringList& lines() {
        static QStringList lines;
        return lines;
    }
    QtMessageHandler m_former;
};

QString shownIn(const QWidget& window) {
    QStringList all{window.windowTitle()};
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        all << widget->windowTitle() << widget->toolTip();
        if (const auto* label = qobject_cast<const QLabel*>(widget)) {
            all << label->text();
        } else if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            all << button->text();
        }
    }
    return all.join('\n');
}

QByteArray bytesOf(const QString& file) {
    QFile source(file);
    EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << file.toStdString();
    return source.readAll();
}

/// A small project whose tables lie on a server, for a user with a password.
class Passwords : public testing::Test {
protected:
    Passwords() {
        m_name = m_server.newDatabase().section('/', 3).section('?', 0, 0);
        m_server.run(
            QStringLiteral("create or replace user 'walker'@'localhost' identified by '%1'").arg(kPassword));
        m_server.run("grant all on " + m_name + ".* to 'walker'@'localhost'");
        auto project = inspection::Project::open(m_files.folder());
        EXPECT_TRUE(project);
        EXPECT_TRUE(project->setDatabase(m_server.address(m_name, "walker", kPassword)));
        EXPECT_TRUE(project->setBaseLayers(
            {{"底图", QStringLiteral("http://me:%1@127.0.0.1:1/{z}/{x}/{y}.png?key=%1").arg(kPassword)}}));
        EXPECT_TRUE(bytesOf(m_files.file("project.json")).contains(kPassword));
    }
    ~Passwords() override { m_server.start(); }

    MariaDbServer& m_server = MariaDbServer::instance();
    QString m_name;
    SmallProject m_files;
};

TEST_F(Passwords, AreNeitherShownNorLoggedNorSigned) {
    const Log log;
    MessageBoxes boxes;
    MainWindow window;
    window.resize(1000, 680);
    window.showStartPage();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.desk().open(m_files.folder());
    InspectionContext& context = InspectionContext::instance();
    ASSERT_NE(context.project(), nullptr) << boxes.texts.join('\n').toStdString();
    Special_Point point(toGbk("点"), osg::Vec3d(114.0, 30.7, 50.0));
    ASSERT_TRUE(context.GetStationWindow()->AddPointNode(point));
    EXPECT_EQ(m_server.run("select count(*) from edit_history where inspector<>''", m_name),
              QStringList{"1"});
    EXPECT_FALSE(m_server.run("select concat(inspector, description, changes) from edit_history", m_name)
                     .join('\n')
                     .contains(kPassword));
    QString shown = shownIn(window);
    m_server.stop();
    point = Special_Point(toGbk("另一点"), osg::Vec3d(114.0, 30.7, 50.0));
    context.GetStationWindow()->AddPointNode(point); // and is told that nobody answers
    shown += shownIn(window);
    context.closeProject();
    window.desk().open(m_files.folder());
    window.showStartPage();
    shown += shownIn(window) + boxes.texts.join('\n');
    EXPECT_TRUE(shown.contains("walker")) << "the failed opening names the address";
    EXPECT_FALSE(shown.contains(kPassword)) << shown.toStdString();
    EXPECT_FALSE(Log::text().contains(kPassword)) << Log::text().toStdString();
    inspection::LocalSettings settings;
    settings.sync();
    EXPECT_FALSE(bytesOf(settings.fileName()).contains(kPassword));
}

} // namespace
