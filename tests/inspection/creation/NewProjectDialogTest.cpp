#include "workbench/inspection/creation/NewProjectDialog.h"
#include "tests/support/FileDialogAnswer.h"
#include "tests/support/SmallProject.h"
#include "tests/support/Typing.h"
#include "tests/support/VectorFile.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspection/creation/PlanPreview.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeWidget>
#include <QWindow>

namespace {

using namespace inspection;

/// The dialog over a window, driven by mouse and keys.
class NewProjectDialogTest : public testing::Test {
protected:
    NewProjectDialogTest() {
        m_window.resize(1000, 700);
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
        m_dialog = new NewProjectDialog(&m_window);
        QObject::connect(m_dialog, &NewProjectDialog::created, &m_window,
                         [this](const QString& folder, const QStringList& notes) {
                             m_created = folder;
                             m_notes = notes;
                         });
        m_dialog->open();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_dialog));
        VectorLayer line;
        line.name = "line";
        line.epsg = 4547;
        line.columns = {"name"};
        line.rows = {{"LINESTRING (499950 3400040,500250 3400040)", "甲线"}};
        writeVectorFile(m_line, "GPKG", {line});
        SmallProject::writeHeights(m_older, SmallProject::oldHeight);
        SmallProject::writeHeights(m_newer, SmallProject::newHeight);
    }

    template<class Widget>
    Widget& find(const char* name) const {
        Widget* widget = m_dialog->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return *widget;
    }
    void click(const char* button) const {
        QAbstractButton& pressed = find<QAbstractButton>(button);
        ASSERT_TRUE(pressed.isEnabled()) << button << ": " << problem().toStdString();
        QTest::mouseClick(&pressed, Qt::LeftButton, {}, QPoint(8, pressed.height() / 2));
    }
    void clickAndChoose(const char* button, const QStringList& files) const {
        const FileDialogAnswer answer(files);
        click(button);
        EXPECT_TRUE(answer.isAnswered());
    }
    /// The line of the field that is called so.
    QLineEdit& line(const char* name) const {
        auto* edit = m_dialog->findChild<QLineEdit*>(name);
        return edit ? *edit : *find<QWidget>(name).findChild<QLineEdit*>();
    }
    void type(const char* name, const QString& text) const {
        QTest::mouseClick(&line(name), Qt::LeftButton);
        line(name).selectAll();
        QTest::keyClick(&line(name), Qt::Key_Backspace);
        ::type(&line(name), text);
    }
    QString problem() const { return find<QLabel>("pageProblem").text(); }
    int page() const { return m_dialog->findChild<QStackedWidget*>()->currentIndex(); }
    bool waitForPage(int wanted) const {
        return waitUntil([this, wanted] { return page() == wanted; });
    }
    bool waitForProblem(const QString& words) const {
        return waitUntil([this, &words] { return problem().contains(words); });
    }
    void goToConfirmation() {
        m_dialog->addFiles({m_older, m_newer}, m_line);
        for (int next = 1; next <= 3; ++next) {
            click("next");
            ASSERT_TRUE(waitForPage(next)) << problem().toStdString();
        }
    }

    SmallProject m_files;
    const QString m_older = m_files.beside("20240518.tif");
    const QString m_newer = m_files.beside("20250520.tif");
    const QString m_line = m_files.beside("line.gpkg");
    const QString m_target = m_files.beside("target/甲线");
    QMainWindow m_window;
    QPointer<NewProjectDialog> m_dialog;
    QString m_created;
    QStringList m_notes;
};

