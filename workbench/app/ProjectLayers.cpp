#include "workbench/app/ProjectLayers.h"

#include "workbench/inspectiondata/project/BaseLayer.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/viewer/GlobeMap.h"

#include <algorithm>
#include <utility>

using inspection::Epoch;

namespace {

void note(QStringList& problems, const std::optional<std::string>& problem) {
    if (problem) {
        problems << QString::fromStdString(*problem);
    }
}

GlobeMap::Reading readingOf(const QString& raster) {
    return inspection::leadsToServer(raster) ? GlobeMap::Reading::Patient : GlobeMap::Reading::AtOnce;
}

} // namespace

QStringList ProjectLayers::show(const inspection::ProjectDescription& project) {
    clear();
    return update(project);
}

QStringList ProjectLayers::update(const inspection::ProjectDescription& project) {
    const Epochs before = std::exchange(m_epochs, project.epochs);
    QStringList problems;
    for (const Epoch& epoch : before) {
        if (!hasPicture(m_epochs, epoch.dom)) {
            m_map.removeLayer(imageryName(epoch));
        }
    }
    for (const Epoch& epoch : m_epochs) {
        if (!epoch.dom.isEmpty() && !hasPicture(before, epoch.dom)) {
            note(problems,
                 m_map.addImagery(imageryName(epoch), epoch.dom.toStdString(), readingOf(epoch.dom)));
        }
    }
    setImageryOpacity(m_imageryOpacity);
    m_shown = m_shown < 0 ? -1 : placeOf(before[static_cast<std::size_t>(m_shown)]);
    if (m_shown < 0) {
        return problems + showEpoch(static_cast<int>(m_epochs.size()) - 1);
    }
    showImagery();
    return problems;
}

QStringList ProjectLayers::showEpoch(int index) {
    QStringList problems;
    if (index < 0 || index >= static_cast<int>(m_epochs.size()) || index == m_shown) {
        return problems;
    }
    m_shown = index;
    const QString& surface = m_epochs[static_cast<std::size_t>(index)].dsm;
    note(problems, m_map.showTerrain(surface.toStdString(), readingOf(surface)));
    showImagery();
    return problems;
}

void ProjectLayers::compareWith(int index) {
    const auto nameAt = [this](int place) {
        const bool isThere = place >= 0 && place < static_cast<int>(m_epochs.size());
        return isThere ? imageryName(m_epochs[static_cast<std::size_t>(place)]) : std::string();
    };
    const std::string other = nameAt(index);
    m_map.compareImagery(other.empty() ? other : nameAt(m_shown), other);
}

void ProjectLayers::showImagery() {
    const QString& shown = m_epochs[static_cast<std::size_t>(m_shown)].dom;
    for (const Epoch& epoch : m_epochs) {
        m_map.setImageryVisible(imageryName(epoch), epoch.dom == shown);
    }
}

int ProjectLayers::placeOf(const Epoch& epoch) const {
    const auto same = std::find_if(m_epochs.begin(), m_epochs.end(), [&epoch](const Epoch& other) {
        return other.dsm == epoch.dsm && other.dom == epoch.dom;
    });
    return same == m_epochs.end() ? -1 : static_cast<int>(same - m_epochs.begin());
}

bool ProjectLayers::hasPicture(const Epochs& epochs, const QString& dom) {
    return std::any_of(epochs.begin(), epochs.end(), [&dom](const Epoch& epoch) { return epoch.dom == dom; });
}

void ProjectLayers::setImageryOpacity(double opacity) {
    m_imageryOpacity = opacity;
    for (const Epoch& epoch : m_epochs) {
        m_map.setImageryOpacity(imageryName(epoch), static_cast<float>(opacity));
    }
}

QStringList ProjectLayers::troubles() const {
    QStringList lines;
    const auto note = [&lines](const QString& raster, const std::string& cause) {
        if (!cause.empty()) {
            lines << QStringLiteral("%1 无法读取：%2")
                         .arg(raster, inspection::baseLayerTrouble(QString::fromStdString(cause)));
        }
    };
    for (const Epoch& epoch : m_epochs) {
        note(epoch.dom, m_map.imageryTrouble(imageryName(epoch)));
    }
    if (m_shown >= 0) {
        note(m_epochs[static_cast<std::size_t>(m_shown)].dsm, m_map.terrainTrouble());
    }
    return lines;
}

void ProjectLayers::clear() {
    for (const Epoch& epoch : m_epochs) {
        m_map.removeLayer(imageryName(epoch));
    }
    m_map.clearTerrain();
    m_epochs.clear();
    m_shown = -1;
}

std::string ProjectLayers::imageryName(const Epoch& epoch) {
    return "orthophoto " + epoch.dom.toStdString();
}
