#pragma once

#include "host/Export.h"

#include <QString>

/// For a tool tip that holds names, paths or other words that somebody has written: Qt would take what looks like mark-up
/// for it, and load the pictures that it names.
STYLE_API QString plainToolTip(const QString& text);
