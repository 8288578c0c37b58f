#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <map>
#include <ostream>
#include <vector>

/// What the tests expect of a project that is edited: its special objects and judged anomalies, and the edits
/// that led there. It knows nothing of the program.
struct ModelObject {
    int type = 0; ///< KV_ObjectType
    qint64 id = 0;
    QString attribute;
    int level = 0; ///< 0 for points

    bool operator==(const ModelObject& other) const;
};

struct ModelAnomaly {
    qint64 id = 0;
    QString attribute;

    bool operator==(const ModelAnomaly& other) const;
};

struct ModelState {
    std::map<QString, ModelObject> objects;    ///< by name
    std::map<QString, ModelAnomaly> anomalies; ///< by name

    bool operator==(const ModelState& other) const;
};
void PrintTo(const ModelState& state, std::ostream* stream);

class EditModel {
public:
    explicit EditModel(ModelState start);

    const ModelState& now() const { return m_states[m_undoable]; }
    std::size_t undoable() const { return m_undoable; }
    std::size_t redoable() const { return static_cast<std::size_t>(m_texts.size()) - m_undoable; }
    /// Descriptions of what can be undone, newest first.
    QStringList undoTexts() const;

    /// A state that is the same is no edit.
    void edit(const QString& text, ModelState after);
    void undo(std::size_t steps = 1);
    void redo();

private:
    std::vector<ModelState> m_states; ///< before the first edit and after each
    QList<QString> m_texts;
    std::size_t m_undoable = 0;
};
