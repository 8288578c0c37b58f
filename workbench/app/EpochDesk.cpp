#include "workbench/app/EpochDesk.h"

#include "host/style/myMessageBox.h"
#include "workbench/app/RemoveEpochDialog.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/AddEpochDialog.h"
#include "workbench/inspection/creation/ImportDialog.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"

#include <QMenu>

using inspection::AddEpochDialog;
using inspection::ImportDialog;
using inspection::ProjectDescription;
using inspection::Result;
using inspection::Verdicts;

namespace {

const ProjectDescription& openProject() {
    return InspectionContext::instance().project()->description();
}

Result<ProjectDescription> addToOpenProject(inspection::MadeEpoch& made) {
    if (auto done = InspectionContext::instance().addEpoch(made); !done) {
        return inspection::failed(done);
    }
    return openProject();
}

} // namespace

bool EpochDesk::isWritable() {
    const InspectionContext& context = InspectionContext::instance();
    const QString problem = !context.project()    ? tr("请先打开项目")
                            : context.isWorking() ? tr("请等待正在进行的工作完成，或先取消它")
                                                  : context.readOnlyReason();
    if (!problem.isEmpty()) {
        tell(problem, myMessageBox::Warning);
    }
    return problem.isEmpty();
}

void EpochDesk::add(const QStringList& files) {
    if (!isWritable()) {
        return;
    }
    m_adding = new AddEpochDialog(openProject(), addToOpenProject, &m_window);
    connect(m_adding, &AddEpochDialog::dropped, this, &EpochDesk::dropped);
    connect(m_adding, &AddEpochDialog::added, this, [this](const QString& title, const QStringList& notes) {
        if (!notes.isEmpty()) {
            tell(tr("已添加期次 %1：\n").arg(title) + notes.join('\n'), myMessageBox::Information);
        }
    });
    m_adding->open();
    if (!files.isEmpty()) {
        m_adding->addFiles(files);
    }
}

void EpochDesk::remove() {
    if (!isWritable()) {
        return;
    }
    RemoveEpochDialog dialog(openProject(), &m_window);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    const auto done = InspectionContext::instance().removeEpoch(dialog.key(), Verdicts::Keep);
    if (!done && openProject().epochs.size() > 2) {
        removeWithVerdicts(dialog.key(), done.error().userMessage);
    } else if (!done) {
        tell(done.error().userMessage, myMessageBox::Warning);
    }
}

void EpochDesk::removeWithVerdicts(const QString& key, const QString& problem) {
    constexpr int kConfirmed = 0;
    const QString question = problem + tr("\n\n仍要移除吗？不能撤销。");
    if (myMessageBox::showMyMessageBox(&m_window, tr("移除期次"), question, myMessageBox::Question,
                                       myMessageBox::YesNo) != kConfirmed) {
        return;
    }
    if (const auto done = InspectionContext::instance().removeEpoch(key, Verdicts::Remove); !done) {
        tell(done.error().userMessage, myMessageBox::Warning);
    }
}

void EpochDesk::import(const QStringList& files) {
    if (!isWritable()) {
        return;
    }
    m_importing = new ImportDialog(openProject(), &m_window);
    connect(m_importing, &ImportDialog::imported, &InspectionContext::instance(),
            &InspectionContext::showImported);
    m_importing->addFiles(files);
    m_importing->open();
}

bool EpochDesk::takeDropped(const QStringList& rasters, const QStringList& vectors) {
    if (m_adding && m_adding->isVisible()) {
        m_adding->addFiles(rasters);
        return true;
    }
    if (m_importing && m_importing->isVisible()) {
        m_importing->addFiles(vectors);
        return true;
    }
    return false;
}

void EpochDesk::fillMenu(QMenu& menu) {
    const bool hasProject = InspectionContext::instance().project() != nullptr;
    const auto addAction = [&](const QString& text, const QKeySequence& keys, const auto& triggered) {
        QAction* action = menu.addAction(text, this, triggered);
        action->setShortcut(keys); // to be seen; the window's own shortcuts work without the menu, too
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setEnabled(hasProject);
    };
    addAction(tr("添加期次…"), Qt::CTRL | Qt::Key_E, [this] { add(); });
    addAction(tr("移除期次…"), {}, [this] { remove(); });
    addAction(tr("导入特殊对象…"), Qt::CTRL | Qt::Key_I, [this] { import(); });
}

void EpochDesk::tell(const QString& text, int type) {
    myMessageBox::showMyMessageBox(&m_window, tr("提示"), text, type, myMessageBox::Ok);
}
