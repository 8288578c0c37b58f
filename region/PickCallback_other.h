#pragma once

#include <QWidget>

#include <osgEarth/Picker>

/// Holds the object id of the special region under the pointer, as the hover picker reports it.
///
/// Event traversal of the viewer. It is reference counted by its picker and must not get a Qt parent.
class PickCallback_other : public QWidget, private osgEarth::Picker::Callback {
    Q_OBJECT

public:
    static constexpr int kNothing = -999;

    /// For RTTPicker::setDefaultCallback; the base is private.
    osgEarth::Picker::Callback* asPickerCallback() { return this; }

    int m_locked = 0; ///< while not 0, hits do not change the picked id
    int m_pickedId = kNothing;

private:
    /// Only groups count; other objects under the pointer leave the id as it is.
    void onHit(osgEarth::ObjectID id) override;
    void onMiss() override;
    /// Picks follow the moving pointer, with no button held.
    bool accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& aa) override;
};
