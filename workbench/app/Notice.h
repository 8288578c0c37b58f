#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>
#include <vector>

class QHBoxLayout;

namespace inspection {
class ElidedLabel;
}

/// A line in the status bar that says what was done, with what can be done about it. It goes after a while, when one of
/// its buttons was clicked, and when the next one comes; while the pointer or the focus is on it, it stays. GUI thread.
class Notice : public QWidget {
    Q_OBJECT

public:
    struct Action {
        QString text;
        QString tip;
        std::function<void()> run;
    };

    explicit Notice(QWidget* parent = nullptr);

    /// The text is shown as it stands, without markup.
    void tell(const QString& text, const std::vector<Action>& actions);

    void withdraw();

    QSize sizeHint() const override;

private:
    void addButton(const Action& action);

    inspection::ElidedLabel* m_text;
    QHBoxLayout* m_row;
    QTimer m_time;
};