TEST_F(NewProjectDialogTest, AProjectIsMadeByMouse) {
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    clickAndChoose("addEpochFiles", {m_newer, m_older});
    ASSERT_TRUE(waitUntil([this] { return find<QPushButton>("next").isEnabled() && problem().isEmpty(); }));
    auto& rows = find<QTreeWidget>("epochRows");
    ASSERT_EQ(rows.topLevelItemCount(), 2);
    EXPECT_EQ(rows.topLevelItem(0)->text(0), "2024-05-18");
    EXPECT_EQ(rows.topLevelItem(0)->text(2), "EPSG:4547");
    EXPECT_EQ(rows.topLevelItem(0)->text(3), "0.5 m");
    click("next");
    ASSERT_TRUE(waitForPage(1));
    {
        const FileDialogAnswer answer({m_line});
        auto* browse = find<QWidget>("centerlineFile").findChild<QPushButton*>();
        QTest::mouseClick(browse, Qt::LeftButton);
    }
    ASSERT_TRUE(waitUntil([this] { return find<QLabel>("pipelineSummary").text().contains("0.300 km"); }));
    click("isTurned");
    ASSERT_TRUE(
        waitUntil([this] { return find<PlanPreview>("planPreview").sketch().line.value(0).x() > 500200.0; }));
    click("next");
    ASSERT_TRUE(waitForPage(2));
    find<QDoubleSpinBox>("stationLength").selectAll();
    QTest::keyClicks(&find<QDoubleSpinBox>("stationLength"), "50");
    click("next");
    ASSERT_TRUE(waitForPage(3));
    EXPECT_EQ(line("projectName").text(), "甲线");
    EXPECT_TRUE(line("projectFolder").text().endsWith("甲线"));
    type("projectFolder", m_target);
    click("next");
    ASSERT_TRUE(waitUntil([this] { return !m_created.isEmpty(); })) << problem().toStdString();
    EXPECT_EQ(m_created, m_target);
    EXPECT_TRUE(m_notes.isEmpty());
    const auto project = Project::open(m_target);
    ASSERT_TRUE(project) << "it is closed again, so that a session can open it";
    EXPECT_EQ(project->description().name, QStringLiteral("甲线"));
    EXPECT_EQ(project->description().oldEpoch().dsm, m_older);
    EXPECT_TRUE(waitUntil([this] { return m_dialog.isNull(); })) << "it goes when it is done";
}

TEST_F(NewProjectDialogTest, AProjectIsMadeByKeysAlone) {
    m_dialog->addFiles({m_older, m_newer}, {});
    QTest::keyClick(m_dialog, Qt::Key_Tab); // into the window, as after a click on its title
    QWidget* next = &find<QPushButton>("next");
    next->setFocus();
    QTest::keyClick(next, Qt::Key_Return);
    ASSERT_TRUE(waitForPage(1)) << problem().toStdString();
    ASSERT_EQ(m_dialog->focusWidget(), &line("centerlineFile")) << "the first field of a page has the focus";
    ::type(m_dialog->focusWidget(), m_line);
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(waitForPage(2)) << "Enter takes what was typed and goes on";
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(waitForPage(3));
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(m_dialog->focusWidget(), &line("projectFolder"));
    line("projectFolder").selectAll();
    ::type(m_dialog->focusWidget(), m_target);
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !m_created.isEmpty(); })) << problem().toStdString();
    const auto project = Project::open(m_target);
    ASSERT_TRUE(project);
    EXPECT_EQ(project->description().epochs.size(), 2U);
}

TEST_F(NewProjectDialogTest, TheWindowStandsOverItsParentAndFitsASmallScreen) {
    EXPECT_EQ(m_dialog->windowHandle()->transientParent(), m_window.windowHandle());
    EXPECT_LE(m_dialog->minimumSizeHint().width(), 1280);
    EXPECT_LE(m_dialog->height(), 760);
    EXPECT_LE(m_dialog->minimumSizeHint().height(), 760);
}

TEST_F(NewProjectDialogTest, EscapeClosesItAndNothingWasMade) {
    goToConfirmation();
    type("projectFolder", m_target);
    QTest::keyClick(m_dialog, Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return m_dialog.isNull(); }));
    EXPECT_FALSE(QFileInfo::exists(m_target));
}

TEST_F(NewProjectDialogTest, ABadEpochIsToldOnItsPageAndTheWayOnIsClosed) {
    const QString text = m_files.beside("notes.txt");
    writeBytes(text, "no raster");
    clickAndChoose("addEpochFiles", {m_older, text});
    ASSERT_TRUE(waitForProblem("notes.txt"));
    EXPECT_EQ(page(), 0);
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    EXPECT_FALSE(find<QToolButton>("step1").isEnabled());
    auto& rows = find<QTreeWidget>("epochRows");
    for (int i = 0; i < rows.topLevelItemCount(); ++i) {
        const bool isBad = rows.topLevelItem(i)->text(1).contains("notes.txt");
        EXPECT_EQ(rows.topLevelItem(i)->text(0) == "无法使用", isBad) << i;
        if (isBad) {
            rows.setCurrentItem(rows.topLevelItem(i));
        }
    }
    click("removeEpoch");
    ASSERT_TRUE(waitForProblem("两期"));
    EXPECT_EQ(rows.topLevelItemCount(), 1);
}

