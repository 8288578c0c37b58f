#pragma once

#include "anomaly/Selection.h"

#include <QWidget>

#include <osgEarthUtil/RTTPicker>

/// Holds the object id of the anomaly overlay under the pointer, as the hover picker reports it.
///
/// Event traversal of the viewer. It is reference counted by its picker and must not get a Qt parent.
class PickCallback : public QWidget, public osgEarth::Util::RTTPicker::Callback {
    Q_OBJECT

public:
    static constexpr int kNothing = anomaly::kNothingPicked;

    osgEarth::Picker::Callback* asPickerCallback() { return this; }

    /// Only overlays count; other objects under the pointer leave the id as it is.
    void onHit(osgEarth::ObjectID id) override;
    void onMiss() override;
    /// Picks follow the moving pointer, never a click.
    bool accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& aa) override;

    int m_hold = 0; ///< while not 0, hits do not change the picked id
    int m_pickedId = kNothing;
};
