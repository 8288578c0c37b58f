#pragma once

#include "host/Export.h"

#include <QString>

class QWidget;

/// The product's message box. Texts are shown as they stand, without markup.
class STYLE_API myMessageBox {
public:
    enum Type { Information = 0, Success = 1, Question = 2, Warning = 3 };
    enum Buttons { Ok = 0, YesNo = 1, YesNoCautious = 2 }; ///< the last one's default is no

    /// Shows the box and, when `modal`, waits for the user.
    /// `type` chooses the icon (Type), `buttons` the buttons (Buttons).
    /// Returns 0 when the user confirmed (OK or yes), 1 otherwise. A box that is not modal returns 0 at once
    /// and deletes itself when it is closed. A modal one waits in an event loop of its own: frames and timers
    /// go on meanwhile. `parent` may be null. GUI thread.
    static int showMyMessageBox(QWidget* parent, const QString& title, const QString& text, int type,
                                int buttons, bool modal = true);
};
