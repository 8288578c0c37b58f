#pragma once

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// One step of an inspector. Points are called by their names.
struct PointsStep {
    enum class Kind {
        Add,      ///< the points
        Describe, ///< all points that there are with `text`, one edit
        Remove,   ///< the points
        Undo,     ///< one edit
        Redo,     ///< one edit
        UndoSteps ///< `count` edits at once
    };
    Kind kind = Kind::Add;
    std::vector<std::string> points;
    std::string text;
    int count = 0;
};

/// What a project's special points must be after the steps of one inspector, without any database.
class PointsModel {
public:
    /// Attributes by name.
    using Points = std::map<std::string, std::string>;

    const Points& points() const { return *m_states[m_undoable]; }
    std::size_t undoable() const { return m_undoable; }
    std::size_t redoable() const { return m_states.size() - 1 - m_undoable; }

    /// A step that can be taken now and changes something.
    PointsStep randomStep(std::mt19937& random) const;
    void take(const PointsStep& step);

private:
    void edit(const PointsStep& step);

    std::vector<std::shared_ptr<const Points>> m_states{std::make_shared<const Points>()};
    std::size_t m_undoable = 0;
};