TEST_F(NewProjectDialogTest, ADateIsEnteredAndAWrongOneIsTold) {
    m_dialog->addFiles({m_files.file("new/dsm.tif"), m_files.file("old/dsm.tif")}, {});
    auto& rows = find<QTreeWidget>("epochRows");
    ASSERT_TRUE(
        waitUntil([&] { return rows.topLevelItemCount() == 2 && rows.topLevelItem(1)->text(0) == "未知"; }));
    rows.setCurrentItem(rows.topLevelItem(1));
    click("moveEpochUp");
    ASSERT_TRUE(waitUntil([&] { return rows.topLevelItem(0)->text(1) == "old/dsm.tif"; }));
    EXPECT_EQ(rows.currentItem(), rows.topLevelItem(0)) << "the row that was moved stays chosen";
    type("epochDate", "2024-13-01");
    QTest::keyClick(&line("epochDate"), Qt::Key_Tab);
    ASSERT_TRUE(waitForProblem("2024-13-01"));
    type("epochDate", "2024-05-18");
    QTest::keyClick(&line("epochDate"), Qt::Key_Tab);
    ASSERT_TRUE(
        waitUntil([&] { return rows.topLevelItem(0)->text(0) == "2024-05-18" && problem().isEmpty(); }));
}

TEST_F(NewProjectDialogTest, AReferenceSystemThatIsNoneIsToldOnTheFirstPage) {
    m_dialog->addFiles({m_older, m_newer}, {});
    type("projectReference", "EPSG:4326");
    QTest::keyClick(&line("projectReference"), Qt::Key_Tab);
    ASSERT_TRUE(waitForProblem("EPSG:4326"));
    EXPECT_EQ(page(), 0);
}

TEST_F(NewProjectDialogTest, ABadLineIsToldOnThePageOfThePipeline) {
    m_dialog->addFiles({m_older, m_newer}, m_older);
    click("next");
    ASSERT_TRUE(waitForPage(1));
    ASSERT_TRUE(waitForProblem("20240518.tif"));
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    click("back");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(problem(), QString()) << "it is no problem of the epochs";
}

TEST_F(NewProjectDialogTest, AWrongChainageIsToldAndAGoodOneIsTaken) {
    m_dialog->addFiles({m_older, m_newer}, m_line);
    click("next");
    ASSERT_TRUE(waitForPage(1));
    type("startChainage", "abc");
    QTest::keyClick(&line("startChainage"), Qt::Key_Tab);
    ASSERT_TRUE(waitForProblem("abc"));
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    type("startChainage", "K12+500");
    QTest::keyClick(&line("startChainage"), Qt::Key_Tab);
    ASSERT_TRUE(waitUntil([this] { return find<QLabel>("pipelineSummary").text().contains("K12+500"); }));
    EXPECT_EQ(problem(), QString());
}

TEST_F(NewProjectDialogTest, OfSeveralLinesTheUserChoosesTheLayer) {
    VectorLayer a;
    a.name = "a";
    a.epsg = 4547;
    a.rows = {{"LINESTRING (500000 3400010,500200 3400010)"}};
    VectorLayer b = a;
    b.name = "b";
    b.rows = {{"LINESTRING (500000 3400070,500200 3400070)"}};
    writeVectorFile(m_files.beside("two.gpkg"), "GPKG", {a, b});
    m_dialog->addFiles({m_older, m_newer}, m_files.beside("two.gpkg"));
    click("next");
    ASSERT_TRUE(waitForPage(1));
    ASSERT_TRUE(waitForProblem("多个图层"));
    auto& layers = find<QComboBox>("centerlineLayer");
    ASSERT_TRUE(layers.isVisible());
    layers.setFocus();
    QTest::keyClick(&layers, Qt::Key_Down);
    QTest::keyClick(&layers, Qt::Key_Down);
    ASSERT_TRUE(waitUntil([this] {
        return find<PlanPreview>("planPreview").sketch().line.value(0) == QPointF(500000, 3400070);
    }));
    EXPECT_EQ(problem(), QString());
}

