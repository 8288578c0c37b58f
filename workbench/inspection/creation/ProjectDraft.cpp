#include "workbench/inspection/creation/ProjectDraft.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QFileInfo>

#include <algorithm>

namespace inspection {

ProjectDraft::ProjectDraft(QObject* parent)
    : QObject(parent), m_reading(std::make_shared<const PlanReading>()) {
    connect(&m_reader, &LatestRead::finished, this, &ProjectDraft::settled);
}

void ProjectDraft::change(const std::function<void(NewProject&)>& edit) {
    edit(m_wish);
    ++m_revision;
    m_reader.ask([this, wish = m_wish, before = m_reading, revision = m_revision] {
        auto reading = std::make_shared<const PlanReading>(readPlan(wish, *before));
        return [this, reading, revision] { take(reading, revision); };
    });
    emit changed();
}

void ProjectDraft::take(std::shared_ptr<const PlanReading> reading, quint64 revision) {
    m_reading = std::move(reading);
    m_readRevision = revision;
    if (!isReading()) {
        m_wish = m_reading->wish;
    }
    emit changed();
}

void ProjectDraft::addEpochs(const QStringList& files) {
    change([&files](NewProject& wish) {
        for (const QString& file : files) {
            const QString path = absoluteRaster(file);
            const bool isThere =
                std::any_of(wish.epochs.begin(), wish.epochs.end(), [&](const NewEpoch& epoch) {
                    return epoch.surface == path || epoch.picture == path;
                });
            if (!isThere) {
                wish.epochs.push_back({{}, path, {}});
            }
        }
    });
}

void ProjectDraft::setCenterline(const QString& file) {
    change([&file](NewProject& wish) {
        if (file.isEmpty()) {
            wish.centerline.reset();
            return;
        }
        CenterlineSource source = wish.centerline.value_or(CenterlineSource());
        source.file = file;
        source.isOwn = false;
        source.layer.clear();
        wish.centerline = source;
    });
}

QString ProjectDraft::anyFile() const {
    return m_wish.epochs.empty() ? QString() : m_wish.epochs.front().surface;
}

} // namespace inspection
