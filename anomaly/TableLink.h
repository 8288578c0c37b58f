#pragma once

#include <QObject>
#include <QStringList>

#include <functional>
#include <string>
#include <vector>

/// What is highlighted on the globe and the selected rows of the anomaly table are one selection while the
/// anomaly tool is active. Where the host's table cannot tell, or cannot be told, it does without. GUI
/// thread.
class TableLink : public QObject {
    Q_OBJECT

public:
    /// `take` is called with the names (GBK) of all rows that the user selected.
    explicit TableLink(std::function<void(const std::vector<std::string>&)> take);

    void follow();
    void leave();
    /// Selects the rows of these names (GBK) and no others.
    void select(const std::vector<std::string>& gbkNames);

private slots:
    void onSelection(const QStringList& names);

private:
    std::function<void(const std::vector<std::string>&)> m_take;
};
