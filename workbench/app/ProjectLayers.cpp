#include "workbench/app/ProjectLayers.h"

#include "detect/heights/SurfaceModel.h"
#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>

#include <algorithm>
#include <cmath>
#include <utility>

using inspection::Epoch;

namespace {

void note(QStringList& problems, const std::optional<std::string>& problem) {
    if (problem) {
        problems << QString::fromStdString(*problem);
    }
}

// Centre and half diagonal of a raster on the ground.
struct Footprint {
    osgEarth::GeoPoint centre;
    double radiusMetres = 0.0;
};

osg::Vec3d cellPosition(const detect::Grid& grid, double column, double row) {
    const detect::Point map = grid.cellToMap()(column, row);
    return {map.x, map.y, 0.0};
}

std::optional<Footprint> footprintOf(const QString& file) {
    auto surface = detect::SurfaceModel::open(file.toStdString());
    if (!surface) {
        return std::nullopt;
    }
    const detect::Grid& grid = surface->grid();
    char* definition = nullptr;
    grid.srs().exportToWkt(&definition);
    const osg::ref_ptr<const osgEarth::SpatialReference> srs =
        osgEarth::SpatialReference::get(definition ? definition : "");
    CPLFree(definition);
    if (!srs) {
        return std::nullopt;
    }

    const double column = grid.columns() / 2.0;
    const double row = grid.rows() / 2.0;
    osgEarth::GeoPoint centre(srs.get(), cellPosition(grid, column, row));
    const osgEarth::GeoPoint corner(srs.get(), cellPosition(grid, 0.0, 0.0));
    const float height = surface->at(grid.columns() / 2, grid.rows() / 2);
    centre.z() = std::isnan(height) ? 0.0 : double{height};
    const osgEarth::SpatialReference* geographic = srs->getGeographicSRS();
    return Footprint{centre.transform(geographic),
                     centre.transform(geographic).distanceTo(corner.transform(geographic))};
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
            note(problems, m_map.addImagery(imageryName(epoch), epoch.dom.toStdString()));
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
    note(problems, m_map.showTerrain(m_epochs[static_cast<std::size_t>(index)].dsm.toStdString()));
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

std::optional<osgEarth::Viewpoint> ProjectLayers::overview(double aspect) const {
    if (m_epochs.empty()) {
        return std::nullopt;
    }
    const std::optional<Footprint> footprint = footprintOf(m_epochs.back().dsm);
    if (!footprint) {
        return std::nullopt;
    }
    constexpr double kPitchDegrees = -50.0;
    constexpr double kLeastRangePerRadius = 2.7;    // of pictures wider than 1.55 times their height
    constexpr double kRangePerRadiusOfSquare = 4.2; // with a little room at both ends
    const double rangePerRadius = std::max(kLeastRangePerRadius, kRangePerRadiusOfSquare / aspect);
    return osgEarth::Viewpoint("overview", footprint->centre.x(), footprint->centre.y(),
                               footprint->centre.z(), 0.0, kPitchDegrees,
                               rangePerRadius * footprint->radiusMetres);
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
