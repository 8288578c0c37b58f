// Files that are dropped on an open project, and its epochs by menu and keys.

#include "workbench/app/EpochDesk.h"
#include "tests/app/DropFiles.h"
#include "tests/app/MessageBoxes.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/AddEpochDialog.h"
#include "workbench/inspection/creation/ImportDialog.h"
#include "workbench/inspection/creation/NewProjectDialog.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeWidget>

#include <functional>

namespace {

using inspection::AddEpochDialog;
using inspection::ImportDialog;
using inspection::NewProjectDialog;

/// The main window over a small project with a computed pair.
class EpochDeskTest : public testing::Test {
protected:
    EpochDeskTest() {
        m_window.resize(1000, 680);
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
        m_window.desk().open(m_files.folder());
        SmallProject::writeHeights(third(), SmallProject::newHeight);
    }

    QString third() const { return m_files.beside("20260525.tif"); }
    /// Acts on the modal dialog of this name as soon as it is there.
    void whenShown(const QString& name, const std::function<void(QWidget&)>& act) {
        QTimer::singleShot(5, &m_window, [this, name, act] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (dialog && dialog->objectName() == name) {
                act(*dialog);
            } else {
                whenShown(name, act);
            }
        });
    }
    void answerQuestion(const char* button) {
        whenShown("dropQuestion", [button](QWidget& question) {
            QTest::mouseClick(question.findChild<QPushButton*>(button), Qt::LeftButton);
        });
    }
    AddEpochDialog* adding() const { return m_window.findChild<AddEpochDialog*>("addEpochDialog"); }
    ImportDialog* importing() const { return m_window.findChild<ImportDialog*>("importDialog"); }
    QPushButton* addButton() const { return adding()->findChild<QPushButton*>("addEpoch"); }
    QString problem() const { return adding()->findChild<QLabel*>("epochProblem")->text(); }
    QLineEdit* field(const char* name) const {
        QWidget* widget = adding()->findChild<QWidget*>(name);
        auto* edit = qobject_cast<QLineEdit*>(widget);
        return edit ? edit : widget->findChild<QLineEdit*>();
    }
    bool waitForReading() const {
        return waitUntil([this] { return adding() && addButton()->isEnabled() && problem().isEmpty(); });
    }
    static void type(QLineEdit* edit, const QString& text) {
        edit->window()->activateWindow();
        edit->setFocus();
        EXPECT_TRUE(waitUntil([edit] { return edit->hasFocus(); }));
        edit->selectAll();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Tab);
    }
    static const inspection::ProjectDescription& project() {
        return InspectionContext::instance().project()->description();
    }
    QStringList entries(const char* box) const {
        const auto* combo = m_window.findChild<QComboBox*>(box);
        QStringList texts;
        for (int i = 0; i < combo->count(); ++i) {
            texts << combo->itemText(i);
        }
        return texts;
    }
    QTreeWidgetItem* firstStation() const {
        return m_window.findChild<QTreeWidget*>("stationTree")->topLevelItem(0)->child(0);
    }
    /// Chooses an entry of the project menu by the mouse.
    void chooseInMenu(const QString& text) {
        auto* button = m_window.findChild<QToolButton*>("openProject");
        QMenu* menu = button->menu();
        QTimer::singleShot(0, menu, [menu, text] {
            for (QAction* action : menu->actions()) {
                if (action->text() == text) {
                    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
                    return;
                }
            }
            ADD_FAILURE() << "no entry " << text.toStdString();
            menu->close();
        });
        menu->exec(button->mapToGlobal(QPoint(0, button->height())));
    }

    SmallProject m_files;
    MessageBoxes m_boxes;
    MainWindow m_window;
};

TEST_F(EpochDeskTest, ARasterThatIsDroppedBecomesAnEpochOfTheOpenProject) {
    firstStation()->setCheckState(0, Qt::Checked);
    answerQuestion("addAsEpoch");
    ASSERT_TRUE(dropFiles(m_window, {third(), m_files.file("new/dom.tif")}));
    ASSERT_TRUE(waitForReading());
    EXPECT_EQ(field("surface")->text(), third());
    EXPECT_EQ(field("epochDate")->placeholderText(), "自动：2026-05-25");
    type(field("epochDate"), "2026-06-01");
    ASSERT_TRUE(waitForReading());
    QTest::mouseClick(addButton(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return project().epochs.size() == 3U && !adding(); }));
    EXPECT_EQ(project().epochs.back().date, "2026-06-01");
    EXPECT_EQ(entries("epochs"), QStringList({"2024-05-18", "2025-05-20", "2026-06-01"}));
    EXPECT_EQ(m_window.findChild<QComboBox*>("epochs")->currentText(), "2025-05-20") << "what was shown";
    EXPECT_EQ(entries("pairs").size(), 3);
    EXPECT_EQ(m_window.findChild<QComboBox*>("pairs")->currentText(), "2025-05-20 → 2026-06-01");
    EXPECT_EQ(firstStation()->checkState(0), Qt::Checked) << "the session goes on";
    EXPECT_TRUE(m_boxes.texts.isEmpty()) << m_boxes.texts.join(' ').toStdString();
}

