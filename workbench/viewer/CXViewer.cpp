#include "host/viewer/CXViewer.h"

CXViewer* g_pCXviewer = nullptr;
