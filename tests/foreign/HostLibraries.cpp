// The five platform libraries as somebody else might write them: nothing but what the interfaces in host/ ask
// for.

#include "host/engine/CommandPlugin.h"
#include "host/engine/IEngineContext.h"
#include "host/engine/ToolPlugin.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "host/style/BaseDialog.h"
#include "host/style/BaseWindow.h"
#include "host/style/myMessageBox.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "tests/foreign/ForeignHost.h"

#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>

// Engine.

zeo::ICommand::ICommand() = default;
zeo::ICommand::~ICommand() = default;

void zeo::ICommand::setStatbarTip(QString text) {
    IEngineContext::Instance()->SetStatusTip(text);
}

void zeo::ICommand::createselfUI(QWidget* parent, QHBoxLayout* layout) {
    m_pButton = new QToolButton(parent);
    m_pButton->setCheckable(true);
    layout->addWidget(m_pButton);
    connect(m_pButton, SIGNAL(clicked()), this, SLOT(OnAction()));
    connect(this, SIGNAL(isrun(bool)), m_pButton, SLOT(setChecked(bool)));
}

void zeo::ICommand::OnAction() {
    OnBeforeExcute();
    if (IsTool()) {
        Execute();
        return;
    }
    // A one-shot command may reach for the manipulator, which belongs to the frames: they wait meanwhile.
    const ForeignHost::StoppedFrames frames(ForeignHost::instance());
    Execute();
}

zeo::CommandPlugin::CommandPlugin(const std::string& key) : m_key(key) {
    IEngineContext::Instance()->AddCommand(this);
}
zeo::CommandPlugin::~CommandPlugin() = default;
void zeo::CommandPlugin::Destroy() {
    delete this;
}
std::string zeo::CommandPlugin::Name() {
    return m_name;
}
std::string zeo::CommandPlugin::ToolTip() {
    return m_toolTip;
}
std::string zeo::CommandPlugin::Key() {
    return m_key;
}
bool zeo::CommandPlugin::IsTool() {
    return false;
}
std::string zeo::CommandPlugin::CommandType() {
    return m_commandType;
}
QIcon zeo::CommandPlugin::GetIcon() {
    return m_icon;
}
QCursor zeo::CommandPlugin::GetCursor() {
    return m_cursor;
}
void zeo::CommandPlugin::OnBeforeExcute() {}

zeo::ToolPlugin::ToolPlugin(const std::string& key) : m_key(key) {
    IEngineContext::Instance()->AddCommand(this);
}
zeo::ToolPlugin::~ToolPlugin() = default;
void zeo::ToolPlugin::Destroy() {
    delete this;
}
void zeo::ToolPlugin::Execute() {
    IEngineContext::Instance()->ActivateTool(this);
}
std::string zeo::ToolPlugin::Name() {
    return m_name;
}
std::string zeo::ToolPlugin::ToolTip() {
    return m_toolTip;
}
std::string zeo::ToolPlugin::Key() {
    return m_key;
}
std::string zeo::ToolPlugin::CommandType() {
    return m_commandType;
}
QIcon zeo::ToolPlugin::GetIcon() {
    return m_icon;
}
QCursor zeo::ToolPlugin::GetCursor() {
    return m_cursor;
}
void zeo::ToolPlugin::OnBeforeExcute() {}
void zeo::ToolPlugin::OnKeyPress(QKeyEvent*) {}
void zeo::ToolPlugin::OnKeyRelease(QKeyEvent*) {}
void zeo::ToolPlugin::OnMouseMove(QMouseEvent*) {}
void zeo::ToolPlugin::OnMousePress(QMouseEvent*) {}
void zeo::ToolPlugin::OnMouseRelease(QMouseEvent*) {}
void zeo::ToolPlugin::OnMouseDoubleClick(QMouseEvent*) {}
void zeo::ToolPlugin::OnMouseWheel(QWheelEvent*) {}
int zeo::ToolPlugin::MessageEvent(int, long long, long long) {
    return 0;
}
void zeo::ToolPlugin::onFormAction(int, double) {}
void zeo::ToolPlugin::onFormAction(int, QString) {}
void zeo::ToolPlugin::onFormAction(QString) {}

// View manager; its functions are ForeignHost's.

CXCommandHandler::CXCommandHandler() = default;
CXCommandHandler::~CXCommandHandler() = default;
bool CXCommandHandler::handle(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&) {
    return false;
}
// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface says so
void CXCommandHandler::OnMessage(std::string) {}
void CXCommandHandler::InitInstance() {}
void CXCommandHandler::ExitInstance() {}

// Inspection data.

StationWindow::StationWindow(QWidget* parent) : QWidget(parent) {}
StationWindow::~StationWindow() = default;
AVWindow::AVWindow(QWidget* parent) : QWidget(parent) {}
AVWindow::~AVWindow() = default;
void AVWindow::sent_msg_undo(QString text) {
    emit msg_undo(text);
}
void AVWindow::sent_msg_redo(QString text) {
    emit msg_redo(text);
}
KVImageWindow::KVImageWindow(QWidget* parent) : QWidget(parent) {}
KVImageWindow::~KVImageWindow() = default;
ParaSet::ParaSet(QWidget* parent) : BaseDialog(parent) {}
ParaSet::~ParaSet() = default;
DataSet::~DataSet() = default;
DataSetManager::~DataSetManager() = default;
EditCommand::~EditCommand() = default;
EditHistory::~EditHistory() = default;

