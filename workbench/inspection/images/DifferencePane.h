#pragma once

#include "workbench/inspection/images/PicturePane.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"

namespace inspection {

/// The picture of elevation differences, with the legend of its colours. GUI thread.
class DifferencePane : public PicturePane {
    Q_OBJECT

public:
    using PicturePane::PicturePane;

    void setRamp(const DifferenceRamp& ramp);

protected:
    void paintAbove(QPainter& painter) override;

private:
    void paintLegend(QPainter& painter) const;

    DifferenceRamp m_ramp;
};

} // namespace inspection
