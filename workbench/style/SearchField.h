#pragma once

#include "host/Export.h"

#include <QLineEdit>

/// A line for words that are looked for in the list below it. GUI thread.
///
/// Keys: Escape takes the words away, or leaves where there are none; Enter and the arrow down go to what was found.
class STYLE_API SearchField : public QLineEdit {
    Q_OBJECT

public:
    explicit SearchField(QWidget* parent = nullptr);

    /// Takes the focus, with all words selected.
    void begin();

signals:
    void left();
    void foundWanted();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
