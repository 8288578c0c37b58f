#include "workbench/inspectiondata/project/Utf8Locale.h"

#include <QtGlobal>

#ifdef Q_OS_UNIX
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#endif

namespace inspection {

void useUtf8Locale() {
#ifdef Q_OS_UNIX
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setenv("LC_ALL", "C.UTF-8", 1);
    }
    std::setlocale(LC_ALL, "C"); // as it was; Qt sets its own
#endif
}

} // namespace inspection
