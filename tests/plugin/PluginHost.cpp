#include "tests/plugin/PluginHost.h"
#include "tests/support/WaitUntil.h"

#include "host/Gbk.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>

#include <osgEarthUtil/RTTPicker>
#include <osgViewer/View>

using namespace inspection;

namespace {

PluginHost* theHost = nullptr;

} // namespace

PluginHost& PluginHost::instance() {
    return *theHost;
}

PluginHost::PluginHost() : globe(new GlobeWidget), m_layout(new QHBoxLayout(&m_row)) {
    theHost = this;
    window.setCentralWidget(globe);
    window.resize(640, 480);
    InspectionContext::instance().initialise(&window);
    zeo::EngineContext::instance().setMapSRS(globe->getMapNode()->getMapSRS());

    HandlerRegistry& handlers = HandlerRegistry::instance();
    globe->getViewer()->addEventHandler(handlers.activeHandlerForwarder());
    globe->setWorkBetweenFrames([&handlers] { handlers.deliverMessages(); });
    handlers.setWakeUp([this] { globe->requestRedraw(); });

    const auto counting =
        QObject::connect(&zeo::EngineContext::instance(), &zeo::EngineContext::commandsChanged,
                         [&] { handlersBeforeEachCommand.push_back(handlers.names().size()); });
    library.setFileName(TOOL_PLUGIN);
    if (const auto create = library.resolve("Create")) {
        hasCreate = true;
        create();
    }
    QObject::disconnect(counting);

    for (zeo::ICommand* command : zeo::EngineContext::instance().commands()) {
        command->createselfUI(&m_row, m_layout);
    }
    m_row.show();
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_row));
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    settle();
}

PluginHost::~PluginHost() {
    HandlerRegistry& handlers = HandlerRegistry::instance();
    zeo::EngineContext::instance().deactivateTool();
    handlers.deliverMessages();
    handlers.setWakeUp({});
    handlers.clear();
    zeo::EngineContext::instance().shutdown();
    zeo::EngineContext::instance().setMapSRS(nullptr);
    InspectionContext::instance().shutdown();
    delete globe;
    theHost = nullptr;
}

zeo::ICommand& PluginHost::command(const char* utf8Name) const {
    for (zeo::ICommand* command : zeo::EngineContext::instance().commands()) {
        if (command->Name() == toGbk(utf8Name)) {
            return *command;
        }
    }
    ADD_FAILURE() << "no command " << utf8Name;
    std::abort();
}

QToolButton& PluginHost::button(const char* utf8Name) const {
    return *zeo::EngineContext::buttonOf(command(utf8Name));
}

CXCommandHandler& PluginHost::handler(const char* utf8RegisteredName) const {
    CXCommandHandler* handler = HandlerRegistry::instance().find(toGbk(utf8RegisteredName));
    if (!handler) {
        ADD_FAILURE() << "no handler " << utf8RegisteredName;
        std::abort();
    }
    return *handler;
}

void PluginHost::click(const char* utf8Name) const {
    QTest::mouseClick(&button(utf8Name), Qt::LeftButton);
}

void PluginHost::settle() const {
    globe->requestRedraw();
    EXPECT_TRUE(waitUntil([this] { return globe->isPictureComplete(); }, 60000));
}

int PluginHost::pickerCount() const {
    int count = 0;
    for (const auto& handler : globe->getViewer()->getEventHandlers()) {
        count += dynamic_cast<osgEarth::Util::RTTPicker*>(handler.get()) ? 1 : 0;
    }
    return count;
}

std::vector<osg::Group*> PluginHost::groupsNamed(const std::string& name) const {
    std::vector<osg::Group*> groups;
    osgEarth::MapNode* mapNode = globe->getMapNode();
    for (unsigned index = 0; index < mapNode->getNumChildren(); ++index) {
        osg::Group* group = mapNode->getChild(index)->asGroup();
        if (group && group->getName() == name) {
            groups.push_back(group);
        }
    }
    return groups;
}

bool PluginHost::handle(CXCommandHandler& handler, osgGA::GUIEventAdapter::EventType type) const {
    const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
    event->setEventType(type);
    event->setButton(osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    return handler.handle(*event, *dynamic_cast<osgGA::GUIActionAdapter*>(globe->getViewer()));
}

PluginTest::~PluginTest() {
    m_engine.deactivateTool();
    m_host.deliver();
}

DialogCloser::DialogCloser() {
    QObject::connect(&m_poll, &QTimer::timeout, [this] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            return;
        }
        objectNames << dialog->objectName();
        titles << dialog->windowTitle();
        parents << dialog->parentWidget();
        QStringList labels;
        for (const QLabel* label : dialog->findChildren<QLabel*>()) {
            labels << label->text();
        }
        texts << labels.join(' ');
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    m_poll.start(10);
}