TEST_F(NewProjectDialogTest, ALineFarFromTheDataIsToldOnThePageOfTheStations) {
    VectorLayer far;
    far.epsg = 4547;
    far.rows = {{"LINESTRING (520000 3400000,530000 3400000)"}};
    writeVectorFile(m_files.beside("far.gpkg"), "GPKG", {far});
    m_dialog->addFiles({m_older, m_newer}, m_files.beside("far.gpkg"));
    click("next");
    ASSERT_TRUE(waitForPage(1));
    click("next");
    ASSERT_TRUE(waitForPage(2));
    ASSERT_TRUE(waitForProblem("20 km"));
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    type("stationsFile", m_files.beside("nowhere.gpkg"));
    QTest::keyClick(&line("stationsFile"), Qt::Key_Tab);
    ASSERT_TRUE(waitForProblem("nowhere.gpkg"));
}

TEST_F(NewProjectDialogTest, AFolderThatHoldsSomethingIsToldOnTheLastPage) {
    goToConfirmation();
    type("projectFolder", m_files.folder());
    QTest::keyClick(&line("projectFolder"), Qt::Key_Tab);
    ASSERT_TRUE(waitForProblem("不是空的"));
    EXPECT_FALSE(find<QPushButton>("next").isEnabled());
    type("projectName", " ");
    ASSERT_TRUE(waitForProblem("项目名称"));
}

TEST_F(NewProjectDialogTest, ObjectsThatCannotBeReadEndTheCreationOnTheLastPageAndLeaveNothing) {
    goToConfirmation();
    type("projectFolder", m_target);
    const QString text = m_files.beside("notes.txt");
    writeBytes(text, "no objects");
    clickAndChoose("addPoints", {text});
    EXPECT_EQ(find<QTreeWidget>("objectRows").topLevelItemCount(), 1);
    click("next");
    ASSERT_TRUE(waitForProblem("notes.txt"));
    EXPECT_EQ(page(), 3);
    EXPECT_TRUE(m_created.isEmpty());
    EXPECT_EQ(
        QDir(m_files.beside("target")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList());
    find<QTreeWidget>("objectRows").setCurrentItem(find<QTreeWidget>("objectRows").topLevelItem(0));
    click("removeObjects");
    click("next");
    EXPECT_TRUE(waitUntil([this] { return !m_created.isEmpty(); })) << problem().toStdString();
}

TEST_F(NewProjectDialogTest, ObjectsAreBroughtInAndTheUserHearsOfRowsThatWereRefused) {
    VectorLayer points;
    points.epsg = 4547;
    points.columns = {"name"};
    points.rows = {{"POINT (500020 3400040)", "阀室"}, {"POINT (500040 3400040)", "阀室"}};
    writeVectorFile(m_files.beside("points.gpkg"), "GPKG", {points});
    goToConfirmation();
    type("projectFolder", m_target);
    clickAndChoose("addPoints", {m_files.beside("points.gpkg")});
    click("next");
    ASSERT_TRUE(waitUntil([this] { return !m_created.isEmpty(); })) << problem().toStdString();
    ASSERT_EQ(m_notes.size(), 1);
    EXPECT_TRUE(m_notes[0].contains("points.gpkg"));
}

/// Presses a button as soon as a widget is shown.
class PressOnShow : public QObject {
public:
    PressOnShow(QWidget& shown, QWidget& pressed) : m_pressed(pressed) { shown.installEventFilter(this); }

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Show) {
            QTest::mouseClick(&m_pressed, Qt::LeftButton);
        }
        return false;
    }

private:
    QWidget& m_pressed;
};

TEST_F(NewProjectDialogTest, CancelDuringTheCreationLeavesNothingAndTheDialogStays) {
    goToConfirmation();
    type("projectFolder", m_target);
    click("copiesFiles");
    {
        const PressOnShow cancel(find<QProgressBar>("creationProgress"), find<QPushButton>("cancel"));
        click("next");
        ASSERT_TRUE(waitForProblem("已取消"));
    }
    EXPECT_TRUE(m_created.isEmpty());
    EXPECT_EQ(
        QDir(m_files.beside("target")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList());
    ASSERT_FALSE(m_dialog.isNull());
    EXPECT_EQ(page(), 3);
    click("next");
    ASSERT_TRUE(waitUntil([this] { return !m_created.isEmpty(); })) << problem().toStdString();
    EXPECT_TRUE(QFileInfo::exists(m_target + "/epochs/2024-05-18"))
        << "the second time it is made, with its files";
}

} // namespace
