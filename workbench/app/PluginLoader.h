#pragma once

#include <QString>

#include <optional>

/// Loads a tool plug-in by its file name, resolves "Create" and calls it, once. The library stays loaded
/// until the process ends, because its tools and handlers live in it.
///
/// Returns nothing on success, otherwise one line in Chinese that names the file and the cause. Never throws.
/// GUI thread, after the inspection library has been initialised.
std::optional<QString> loadToolPlugin(const QString& file);

/// The plug-in beside the program.
QString defaultPluginFile();
