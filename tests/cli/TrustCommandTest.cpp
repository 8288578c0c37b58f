// A project that somebody else has made, opened by the commands.

#include "CorridorRun.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

class TrustCommandTest : public testing::Test {
protected:
    TrustCommandTest() {
        EXPECT_TRUE(QDir().mkpath(m_project.beside("elsewhere")));
        EXPECT_TRUE(QFile::rename(m_project.file("new/dsm.tif"), m_project.beside("elsewhere/dsm.tif")));
        QFile json(m_project.file("project.json"));
        EXPECT_TRUE(json.open(QIODevice::ReadOnly));
        const QByteArray text = json.readAll().replace("new/dsm.tif", "../elsewhere/dsm.tif");
        json.close();
        writeBytes(json.fileName(), text);
    }

    SmallProject m_project;
};

TEST_F(TrustCommandTest, EveryCommandRefusesInOneLine) {
    const QString folder = m_project.folder();
    const QString out = m_project.beside("out.pdf");
    for (const QStringList& arguments :
         {QStringList{"compute", folder}, QStringList{"report", folder, "--out", out},
          QStringList{"shape", folder, "--out", out}, QStringList{"info", folder},
          QStringList{"check", folder},
          QStringList{"import", folder, "--points", m_project.file("centerline.gpkg")},
          QStringList{"project", "set", folder, "--name", "a"},
          QStringList{"project", "add-epoch", folder, m_project.file("old/dsm.tif")},
          QStringList{"project", "remove-epoch", folder, "2024-05-18"},
          QStringList{"project", "set-database", folder, "other.db"}}) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        expectFailure(corridor(arguments), 1, "corridor project trust");
        EXPECT_FALSE(QFileInfo::exists(m_project.file("inspection.db")));
        EXPECT_FALSE(QFileInfo::exists(out));
    }
}

TEST_F(TrustCommandTest, WhatIsTrustedIsToldAndRemembered) {
    const QStringList look{"project", "trust", m_project.folder(), "--dry-run"};
    const QString place = m_project.beside("elsewhere");
    EXPECT_EQ(corridor(look).output, QStringLiteral("读取文件夹 %1\n").arg(place));
    EXPECT_EQ(corridor(look).output, QStringLiteral("读取文件夹 %1\n").arg(place))
        << "looking agrees to nothing";
    EXPECT_EQ(corridor({"project", "trust", m_project.folder()}).output,
              QStringLiteral("读取文件夹 %1\n").arg(place));
    EXPECT_EQ(corridor(look).output, QStringLiteral("没有尚未信任的位置\n"));
    EXPECT_EQ(corridor({"compute", m_project.folder()}).status, 0);
}

TEST_F(TrustCommandTest, ConsentThatCannotBeKeptIsAFailure) {
    const QString settings = m_project.beside("settings");
    writeBytes(settings, "no folder");
    const auto withoutSettings = [&settings] { qputenv("XDG_CONFIG_HOME", settings.toLocal8Bit()); };
    const CorridorRun run = corridor({"project", "trust", m_project.folder()}, withoutSettings);
    expectFailure(run, 1, "无法写入");
}

TEST_F(TrustCommandTest, WhatIsMadeHereIsTrusted) {
    const QString made = m_project.beside("made");
    ASSERT_EQ(corridor({"project", "create", made, "--epoch", "2024-05-18=" + m_project.file("old/dsm.tif"),
                        "--epoch", "2025-05-20=" + m_project.beside("elsewhere/dsm.tif")})
                  .status,
              0);
    EXPECT_EQ(corridor({"compute", made}).status, 0);
    EXPECT_EQ(corridor({"project", "set-database", made, m_project.beside("elsewhere/own.db")}).status, 0);
    EXPECT_EQ(corridor({"check", made}).status, 0);
}

} // namespace
