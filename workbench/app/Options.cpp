#include "workbench/app/Options.h"

#include <QCommandLineParser>

namespace {

constexpr int kWrongUse = 2;

} // namespace

std::variant<Options, UsageAnswer> parseOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Corridor workbench: pipeline corridor inspection on a globe");
    const QCommandLineOption help = parser.addHelpOption();
    parser.addPositionalArgument("project", "Project folder to open.", "[PROJECT]");
    const QCommandLineOption oldRaster("old", "Surface model of the old epoch.", "FILE");
    const QCommandLineOption newRaster("new", "Surface model of the new epoch.", "FILE");
    const QCommandLineOption headless("headless", "Do the whole job and leave its results in DIR.", "DIR");
    const QCommandLineOption plugin("tools", "Tool plug-in to load instead of the one beside the program.",
                                    "FILE");
    parser.addOptions({oldRaster, newRaster, headless, plugin});

    if (!parser.parse(QStringList("corridor-workbench") + arguments)) {
        return UsageAnswer{parser.errorText() + '\n', kWrongUse};
    }
    if (parser.isSet(help)) {
        return UsageAnswer{parser.helpText(), 0};
    }
    if (parser.isSet(oldRaster) != parser.isSet(newRaster)) {
        return UsageAnswer{"--old and --new go together\n", kWrongUse};
    }
    if (parser.positionalArguments().size() > 1) {
        return UsageAnswer{"more than one project named\n", kWrongUse};
    }

    Options options;
    options.projectFolder = parser.positionalArguments().value(0);
    options.oldRaster = parser.value(oldRaster);
    options.newRaster = parser.value(newRaster);
    options.headlessFolder = parser.value(headless);
    options.pluginFile = parser.value(plugin);
    return options;
}
