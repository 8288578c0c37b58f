#pragma once

#include <QLabel>

namespace inspection {

/// Plain text whose lines end in an ellipsis where they have no room; the whole text is in the tool tip. Its
/// width asks for nothing, however long the text is. GUI thread.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    /// Lines are separated by line feeds.
    void setFullText(const QString& text);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace inspection
