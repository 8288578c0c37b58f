#pragma once

#include <QColor>
#include <QPushButton>

namespace inspection {

/// A button that shows a colour and lets the user choose another. GUI thread.
class ColourButton : public QPushButton {
    Q_OBJECT

public:
    explicit ColourButton(QWidget* parent = nullptr);

    QColor colour() const { return m_colour; }
    void setColour(const QColor& colour);

private slots:
    void choose();

private:
    QColor m_colour;
};

} // namespace inspection
