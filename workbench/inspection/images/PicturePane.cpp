#include "workbench/inspection/images/PicturePane.h"

#include <QPainter>

namespace inspection {

void PicturePane::setPicture(const GroundPicture& picture) {
    m_picture = picture;
    update();
}

void PicturePane::paintBelow(QPainter& painter) {
    paintGround(painter, m_picture, toPane(), rect());
}

void PicturePane::paintAbove(QPainter& painter) {
    paintReason(painter, m_picture, rect());
    paintTitlePlate(painter, m_picture.title, rect(), Qt::AlignLeft);
    if (hasImage()) {
        paintScaleBar(painter, toPane(), rect());
    }
}

} // namespace inspection
