#include "PointsModel.h"

#include <algorithm>

namespace {

using Kind = PointsStep::Kind;

constexpr std::size_t kMostPoints = 12;

int below(std::mt19937& random, std::size_t limit) {
    return static_cast<int>(random() % limit);
}

PointsStep additions(std::mt19937& random) {
    PointsStep step{Kind::Add, {}, {}, 0};
    for (int i = below(random, 4); i >= 0; --i) {
        step.points.push_back(std::to_string(random()) + '-' + std::to_string(i));
    }
    return step;
}

PointsStep removals(const PointsModel::Points& points, std::mt19937& random) {
    PointsStep step{Kind::Remove, {}, {}, 0};
    for (const auto& point : points) {
        if (step.points.empty() || random() % 2 == 0) {
            step.points.push_back(point.first);
        }
    }
    return step;
}

} // namespace

PointsStep PointsModel::randomStep(std::mt19937& random) const {
    const int choice = below(random, 10);
    if (choice < 2 && m_undoable > 0) {
        return {Kind::Undo, {}, {}, 1};
    }
    if (choice < 4 && redoable() > 0) {
        return {Kind::Redo, {}, {}, 1};
    }
    if (choice < 6 && m_undoable > 1) {
        const std::size_t most = std::min<std::size_t>(m_undoable, 5);
        return {Kind::UndoSteps, {}, {}, 2 + below(random, most - 1)};
    }
    if (choice < 8 && !points().empty()) {
        return {Kind::Describe, {}, "第 " + std::to_string(random()) + " 次", 0};
    }
    return points().size() < kMostPoints ? additions(random) : removals(points(), random);
}

void PointsModel::take(const PointsStep& step) {
    switch (step.kind) {
    case Kind::Undo:
    case Kind::UndoSteps:
        m_undoable -= static_cast<std::size_t>(step.count);
        break;
    case Kind::Redo:
        ++m_undoable;
        break;
    default:
        edit(step);
    }
}

void PointsModel::edit(const PointsStep& step) {
    Points points = this->points();
    for (const std::string& name : step.points) {
        if (step.kind == Kind::Add) {
            points[name] = {};
        } else {
            points.erase(name);
        }
    }
    if (step.kind == Kind::Describe) {
        for (auto& point : points) {
            point.second = step.text;
        }
    }
    m_states.resize(m_undoable + 1);
    m_states.push_back(std::make_shared<const Points>(std::move(points)));
    ++m_undoable;
}