KV_BasicNode::KV_BasicNode() = default;
KV_BasicNode::KV_BasicNode(const std::string& name, const osg::Vec3d& coor) : m_name(name), m_coor(coor) {}
KV_BasicNode::~KV_BasicNode() = default;
void KV_BasicNode::init_from_sqldata(const mysqlhelper::KV_Record&) {}
void KV_BasicNode::evalute_record(mysqlhelper::KV_Record&) const {}
Special_Point::Special_Point() = default;
Special_Point::Special_Point(const std::string& name, const osg::Vec3d& coor) : KV_BasicNode(name, coor) {}
Special_Point::~Special_Point() = default;
Special_Region::Special_Region() = default;
Special_Region::Special_Region(const std::string& name, const osg::Vec3d& centre)
    : KV_BasicNode(name, centre) {}
Special_Region::~Special_Region() = default;
void Special_Region::init_from_sqldata(const mysqlhelper::KV_Record&) {}
void Special_Region::evalute_record(mysqlhelper::KV_Record&) const {}

KV_DiffData::KV_DiffData() = default;
KV_DiffData::~KV_DiffData() = default;
KV_DiffData::KV_DiffData(const KV_DiffData&) = default;
KV_DiffData& KV_DiffData::operator=(const KV_DiffData&) = default;

bool KV_DiffData::GetdZ(double, double, double& dz) const {
    dz = 1.25;
    return true;
}

bool KV_DiffData::GetdiffdataByname(const std::string& name, SdiffData& data) const {
    for (const SdiffData& anomaly : m_anomalies) {
        if (anomaly.name == name) {
            data = anomaly;
            return true;
        }
    }
    return false;
}

bool KV_DiffData::GetdiffdataBycoor(double, double, SdiffData& data) const {
    if (m_anomalies.empty()) {
        return false;
    }
    data = m_anomalies.front();
    return true;
}

void KV_Station::init_from_sqldata(const mysqlhelper::KV_Record&) {
    *this = ForeignHost::instance().station();
}

KV_StationItem::KV_StationItem() = default;
KV_StationItem::KV_StationItem(const KV_Station& station) : m_station(station) {}
bool KV_StationItem::readdom() {
    ForeignHost::expectGui("readdom");
    ++ForeignHost::instance().domReads[GetStationId()];
    return true;
}
bool KV_StationItem::readdiffvz() {
    ForeignHost::expectGui("readdiffvz");
    return true;
}
bool KV_StationItem::readclassfi() {
    ForeignHost::expectGui("readclassfi");
    return true;
}

namespace mysqlhelper {

class Driver {};

KV_MySQL_Exception::KV_MySQL_Exception(const std::string& message) : std::runtime_error(message) {}
KV_MySQL_Exception::~KV_MySQL_Exception() = default;
KV_MySQL::KV_MySQL(const std::string&) {}
KV_MySQL::~KV_MySQL() = default;
bool KV_MySQL::isOpen() const {
    return true;
}
KV_Rows KV_MySQL::queryRecord(const std::string&, const std::vector<KV_Value>&) {
    ForeignHost::expectGui("queryRecord");
    return {KV_Record()};
}
std::int64_t KV_MySQL::updateRecord(const std::string&, const KV_Record&, const std::string&,
                                    const std::vector<KV_Value>&) {
    ForeignHost::expectGui("updateRecord");
    return 1;
}

} // namespace mysqlhelper

// Window style: plain windows.

titleBar::titleBar(QWidget* parent) : QWidget(parent) {}
void titleBar::setTitleContent(const QString& text, int) {
    setToolTip(text);
}
void titleBar::setButtonType(int) {}
void titleBar::setTitleWidth(int) {}
QString titleBar::titleContent() const {
    return toolTip();
}
void titleBar::mousePressEvent(QMouseEvent*) {}
void titleBar::mouseMoveEvent(QMouseEvent*) {}
void titleBar::mouseDoubleClickEvent(QMouseEvent*) {}

BaseDialog::BaseDialog(QWidget* parent) : QDialog(parent), m_titleBar(new titleBar(this)) {}
BaseDialog::~BaseDialog() = default;
void BaseDialog::updateLayout() {}

BaseWindow::BaseWindow(QWidget* parent) : QWidget(parent, Qt::Window), m_titleBar(new titleBar(this)) {}
BaseWindow::~BaseWindow() = default;
void BaseWindow::updateLayout() {}
void BaseWindow::keyPressEvent(QKeyEvent*) {}
void BaseWindow::showEvent(QShowEvent*) {}

int myMessageBox::showMyMessageBox(QWidget*, const QString& title, const QString& text, int type, int buttons,
                                   bool modal) {
    ForeignHost::expectGui("showMyMessageBox");
    ForeignHost::instance().boxes << QString("%1 %2 %3 %4").arg(title).arg(type).arg(buttons).arg(modal);
    ForeignHost::instance().messages << text;
    return 0;
}
