#include "workbench/style/ToolTip.h"

#include <QTextDocument>

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? "<div>" + text.toHtmlEscaped().replace('\n', "<br>") + "</div>" : text;
}
