#include "workbench/inspection/tree/SpecialObjectsToCome.h"

#include "workbench/inspection/scene/SpecialObjectNodes.h"

#include <QElapsedTimer>

#include <utility>

namespace inspection {

namespace {

constexpr std::size_t kMostAtOnce = 300;
constexpr qint64 kMostMilliseconds = 20; ///< until the window can answer again

} // namespace

SpecialObjectsToCome::SpecialObjectsToCome(SpecialObjectNodes& nodes, QObject* parent)
    : QObject(parent), m_nodes(nodes) {
    m_turn.setSingleShot(true);
    connect(&m_turn, &QTimer::timeout, this, [this] { bringSome(); });
}

void SpecialObjectsToCome::enter(const Record& record, const std::string& name) {
    m_objects.push_back({record, name});
    if (m_objects.size() <= kMostAtOnce) {
        m_next = m_objects.size();
        come(m_objects.back());
        return;
    }
    m_places.emplace(name, m_objects.size() - 1);
    m_turn.start(0);
}

void SpecialObjectsToCome::come(Waiting& object) {
    if (std::exchange(object.hasCome, true)) {
        return;
    }
    std::visit([this](const auto& record) { m_nodes.add(record); }, object.record);
    if (!object.isVisible) {
        m_nodes.setVisible(object.name, false);
    }
}

void SpecialObjectsToCome::bring(const std::string& name) {
    const auto [first, last] = m_places.equal_range(name);
    for (auto place = first; place != last; ++place) {
        come(m_objects[place->second]);
    }
    m_places.erase(first, last);
}

void SpecialObjectsToCome::setVisible(const std::string& name, bool isVisible) {
    const auto [first, last] = m_places.equal_range(name);
    for (auto place = first; place != last; ++place) {
        m_objects[place->second].isVisible = isVisible;
    }
    if (first == last) {
        m_nodes.setVisible(name, isVisible);
    }
}

void SpecialObjectsToCome::bringSome() {
    QElapsedTimer timer;
    timer.start();
    while (m_next < m_objects.size() && timer.elapsed() < kMostMilliseconds) {
        bring(m_objects[m_next++].name);
    }
    if (m_next < m_objects.size()) {
        m_turn.start(0);
    } else {
        clear();
    }
}

void SpecialObjectsToCome::clear() {
    m_turn.stop();
    m_objects.clear();
    m_places.clear();
    m_next = 0;
}

} // namespace inspection
