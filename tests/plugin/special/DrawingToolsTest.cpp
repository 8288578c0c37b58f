// What the two drawing tools have in common: how they start, run, warn and stop.

#include "tests/plugin/special/SpecialFixture.h"

#include "host/Gbk.h"
#include "host/style/myMessageBox.h"
#include "tests/support/ForeignConnection.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

#include <osg/StateSet>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

struct DrawingTool {
    const char* label;
    const char* tool;
    const char* dialog;
    const char* group;
};

/// For readable failures.
void PrintTo(const DrawingTool& tool, std::ostream* stream) {
    *stream << tool.label;
}

class DrawingTools : public SpecialTest, public testing::WithParamInterface<DrawingTool> {
protected:
    DrawingTools() : SpecialTest(GetParam().tool, GetParam().dialog, GetParam().group) {}

    zeo::ITool& tool() const { return static_cast<zeo::ITool&>(m_host.command(m_tool)); }
    std::size_t groups() const { return m_host.groupsNamed(GetParam().group).size(); }
    /// What a press and a release of the left button there make the tool draw.
    unsigned childrenAfterClick() {
        const QPoint place = ground(90, 40);
        const auto x = static_cast<float>(place.x());
        const auto y = static_cast<float>(m_host.globe->height() - 1 - place.y());
        send(GUIEventAdapter::PUSH, x, y, GUIEventAdapter::LEFT_MOUSE_BUTTON);
        send(GUIEventAdapter::RELEASE, x, y, GUIEventAdapter::LEFT_MOUSE_BUTTON);
        return group()->getNumChildren();
    }
    /// Asks the tool to start while it cannot, and returns what it prints.
    std::string failToStart() {
        const std::size_t before = groups();
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        testing::internal::CaptureStdout();
        tool().OnActivate();
        m_host.deliver();
        std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(isToolOn()) << "the button stays checked";
        EXPECT_EQ(dialog(), nullptr);
        EXPECT_EQ(groups(), before);
        EXPECT_TRUE(boxes.texts.isEmpty());
        return printed;
    }
};

TEST_P(DrawingTools, StartOnlyOverADatabaseThatAnswersWithANode) {
    const ForeignConnection other(m_folder + "/inspection.db");
    other.run("alter table pipe_node rename to lost_node");
    const std::string printed = failToStart();
    EXPECT_NE(printed.find("pipe_node"), std::string::npos) << printed;
    EXPECT_EQ(printed.back(), '\n');
    other.run("alter table lost_node rename to pipe_node");
    other.run("create table kept as select * from pipe_node");
    other.run("delete from pipe_node");
    EXPECT_EQ(failToStart(), "") << "no node is no error";
    other.run("insert into pipe_node select * from kept");
    tool().OnActivate();
    m_host.deliver();
    EXPECT_NE(dialog(), nullptr) << "a start that failed leaves the next one free";
    EXPECT_TRUE(isToolOn());
}

TEST_P(DrawingTools, DoNotStartWithoutAProject) {
    InspectionContext::instance().closeProject();
    EXPECT_EQ(failToStart(), "");
    tool().OnDeactivate();
}

TEST_P(DrawingTools, ConsumeNoEventWhileTheyRun) {
    ASSERT_NO_FATAL_FAILURE(startTool());
    const QPoint place = ground(90, 40);
    const auto x = static_cast<float>(place.x());
    const auto y = static_cast<float>(m_host.globe->height() - 1 - place.y());
    for (const int button : {GUIEventAdapter::LEFT_MOUSE_BUTTON, GUIEventAdapter::RIGHT_MOUSE_BUTTON}) {
        for (const auto type : {GUIEventAdapter::MOVE, GUIEventAdapter::PUSH, GUIEventAdapter::DRAG,
                                GUIEventAdapter::RELEASE, GUIEventAdapter::DOUBLECLICK,
                                GUIEventAdapter::KEYDOWN, GUIEventAdapter::KEYUP, GUIEventAdapter::FRAME}) {
            EXPECT_FALSE(send(type, x, y, button)) << type;
        }
    }
    EXPECT_EQ(group()->getNumChildren(), 1U) << "though they act on them";
}

