#pragma once

#include "tests/plugin/ToolFixture.h"
#include "tests/support/TheChild.h"
#include "tests/support/Typing.h"
#include "tests/support/WorkingDirectory.h"

#include <osg/Group>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>

#include <QColor>
#include <QPushButton>
#include <QWidget>

/// Opens the colour dialog with the button, chooses the colour, and confirms or cancels.
void chooseColour(QPushButton& button, const QColor& colour, bool isConfirmed = true);

/// One of the tools that add special objects, with its dialog.
class SpecialTest : public ToolTest {
protected:
    SpecialTest(const char* tool, const char* dialog, const char* group);
    ~SpecialTest() override;

    /// Clicks the tool's button and waits until its group is on the globe.
    void startTool();
    /// A place, in metres from the project's lower left corner.
    QPoint ground(double east, double north) const;
    /// Longitude and latitude of such a place, degrees.
    static osg::Vec2d lonLat(double east, double north);

    /// The tool's dialog while it is open, else null.
    QWidget* dialog() const;
    template<typename Widget>
    Widget* field(const char* objectName) const {
        return &theChild<Widget>(dialog(), objectName);
    }
    void typeName(const QString& name);
    void confirm();
    bool isToolOn() { return m_host.button(m_tool).isChecked(); }

    /// The tool's newest group on the globe; null when there is none.
    osg::Group* group() const;
    template<typename Node>
    Node* child(unsigned index) const {
        return group() && index < group()->getNumChildren() ? dynamic_cast<Node*>(group()->getChild(index))
                                                            : nullptr;
    }
    /// Makes the database refuse what comes into a table.
    void refuseInserts(const QString& table) const;
    void reopen() const;

    const WorkingDirectory m_directory;

private:
    const char* const m_dialogName;
    const char* const m_groupName;
};
