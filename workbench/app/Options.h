#pragma once

#include <tl/expected.hpp>

#include <QString>
#include <QStringList>

/// What the command line asks of the workbench.
struct Options {
    QString projectFolder; ///< empty: start without a project
    QString oldRaster;     ///< both or none: make (or reopen) a project of two surface models
    QString newRaster;
    QString headlessFolder; ///< not empty: do the whole job without a user and leave its results here
    QString pluginFile;     ///< empty: the plug-in beside the program
};

/// Text for the terminal and the exit status to leave with.
struct UsageAnswer {
    QString text;
    int exitStatus = 0;
};

/// Whether "--help" or "-h" is among the arguments; then no display is needed, nor a QApplication.
bool asksForHelp(const QStringList& arguments);

/// What the program can be asked, in Chinese.
QString usageText();

/// `arguments` without the program's name.
tl::expected<Options, UsageAnswer> parseOptions(const QStringList& arguments);
