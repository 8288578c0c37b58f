#pragma once

#include "workbench/inspection/output/RasterPicture.h"
#include "workbench/inspection/windows/PicturePane.h"

namespace inspection {

/// The picture of elevation differences, with the legend of its colours. GUI thread.
class DifferencePane : public PicturePane {
    Q_OBJECT

public:
    explicit DifferencePane(GroundView& view, QWidget* parent = nullptr);

    void setRamp(const DifferenceRamp& ramp);

protected:
    void paintOver(QPainter& painter) override;

private:
    DifferenceRamp m_ramp;
};

} // namespace inspection
