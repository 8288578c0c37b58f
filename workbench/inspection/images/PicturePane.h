#pragma once

#include "workbench/inspection/images/GroundPane.h"

namespace inspection {

/// A pane with one picture and its title in the upper left corner. GUI thread.
class PicturePane : public GroundPane {
    Q_OBJECT

public:
    using GroundPane::GroundPane;

    /// Without an image the pane shows the picture's reason.
    void setPicture(const GroundPicture& picture);

protected:
    void paintBelow(QPainter& painter) override;
    void paintAbove(QPainter& painter) override;

    bool hasImage() const { return !m_picture.image.isNull(); }

private:
    GroundPicture m_picture;
};

} // namespace inspection
