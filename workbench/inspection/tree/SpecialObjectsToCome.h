#pragma once

#include "host/inspection/Records.h"

#include <QObject>
#include <QTimer>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

namespace inspection {

class SpecialObjectNodes;

/// Special objects on their way onto the globe: the first ones come at once, the others in their order and some
/// milliseconds at a time, so that the window answers. Who changes one on the globe has it brought there before. GUI
/// thread.
class SpecialObjectsToCome : public QObject {
public:
    /// `nodes` must outlive it.
    explicit SpecialObjectsToCome(SpecialObjectNodes& nodes, QObject* parent = nullptr);

    /// Of one project: those that are added next, until clear().
    template<typename Record>
    void add(const Record& record) {
        enter(record, record.GetName());
    }
    /// What is called so (GBK) comes now if it is still waiting.
    void bring(const std::string& name);
    /// Shows or hides what is called so, now or when it comes.
    void setVisible(const std::string& name, bool isVisible);
    void clear();

private:
    using Record = std::variant<Special_Point, Special_Area, Special_Polygon>;
    struct Waiting {
        Record record;
        std::string name;
        bool isVisible = true;
        bool hasCome = false;
    };

    void enter(const Record& record, const std::string& name);
    void come(Waiting& object);
    void bringSome();

    SpecialObjectNodes& m_nodes;
    std::vector<Waiting> m_objects; ///< those from m_next on wait, unless they have come before their turn
    std::size_t m_next = 0;
    std::unordered_multimap<std::string, std::size_t> m_places; ///< of the waiting ones
    QTimer m_turn;
};

} // namespace inspection
