#include "tests/app/SampleProject.h"
#include "tests/support/WaitUntil.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "workbench/app/MainWindow.h"
#include "workbench/inspection/context/InspectionContext.h"

#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>

/// What the desktop is asked to open.
class OpenedFiles : public QObject {
    Q_OBJECT

public:
    OpenedFiles() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~OpenedFiles() override { QDesktopServices::unsetUrlHandler("file"); }

    QStringList paths;

public slots:
    void open(const QUrl& url) { paths << url.toLocalFile(); }
};

namespace {

class StatusLineTest : public ::testing::Test {
protected:
    StatusLineTest() {
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
        EXPECT_FALSE(m_window.openProject(m_project.folder()).has_value());
        m_window.loadPlugin(TOOL_PLUGIN);
    }

    static StationWindow& stations() { return *InspectionContext::instance().GetStationWindow(); }
    QWidget& notice() const { return *m_window.findChild<QWidget*>("notice"); }
    QString text() const {
        return notice().isVisible() ? notice().findChild<QLabel*>("noticeText")->text() : QString();
    }
    QStringList choices() const {
        QStringList texts;
        for (const QToolButton* button : notice().findChildren<QToolButton*>()) {
            if (button->isVisible()) {
                texts << button->text();
            }
        }
        return texts;
    }
    void choose(const QString& choice) const {
        for (QToolButton* button : notice().findChildren<QToolButton*>()) {
            if (button->isVisible() && button->text() == choice) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
        FAIL() << choice.toStdString();
    }
    static bool isThere(const char* name) { return stations().isReiterated_node(QString::fromUtf8(name)); }

    SampleProject m_project{1024};
    MainWindow m_window;
};

TEST_F(StatusLineTest, ADeletedObjectComesBackByTheUndoBesideTheWord) {
    ASSERT_TRUE(stations().AddPointNode(Special_Point(toGbk("一号阀室"), {109.0, 34.0, 400.0})));
    EXPECT_EQ(text(), "已添加特殊点 一号阀室");
    ASSERT_TRUE(stations().DeleteNode("一号阀室", KV_SPECIAL_POINT));
    EXPECT_EQ(text(), "已删除特殊点 一号阀室");
    EXPECT_EQ(choices(), QStringList("撤销"));
    choose("撤销");
    EXPECT_TRUE(isThere("一号阀室"));
    EXPECT_EQ(text(), QString()) << "what was undone is no longer offered";
}

TEST_F(StatusLineTest, AnUndoByTheKeysTakesTheOfferAway) {
    ASSERT_TRUE(stations().AddPointNode(Special_Point(toGbk("一号阀室"), {109.0, 34.0, 400.0})));
    m_window.activateWindow();
    ASSERT_TRUE(waitUntil([this] { return m_window.isActiveWindow(); }));
    QTest::keyClick(&m_window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([] { return !isThere("一号阀室"); }));
    EXPECT_EQ(text(), QString());
}

TEST_F(StatusLineTest, WhatWasWrittenCanBeOpenedFromThere) {
    OpenedFiles opened;
    const QString folder = m_project.file("outputs");
    InspectionContext::instance().setOutputFolder(folder);
    stations().OutPutShap();
    ASSERT_TRUE(waitUntil([this] { return text().startsWith("shape 已输出"); }));
    EXPECT_EQ(choices(), QStringList("打开文件夹"));
    choose("打开文件夹");
    EXPECT_EQ(opened.paths, QStringList(folder + "/shape"));
    EXPECT_EQ(text(), QString());

    stations().OutPutReport();
    ASSERT_TRUE(waitUntil([this] { return text() == "报告已输出：report.pdf"; }));
    choose("打开");
    EXPECT_EQ(opened.paths.last(), folder + "/report.pdf");
    EXPECT_TRUE(QFileInfo::exists(opened.paths.last()));
}

TEST_F(StatusLineTest, TheGuideOpensWithItsChaptersPicturesAndASearch) {
    m_window.activateWindow();
    ASSERT_TRUE(waitUntil([this] { return m_window.isActiveWindow(); }));
    QTest::keyClick(&m_window, Qt::Key_F1);
    auto* guide = m_window.findChild<QDialog*>("guide");
    ASSERT_NE(guide, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(guide));
    auto* contents = guide->findChild<QTreeWidget*>("guideContents");
    auto* shown = guide->findChild<QTextBrowser*>("guideText");
    const QList<QTreeWidgetItem*> chapters = contents->findItems("影像对比", Qt::MatchExactly);
    ASSERT_EQ(chapters.size(), 1);
    contents->setCurrentItem(chapters.front());
    EXPECT_EQ(shown->textCursor().block().text(), "影像对比");
    EXPECT_LT(std::abs(shown->cursorRect().top()), 10) << "the chapter begins at the top";

    const QVariant picture =
        shown->loadResource(QTextDocument::ImageResource, QUrl("images/walk-new-stations.jpg"));
    EXPECT_FALSE(picture.value<QImage>().isNull());

    auto* search = guide->findChild<QLineEdit*>("guideSearch");
    search->setText("不存在的词");
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_FALSE(shown->textCursor().hasSelection());
    search->setText("距管道中心线");
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_EQ(shown->textCursor().selectedText(), "距管道中心线");
}

} // namespace

#include "StatusLineTest.moc"