TEST_F(EpochDeskTest, AChosenPairStaysWhenAnEpochComes) {
    ASSERT_FALSE(InspectionContext::instance().setComparedPair(project().pair()).has_value());
    m_window.desk().epochs().add({third()});
    ASSERT_TRUE(waitForReading());
    QTest::keyClick(addButton(), Qt::Key_Space);
    ASSERT_TRUE(waitUntil([] { return project().epochs.size() == 3U; }));
    EXPECT_TRUE(waitUntil([this] { return !adding(); }));
}

TEST_F(EpochDeskTest, SeveralFlightsComeOneAfterTheOther) {
    SmallProject::writeHeights(m_files.beside("20260801.tif"), SmallProject::newHeight);
    m_window.desk().epochs().add({m_files.beside("20260801.tif"), third()});
    ASSERT_TRUE(waitForReading());
    EXPECT_TRUE(adding()->findChild<QLabel*>("epochFacts")->text().contains("随后还有 1 期"));
    EXPECT_EQ(field("surface")->text(), third()) << "the older one first";
    QTest::mouseClick(addButton(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([] { return project().epochs.size() == 3U; }));
    ASSERT_TRUE(waitForReading());
    QTest::mouseClick(addButton(), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return project().epochs.size() == 4U && !adding(); }));
}

TEST_F(EpochDeskTest, ACopyComesIntoTheFolderAndIsShown) {
    m_window.desk().epochs().add({third()});
    ASSERT_TRUE(waitForReading());
    QTest::mouseClick(adding()->findChild<QRadioButton*>("copiesFiles"), Qt::LeftButton, {}, QPoint(8, 8));
    ASSERT_TRUE(waitForReading());
    QTest::mouseClick(addButton(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([] { return project().epochs.size() == 3U; }));
    EXPECT_EQ(project().epochs.back().dsm, m_files.file("epochs/2026-05-25/dsm/20260525.tif"));
}

TEST_F(EpochDeskTest, WhatCannotBeAnEpochIsToldInTheForm) {
    m_window.desk().epochs().add({m_files.file("new/dom.tif")});
    ASSERT_TRUE(waitUntil([this] { return problem().contains("请选择"); })) << problem().toStdString();
    EXPECT_EQ(field("epochPicture")->text(), m_files.file("new/dom.tif"));
    EXPECT_FALSE(addButton()->isEnabled());
    type(field("surface"), m_files.beside("missing.tif"));
    EXPECT_TRUE(waitUntil([this] { return problem().contains("文件不存在"); })) << problem().toStdString();
    EXPECT_FALSE(addButton()->isEnabled());
    ASSERT_TRUE(dropFiles(*adding(), {third()}));
    type(field("surface"), third());
    ASSERT_TRUE(waitForReading());
    QTest::keyClick(adding(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !adding(); }));
    EXPECT_EQ(project().epochs.size(), 2U);
}

TEST_F(EpochDeskTest, TheQuestionCanBeAnsweredWithANewProjectOrWithNothing) {
    answerQuestion("cancelDrop");
    ASSERT_TRUE(dropFiles(m_window, {third()}));
    EXPECT_FALSE(waitUntil([this] { return adding() != nullptr; }, 300));
    answerQuestion("makeProject");
    ASSERT_TRUE(dropFiles(m_window, {third()}));
    const auto dialog = [this] { return m_window.findChild<NewProjectDialog*>("newProjectDialog"); };
    ASSERT_TRUE(waitUntil([&] { return dialog() != nullptr; }));
    EXPECT_EQ(dialog()->findChild<QTreeWidget*>("epochRows")->topLevelItemCount(), 1);
    dialog()->reject();
    EXPECT_TRUE(waitUntil([&] { return dialog() == nullptr; }));
    EXPECT_EQ(project().epochs.size(), 2U);
}

