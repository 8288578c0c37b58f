#include "workbench/inspection/creation/SettingsConfirmPage.h"

#include "workbench/inspection/creation/SettingsWish.h"
#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace inspection {

namespace {

/// The lines that tell what the wish changes. Any thread.
Result<QStringList> effectLines(const PresentProject& present, const AmendmentWish& wish) {
    const auto amendment = planAmendment(present.description, present.stations, wish);
    if (!amendment) {
        return failed(amendment);
    }
    const auto database = PipelineDatabase::open(present.description, Project::Access::ReadOnly);
    if (!database) {
        return failed(database);
    }
    const auto effect = effectOf(*amendment, *(*database)->GetMySQL());
    if (!effect) {
        return failed(effect);
    }
    return changeTexts(present.description, *amendment, *effect) + amendment->notes;
}

} // namespace

SettingsConfirmPage::SettingsConfirmPage(ProjectDraft& draft, const PresentProject& present, QWidget* parent)
    : DraftPage(draft, parent), m_present(present), m_name(new QLineEdit(present.description.name)),
      m_changes(new QLabel) {
    setFocusProxy(m_name);
    m_name->setObjectName("projectName");
    m_changes->setObjectName("settingsChanges");
    m_changes->setWordWrap(true);
    m_changes->setTextFormat(Qt::PlainText);
    m_changes->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_changes->setFocusPolicy(Qt::NoFocus);
    auto* form = new QFormLayout;
    form->addRow(tr("项目名称"), m_name);
    auto* box = new QGroupBox(tr("将要进行的更改"));
    auto* inside = new QVBoxLayout(box);
    inside->addWidget(m_changes, 1);
    m_changes->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addLayout(form);
    column->addWidget(box, 1);
    connect(m_name, &QLineEdit::textEdited, this, &SettingsConfirmPage::refresh);
    connect(&draft, &ProjectDraft::changed, this, &SettingsConfirmPage::refresh);
}

AmendmentWish SettingsConfirmPage::wish() const {
    return settingsWish(m_present, m_draft.wish(), m_name->text().trimmed());
}

QString SettingsConfirmPage::problem() const {
    return m_isCounting ? tr("正在核对更改…") : m_problem;
}

void SettingsConfirmPage::showEvent(QShowEvent* event) {
    DraftPage::showEvent(event);
    refresh();
}

void SettingsConfirmPage::refresh() {
    if (!isVisible() || m_draft.isReading()) {
        return;
    }
    m_isCounting = true;
    m_reader.ask([this, present = m_present, wish = wish()] {
        const auto lines = effectLines(present, wish);
        return [this, lines] {
            showEffect(lines.value_or(QStringList()), lines ? QString() : lines.error().userMessage);
        };
    });
    emit changed();
}

void SettingsConfirmPage::showEffect(const QStringList& lines, const QString& problem) {
    m_isCounting = false;
    m_problem = problem.isEmpty() && lines.isEmpty() ? tr("没有更改") : problem;
    QString text;
    for (const QString& line : lines) {
        text += (text.isEmpty() ? QStringLiteral("• ") : QStringLiteral("\n• ")) + line;
    }
    m_changes->setText(text.isEmpty() ? tr("无") : text);
    emit changed();
}

} // namespace inspection
