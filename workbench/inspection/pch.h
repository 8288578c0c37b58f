#pragma once

// What most sources of the inspection data library include.
#include <QtCore>
#include <QtGui>
#include <QtWidgets>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>
