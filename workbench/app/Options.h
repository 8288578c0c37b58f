#pragma once

#include <QString>
#include <QStringList>

#include <variant>

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

/// `arguments` without the program's name.
std::variant<Options, UsageAnswer> parseOptions(const QStringList& arguments);
