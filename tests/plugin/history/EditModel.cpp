#include "tests/plugin/history/EditModel.h"

#include <tuple>
#include <utility>

bool ModelObject::operator==(const ModelObject& other) const {
    return std::tie(type, id, attribute, level) ==
           std::tie(other.type, other.id, other.attribute, other.level);
}

bool ModelAnomaly::operator==(const ModelAnomaly& other) const {
    return id == other.id && attribute == other.attribute;
}

bool ModelState::operator==(const ModelState& other) const {
    return objects == other.objects && anomalies == other.anomalies;
}

void PrintTo(const ModelState& state, std::ostream* stream) {
    for (const auto& [name, object] : state.objects) {
        *stream << object.type << '#' << object.id << ' ' << name.left(20).toStdString() << '='
                << object.attribute.toStdString() << '/' << object.level << "; ";
    }
    for (const auto& [name, anomaly] : state.anomalies) {
        *stream << anomaly.id << ' ' << name.left(20).toStdString() << '=' << anomaly.attribute.toStdString()
                << "; ";
    }
}

EditModel::EditModel(ModelState start) : m_states{std::move(start)} {}

QStringList EditModel::undoTexts() const {
    QStringList texts;
    for (std::size_t index = m_undoable; index > 0; --index) {
        texts << m_texts[static_cast<qsizetype>(index - 1)];
    }
    return texts;
}

void EditModel::edit(const QString& text, ModelState after) {
    if (after == now()) {
        return;
    }
    m_states.resize(m_undoable + 1);
    m_texts.resize(static_cast<qsizetype>(m_undoable));
    m_states.push_back(std::move(after));
    m_texts.push_back(text);
    ++m_undoable;
}

void EditModel::undo(std::size_t steps) {
    m_undoable -= steps;
}

void EditModel::redo() {
    ++m_undoable;
}
