#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/MenuEntry.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

namespace {

using inspection::AnomalyColumn;

/// How sure the results are, from the parameters to the single anomaly.
class UncertaintyWalk : public WalkTest {
protected:
    /// Does the steps in the modal window of that name as soon as it is there.
    static void inDialog(const char* name, const std::function<void(QDialog&)>& steps) {
        auto* watch = new QTimer(qApp);
        QObject::connect(watch, &QTimer::timeout, watch, [watch, name, steps] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (dialog && dialog->objectName() == name) {
                watch->deleteLater();
                steps(*dialog);
            }
        });
        watch->start(10);
    }
    template<typename Widget>
    static void click(const QWidget& window, const char* name) {
        auto* widget = window.findChild<Widget*>(name);
        ASSERT_TRUE(widget) << name;
        QTest::mouseClick(widget, Qt::LeftButton, {}, {10, widget->height() / 2});
    }
    void setParameters() {
        inDialog("parameterDialog", [this](QDialog& dialog) {
            click<QToolButton>(dialog, "advanced");
            auto* method = dialog.findChild<QComboBox*>("coregister");
            method->setFocus();
            QTest::keyClick(method, Qt::Key_Home);
            keepPicture("parameters");
            click<QPushButton>(dialog, "confirm");
        });
        clickTool("参数设置");
    }
    void clickAccountLine() {
        bool isSeen = false;
        inDialog("accountDialog", [&](QDialog& dialog) {
            isSeen = true;
            EXPECT_LE(dialog.height(), window().screen()->availableSize().height());
            m_account = dialog.findChild<QLabel*>("accountReason")->text();
            keepPicture("account");
            click<QPushButton>(dialog, "close");
        });
        QTest::mouseClick(window().findChild<QToolButton*>("accountLine"), Qt::LeftButton);
        EXPECT_TRUE(waitUntil([&] { return isSeen; }));
    }
    /// Chooses an entry of the menu that opens by `open`.
    void choose(const QString& entry, const std::function<void()>& open) {
        auto* watch = new QTimer(qApp);
        bool isChosen = false;
        QObject::connect(watch, &QTimer::timeout, watch, [&isChosen, watch, entry] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) {
                return;
            }
            for (QAction* action : menu->actions()) {
                if (action->text() == entry) {
                    watch->deleteLater();
                    isChosen = true;
                    clickEntry(*menu, *action);
                    return;
                }
            }
        });
        watch->start(10);
        open();
        EXPECT_TRUE(isChosen) << entry.toStdString();
    }
    void chooseInHead(const QString& column) {
        choose(column, [this] {
            QWidget* head = table().horizontalHeader()->viewport();
            const QPoint at(30, head->height() / 2);
            QContextMenuEvent press(QContextMenuEvent::Mouse, at, head->mapToGlobal(at));
            QApplication::sendEvent(head, &press);
        });
    }

    const SampleProject m_sample{4096};
    QString m_account;
};

TEST_F(UncertaintyWalk, FromTheParametersToTheSingleAnomaly) {
    open(m_sample.folder());
    EXPECT_FALSE(window().findChild<QToolButton*>("accountLine")->isVisible());
    setParameters();
    tickAllStations();
    computeAnomalies();
    EXPECT_TRUE(window().findChild<QToolButton*>("accountLine")->isVisible());
    clickAccountLine();
    EXPECT_FALSE(m_account.isEmpty()) << "why the automatic co-registration did what it did";

    clickStation(0);
    chooseInHead("体积标准差(m³)");
    EXPECT_FALSE(table().isColumnHidden(AnomalyColumn::VolumeSigma));
    const QString first = rows().value(0);
    doubleClickRow(first);
    EXPECT_TRUE(window().findChild<QLabel*>("imageCaption")->text().contains(" ± "));
    keepPicture("uncertainty");
    const auto all = rows().size();
    click<QCheckBox>(window(), "significanceFilter");
    EXPECT_LE(rows().size(), all);
    EXPECT_FALSE(rows().isEmpty());

    const QString before = m_account;
    close();
    open(m_sample.folder());
    EXPECT_FALSE(table().isColumnHidden(AnomalyColumn::VolumeSigma)) << "remembered";
    m_account.clear();
    clickAccountLine();
    EXPECT_EQ(m_account, before);
    m_account.clear();
    inDialog("accountDialog", [&](QDialog& dialog) {
        m_account = dialog.findChild<QLabel*>("accountReason")->text();
        click<QPushButton>(dialog, "close");
    });
    auto* project = window().findChild<QToolButton*>("openProject");
    choose("配准与筛选…", [&] { project->showMenu(); });
    EXPECT_TRUE(waitUntil([&] { return m_account == before; }));
}

} // namespace
