#include "host/viewmanager/CXCommandHandler.h"

CXCommandHandler::CXCommandHandler() = default;

CXCommandHandler::~CXCommandHandler() = default;

bool CXCommandHandler::handle(const osgGA::GUIEventAdapter& /*ea*/, osgGA::GUIActionAdapter& /*aa*/) {
    return false;
}

void CXCommandHandler::OnMessage(std::string /*message*/) {} // NOLINT(performance-unnecessary-value-param)

void CXCommandHandler::InitInstance() {}

void CXCommandHandler::ExitInstance() {}
