#include "tests/plugin/special/SpecialFixture.h"

#include "host/inspection/DataSet.h"

#include <QApplication>
#include <QColorDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

void chooseColour(QPushButton& button, const QColor& colour, bool isConfirmed) {
    QString caption;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        auto* colours = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        if (!colours) {
            return;
        }
        caption = colours->windowTitle();
        EXPECT_EQ(colours->currentColor(), QColor(Qt::yellow));
        colours->setCurrentColor(colour);
        isConfirmed ? colours->accept() : colours->reject();
    });
    driver.start(5);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(caption, "颜色选择");
}

SpecialTest::SpecialTest(const char* tool, const char* dialog, const char* group)
    : ToolTest(tool), m_dialogName(dialog), m_groupName(group) {}

SpecialTest::~SpecialTest() {
    if (dialog()) {
        dialog()->close();
    }
}

void SpecialTest::startTool() {
    const std::size_t before = m_host.groupsNamed(m_groupName).size();
    m_host.click(m_tool);
    draw();
    ASSERT_EQ(m_host.groupsNamed(m_groupName).size(), before + 1);
    ASSERT_NE(dialog(), nullptr);
}

QPoint SpecialTest::ground(double east, double north) const {
    return pixelOf(lonLat(east, north));
}

osg::Vec2d SpecialTest::lonLat(double east, double north) {
    return toLonLat(SmallProject::kLeft + east, SmallProject::kTop - 80.0 + north);
}

QWidget* SpecialTest::dialog() const {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->objectName() == m_dialogName) {
            return widget;
        }
    }
    return nullptr;
}

void SpecialTest::typeName(const QString& name) {
    auto* title = field<QLineEdit>("lineEditTitle");
    title->clear();
    type(title, name);
}

void SpecialTest::confirm() {
    QTest::mouseClick(field<QPushButton>("pushButtonOK"), Qt::LeftButton);
    draw();
}

osg::Group* SpecialTest::group() const {
    const auto groups = m_host.groupsNamed(m_groupName);
    return groups.empty() ? nullptr : groups.back();
}

void SpecialTest::refuseInserts(const QString& table) const {
    auto& data =
        dynamic_cast<PipelineDataSet&>(*InspectionContext::instance().GetDataSet(PipelineDataSet::kIndex));
    data.GetMySQL()->execute(QString("create trigger refused before insert on %1 begin "
                                     "select raise(abort, 'the server has gone'); end")
                                 .arg(table)
                                 .toStdString());
}

void SpecialTest::reopen() const {
    InspectionContext::instance().closeProject();
    const auto refusal = InspectionContext::instance().openProject(m_folder);
    EXPECT_FALSE(refusal) << refusal->toStdString();
}
