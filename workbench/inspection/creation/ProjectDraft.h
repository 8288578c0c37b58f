#pragma once

#include "workbench/inspection/creation/PlanReading.h"
#include "workbench/inspection/images/LatestRead.h"

#include <QObject>

#include <functional>
#include <memory>

namespace inspection {

/// The wish for a project while the user makes it, read beside the GUI thread as it changes. GUI thread.
class ProjectDraft : public QObject {
    Q_OBJECT

public:
    explicit ProjectDraft(QObject* parent = nullptr);

    const NewProject& wish() const { return m_wish; }
    /// The newest reading; of an older wish while isReading.
    const PlanReading& reading() const { return *m_reading; }
    bool isReading() const { return m_readRevision != m_revision; }

    void change(const std::function<void(NewProject&)>& edit);
    /// Surface models, orthophotos or folders of them; those that are there already are left out.
    void addEpochs(const QStringList& files);
    void setCenterline(const QString& file);
    /// The surface model that names where the next file dialog begins; empty when there is none.
    QString anyFile() const;

signals:
    /// The wish or its reading.
    void changed();
    /// Nothing is being read any more.
    void settled();

private:
    void take(std::shared_ptr<const PlanReading> reading, quint64 revision);

    NewProject m_wish;
    std::shared_ptr<const PlanReading> m_reading;
    quint64 m_revision = 0;
    quint64 m_readRevision = 0;
    LatestRead m_reader;
};

} // namespace inspection
