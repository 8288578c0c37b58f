#pragma once

#include "workbench/inspection/scene/ViewGeometry.h"

#include <osg/Callback>
#include <osg/ref_ptr>

#include <QObject>
#include <QTimer>

namespace inspection {

/// Tells when the globe's view has come to rest, and now and then while it moves. It looks at the view in the frames that are drawn anyway and
/// asks for none itself, so that an idle globe stays idle. GUI thread, which also runs the frames.
class ViewRest : public QObject {
    Q_OBJECT

public:
    explicit ViewRest(QObject* parent = nullptr);
    ~ViewRest() override;

    /// The update callback of any nodes that are in the scene.
    osg::Callback* callback() const;
    /// Has rested() emitted after the next frame although the view is the same.
    void lookAgain() { m_known = false; }
    /// The view as it is now; nothing without a globe.
    static std::optional<ViewGeometry> present();

signals:
    void rested();
    /// The view has been moving for a while.
    void passed();

private:
    class FrameCallback;
    void look();

    osg::ref_ptr<FrameCallback> m_callback;
    ViewGeometry m_view;
    bool m_known = false;
    QTimer m_timer;
    QTimer m_passing;
};

} // namespace inspection