TEST_F(EpochDeskTest, EpochsComeAndGoByMenuAndKeys) {
    m_window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
    QTest::keyClick(&m_window, Qt::Key_E, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return adding() != nullptr; }));
    type(field("surface"), third());
    ASSERT_TRUE(waitForReading());
    QTest::keyClick(adding(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return project().epochs.size() == 3U && !adding(); }));
    whenShown("removeEpochDialog", [](QWidget& dialog) {
        QTest::keyClick(dialog.findChild<QListWidget*>("epochList"), Qt::Key_End);
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    chooseInMenu("移除期次…");
    EXPECT_EQ(project().epochs.size(), 2U);
    EXPECT_EQ(entries("epochs"), QStringList({"2024-05-18", "2025-05-20"}));
    EXPECT_EQ(entries("pairs").size(), 1);
    EXPECT_TRUE(QFile::exists(third()));
    whenShown("removeEpochDialog", [](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
    chooseInMenu("移除期次…");
    EXPECT_TRUE(m_boxes.texts.value(0).contains("至少需要两期")) << m_boxes.texts.join(' ').toStdString();
}

TEST_F(EpochDeskTest, UndatedEpochsAreToldApartByTheirFiles) {
    for (const char* name : {"a", "b"}) {
        ASSERT_TRUE(QDir().mkpath(m_files.beside(name)));
        const QString file = m_files.beside(QString(name) + "/dsm.tif");
        SmallProject::writeHeights(file, SmallProject::newHeight);
        m_window.desk().epochs().add({file});
        ASSERT_TRUE(waitForReading());
        QTest::mouseClick(addButton(), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return !adding(); }));
    }
    EXPECT_EQ(entries("epochs"),
              QStringList({"2024-05-18", "2025-05-20", "后期（a/dsm.tif）", "后期（b/dsm.tif）"}));
    EXPECT_EQ(entries("pairs")[0], "后期（a/dsm.tif） → 后期（b/dsm.tif）");
}

TEST_F(EpochDeskTest, VectorFilesThatAreDroppedComeIntoTheImport) {
    VectorLayer points;
    points.epsg = 4547;
    points.columns = {"name"};
    points.rows = {{"POINT (500050 3400040)", "阀室"}, {"POINT EMPTY", "没有"}};
    VectorLayer areas;
    areas.epsg = 4547;
    areas.columns = {"name"};
    areas.rows = {{"POLYGON ((500010 3400010,500050 3400010,500050 3400050,500010 3400010))", "学校"}};
    writeVectorFile(m_files.beside("points.gpkg"), "GPKG", {points});
    writeVectorFile(m_files.beside("高后果区.gpkg"), "GPKG", {areas});
    ASSERT_TRUE(dropFiles(m_window, {m_files.beside("points.gpkg"), m_files.beside("高后果区.gpkg")}));
    ASSERT_TRUE(waitUntil([this] { return importing() != nullptr; }));
    auto* file = importing()->findChild<QWidget*>("importFile")->findChild<QLineEdit*>();
    auto* kind = importing()->findChild<QComboBox*>("importType");
    auto* import = importing()->findChild<QPushButton*>("import");
    auto* outcome = importing()->findChild<QPlainTextEdit*>("importOutcome");
    EXPECT_EQ(file->text(), m_files.beside("points.gpkg"));
    EXPECT_EQ(kind->currentText(), "特殊点");
    QTest::mouseClick(import, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return file->text() == m_files.beside("高后果区.gpkg"); }));
    EXPECT_TRUE(outcome->toPlainText().contains("导入 1 个特殊点，拒绝 1 行"))
        << outcome->toPlainText().toStdString();
    EXPECT_EQ(kind->currentText(), "高后果区");
    QTest::keyClick(importing(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return outcome->toPlainText().contains("导入 1 个高后果区"); }));
    QTest::keyClick(importing(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !importing(); }));
    const QList<QTreeWidgetItem*> shown = m_window.findChild<QTreeWidget*>("stationTree")
                                              ->findItems("阀室", Qt::MatchContains | Qt::MatchRecursive);
    EXPECT_EQ(shown.size(), 1);
}

TEST_F(EpochDeskTest, AProjectThatCanOnlyBeReadTakesNoEpoch) {
    InspectionContext::instance().closeProject();
    const auto elsewhere = inspection::Project::open(m_files.folder());
    m_window.desk().open(m_files.folder());
    m_boxes.texts.clear();
    m_window.desk().epochs().add({third()});
    EXPECT_EQ(adding(), nullptr);
    ASSERT_EQ(m_boxes.texts.size(), 1);
    EXPECT_TRUE(m_boxes.texts[0].contains("只读"));
}

} // namespace
