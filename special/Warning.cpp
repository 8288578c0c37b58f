#include "special/Warning.h"

#include "host/Gbk.h"
#include "host/style/myMessageBox.h"
#include "plugin/Inspection.h"

#include <QObject>

#include <iostream>

void showWarning(const QString& text) {
    std::cout << toGbk(text) << std::endl;
    myMessageBox::showMyMessageBox(mainWindow(), QObject::tr("提示"), text, myMessageBox::Warning,
                                   myMessageBox::Ok, true);
}
