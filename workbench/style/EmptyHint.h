#pragma once

#include "host/Export.h"

#include <QLabel>

/// What can be done where there is nothing to see yet: a sentence in the middle of the window that it covers. The pointer
/// goes through it. GUI thread.
class STYLE_API EmptyHint : public QLabel {
    Q_OBJECT

public:
    /// Covers all of `covered`, of which it becomes a child. Hidden until it has something to say.
    explicit EmptyHint(QWidget* covered);

    /// An empty sentence uncovers the window.
    void say(const QString& sentence);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
};
