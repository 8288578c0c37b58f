#pragma once

#include "workbench/inspection/creation/DraftPage.h"
#include "workbench/inspection/images/LatestRead.h"
#include "workbench/inspectiondata/amendment/Amendment.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"

#include <QStringList>

class QLabel;
class QLineEdit;

namespace inspection {

/// The name of a project, and what will be other than before.
class SettingsConfirmPage : public DraftPage {
    Q_OBJECT

public:
    SettingsConfirmPage(ProjectDraft& draft, const PresentProject& present, QWidget* parent = nullptr);

    QString title() const override { return tr("确认"); }
    QString problem() const override;
    AmendmentWish wish() const;

signals:
    void changed();

protected:
    void showEvent(QShowEvent* event) override;

private:
    /// Works out the effect while the page is shown.
    void refresh();
    void showEffect(const QStringList& lines, const QString& problem);

    const PresentProject m_present;
    QLineEdit* m_name;
    QLabel* m_changes;
    QString m_problem;
    bool m_isCounting = false;
    LatestRead m_reader;
};

} // namespace inspection