TEST_P(DrawingTools, LeaveEventsWithoutAViewAlone) {
    class NoView : public osgGA::GUIActionAdapter {
    public:
        void requestRedraw() override {}
        void requestContinuousUpdate(bool) override {}
        void requestWarpPointer(float, float) override {}
    };
    ASSERT_NO_FATAL_FAILURE(startTool());
    NoView adapter;
    const QPoint place = ground(90, 40);
    for (const auto type : {GUIEventAdapter::PUSH, GUIEventAdapter::RELEASE}) {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
        event->setX(static_cast<float>(place.x()));
        event->setY(static_cast<float>(m_host.globe->height() - 1 - place.y()));
        EXPECT_FALSE(m_host.handler(m_tool).handle(*event, adapter));
    }
    EXPECT_EQ(group()->getNumChildren(), 0U);
    EXPECT_EQ(childrenAfterClick(), 1U) << "the same with a view";
}

TEST_P(DrawingTools, HideTheirDialogAndDrawNothingMoreWhenTheyAreLeft) {
    ASSERT_NO_FATAL_FAILURE(startTool());
    const QPointer<QWidget> open = dialog();
    m_engine.deactivateTool();
    ASSERT_NE(open, nullptr) << "hidden, not destroyed";
    EXPECT_FALSE(open->isVisible());
    EXPECT_FALSE(isToolOn());
    EXPECT_EQ(childrenAfterClick(), 0U);
}

TEST_P(DrawingTools, PrintTheirWarningsAndShowThemOverTheMainWindow) {
    const auto pictureOf = [](const QWidget& box) {
        return box.findChild<QLabel*>("labelPicture")->pixmap().toImage();
    };
    struct Seen {
        QWidget* parent = nullptr;
        QString title, text;
        bool isModal = false;
        bool hasOneButton = false;
        QImage picture;
    } seen;
    QTimer witness;
    QObject::connect(&witness, &QTimer::timeout, [&] {
        QWidget* box = QApplication::activeModalWidget();
        if (!box || box->objectName() != "myMessageBox") {
            return;
        }
        auto* ok = box->findChild<QPushButton*>("pushButtonOK");
        seen = {box->parentWidget(),
                box->windowTitle(),
                box->findChild<QLabel*>("labelText")->text(),
                box->isModal(),
                ok && !box->findChild<QPushButton*>("pushButtonNo"),
                pictureOf(*box)};
        QTest::keyClick(box, Qt::Key_Escape);
    });
    witness.start(5);
    testing::internal::CaptureStdout();
    ASSERT_TRUE(QMetaObject::invokeMethod(&tool(), "msg_waring", Q_ARG(QString, "请注意")));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), toGbk("请注意") + '\n');
    EXPECT_EQ(seen.parent, &m_host.window);
    EXPECT_EQ(seen.title, "提示");
    EXPECT_EQ(seen.text, "请注意");
    EXPECT_TRUE(seen.isModal);
    EXPECT_TRUE(seen.hasOneButton);

    constexpr int kWarning = 3;
    constexpr int kOneButton = 0;
    myMessageBox::showMyMessageBox(&m_host.window, "提示", "请注意", kWarning, kOneButton, false);
    auto* reference = m_host.window.findChild<QWidget*>("myMessageBox");
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(seen.picture, pictureOf(*reference));
    delete reference;
}

TEST_P(DrawingTools, DrawWithTheGlobesDefaultsOfLinesAndPoints) {
    ASSERT_NO_FATAL_FAILURE(startTool());
    const osg::StateSet* state = group()->getStateSet();
    ASSERT_NE(state, nullptr);
    for (const auto attribute :
         {osg::StateAttribute::LINEWIDTH, osg::StateAttribute::LINESTIPPLE, osg::StateAttribute::POINT}) {
        EXPECT_NE(state->getAttribute(attribute), nullptr) << attribute;
    }
}

INSTANTIATE_TEST_SUITE_P(Both, DrawingTools,
                         testing::Values(DrawingTool{"Point", "添加特殊点", "CDrawPointDlg", "ROIPoint"},
                                         DrawingTool{"Area", "添加特殊面", "CdrawPolygonDlg", "ROIArea"}),
                         [](const auto& info) { return std::string(info.param.label); });

} // namespace
