#include "anomaly/CeditDiff.h"
#include "commands/CRedo.h"
#include "commands/CSetPara.h"
#include "commands/CUndo.h"
#include "commands/CcomputDiff.h"
#include "commands/Coutputreport.h"
#include "commands/Coutputshp.h"
#include "commands/CsetViewPoint.h"
#include "host/Export.h"
#include "host/Gbk.h"
#include "host/viewmanager/DynamicClass.h"
#include "region/CeditPolygon.h"
#include "special/Cdrawpoint.h"
#include "special/Cdrawspeicalarea.h"

#include <new>

namespace {

/// Builds a tool and registers its handler part. The tool makes itself known to the host as a command and
/// lives until the host calls its Destroy.
template<typename Tool>
void add(const char* registeredName) {
    CXCommandHandler* handler = new (std::nothrow) Tool;
    const DynamicClass registration(toGbk(registeredName), handler);
}

} // namespace

/// The library's one export. The host calls it once, on its GUI thread, when the inspection data library is
/// ready.
extern "C" CORRIDOR_EXPORT void Create();

void Create() {
    add<CcomputDiff>("计算异常");
    add<CeditDiff>("查看\\编辑异常");
    add<CeditPolygon>("编辑特殊区域");
    add<Cdrawpoint>("添加特殊点");
    add<Coutputreport>("输出报告");
    add<Coutputshp>("输出shape");
    add<CSetPara>("参数设置");
    add<CsetViewPoint>("参数视图"); // not the tool's name; nothing selects this handler
    add<CUndo>("撤销");
    add<CRedo>("重做");
    add<Cdrawspeicalarea>("添加特殊面");
}
