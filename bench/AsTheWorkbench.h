#pragma once

#include "workbench/app/Theme.h"

#include <QApplication>
#include <QDir>

#include <cstdio>

/// Looks and finds its files as the workbench does; each line of figures is there when it is printed.
inline void startAsTheWorkbench(QApplication& application) {
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    applyTheme(application);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
}
