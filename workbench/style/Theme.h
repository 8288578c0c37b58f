#pragma once

#include "host/Export.h"

#include <QColor>
#include <QPixmap>
#include <QString>

/// The product's few colours and what is made of them. GUI thread.
namespace theme {

inline const QColor kBar(0x1f, 0x3a, 0x5f);    ///< title bars: a deep blue
inline const QColor kAccent(0x1e, 0x6f, 0xd9); ///< the confirming button, focus, selection
inline const QColor kText(0x1d, 0x26, 0x33);
inline const QColor kBody(0xff, 0xff, 0xff);    ///< window background
inline const QColor kSurface(0xf3, 0xf6, 0xfa); ///< buttons, heads of tables, tool areas
inline const QColor kBorder(0xbc, 0xc6, 0xd4);
inline const QColor kSuccess(0x2e, 0x9e, 0x5b);
inline const QColor kWarning(0xe0, 0x8a, 0x1e);
inline const QColor kDanger(0xd6, 0x45, 0x45);

/// Style sheet of BaseDialog, BaseWindow and everything inside them. Sizes follow the font.
STYLE_API QString windowStyleSheet();

enum class Sign { Information, Check, Question, Exclamation };

/// A white sign on a disc of that colour.
STYLE_API QPixmap signPixmap(Sign sign, const QColor& disc, int sizePixels, qreal devicePixelRatio);

} // namespace theme
