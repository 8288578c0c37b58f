// Names that somebody else has written are shown as they are; what looks like mark-up in them is not taken for it.

#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"
#include "workbench/app/BaseLayerDialog.h"
#include "workbench/app/DropQuestion.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/RemoveEpochDialog.h"
#include "workbench/app/TrustDialog.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/MissingFilesDialog.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QTest>
#include <QTextDocument>

namespace {

using namespace inspection;

constexpr auto kName = "<b>名";

/// What a tool tip shows of a text: it must not be a letter less.
QString shownByToolTip(const QString& text) {
    if (!Qt::mightBeRichText(text)) {
        return text;
    }
    QTextDocument document;
    document.setHtml(text);
    return document.toPlainText();
}

class Markup {
public:
    /// Looks at all that the window and what is in it may show, and counts the texts with the name in them.
    int namesShownIn(const QWidget& window) {
        m_count = 0;
        look(window);
        for (const QWidget* widget : window.findChildren<QWidget*>()) {
            look(*widget);
        }
        return m_count;
    }

private:
    void look(const QWidget& widget) {
        lookAtToolTip(widget.toolTip());
        if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
            const bool isTaken = label->textFormat() != Qt::PlainText && Qt::mightBeRichText(label->text());
            EXPECT_FALSE(isTaken) << label->text().toStdString();
            m_count += label->text().contains(kName) ? 1 : 0;
        } else if (const auto* view = qobject_cast<const QAbstractItemView*>(&widget)) {
            lookAtRows(view->model(), {});
        } else if (const auto* box = qobject_cast<const QComboBox*>(&widget)) {
            lookAtRows(box->model(), {});
        }
    }
    void lookAtRows(const QAbstractItemModel* model, const QModelIndex& parent) {
        for (int row = 0; model && row < model->rowCount(parent); ++row) {
            for (int column = 0; column < model->columnCount(parent); ++column) {
                lookAtToolTip(model->index(row, column, parent).data(Qt::ToolTipRole).toString());
            }
            lookAtRows(model, model->index(row, 0, parent));
        }
    }
    void lookAtToolTip(const QString& text) {
        const bool hasName = text.contains(kName) || text.contains(QString(kName).toHtmlEscaped());
        EXPECT_TRUE(!hasName || shownByToolTip(text).contains(kName)) << text.toStdString();
        m_count += hasName ? 1 : 0;
    }

    int m_count = 0;
};

class PlainNames : public testing::Test {
protected:
    PlainNames() {
        QFile json(m_files.file("project.json"));
        EXPECT_TRUE(json.open(QIODevice::ReadOnly));
        QByteArray text = json.readAll();
        json.close();
        text.replace("试验管道", kName);
        text.replace("2024-05-18", "2024-05-18 <b>名");
        text.replace("old/dsm.tif", "old/<b>名.tif");
        text.replace("\"remark\"", R"("base_layers": [{"name": "<b>名", "source": "<b>名.tif"}], "remark")");
        writeBytes(json.fileName(), text);
        EXPECT_TRUE(QFile::rename(m_files.file("old/dsm.tif"), m_files.file("old/<b>名.tif")));
        const auto project = Project::open(m_files.folder());
        EXPECT_TRUE(project);
        const auto database = PipelineDatabase::open(project->description(), Project::Access::Exclusive);
        EXPECT_TRUE(database);
        ComputationRequest request;
        request.project = project->description();
        EXPECT_TRUE(computeAnomalies(request));
        const ForeignConnection rows(m_files.file("inspection.db"));
        rows.run("update station set name='<b>名'");
        rows.run("update anomaly set attribute='<b>名', name=name || '<b>名'");
    }

    SmallProject m_files;
    Markup m_markup;
};

TEST_F(PlainNames, InTheMainWindow) {
    MainWindow window;
    window.resize(1200, 760);
    window.showStartPage();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.desk().open(m_files.folder());
    zeo::EngineContext::instance().SetStatusTip(kName);
    emit InspectionContext::instance().edited(kName);
    EXPECT_GT(m_markup.namesShownIn(window), 8);
    window.showStartPage();
    EXPECT_GT(m_markup.namesShownIn(window), 0);
    InspectionContext::instance().closeProject();
}

TEST_F(PlainNames, InTheQuestionsAboutAProject) {
    const auto project = Project::open(m_files.folder());
    ASSERT_TRUE(project);
    ProjectDescription description = project->description();
    EXPECT_GT(m_markup.namesShownIn(RemoveEpochDialog(description, nullptr)), 0);
    EXPECT_GT(m_markup.namesShownIn(BaseLayerDialog(description.baseLayers, kName, nullptr)), 0);
    EXPECT_GT(m_markup.namesShownIn(DropQuestion(2, description.name, nullptr)), 0);
    EXPECT_GT(m_markup.namesShownIn(TrustDialog(kName, {{ForeignPlace::Use::Read, kName}}, nullptr)), 0);
    description.epochs.front().dsm += kName;
    EXPECT_GT(m_markup.namesShownIn(MissingFilesDialog(description, nullptr)), 0);
}

} // namespace
