#include "special/AttributeBox.h"

#include <QCompleter>

void prepareAttributes(QComboBox& box) {
    box.setInsertPolicy(QComboBox::NoInsert);
    box.completer()->setCompletionMode(QCompleter::PopupCompletion);
    box.completer()->setCaseSensitivity(Qt::CaseSensitive);
    // The width of the longest attribute would be the window's.
    box.setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
}

void offerAttributes(QComboBox& box, const QStringList& attributes) {
    box.insertItems(0, attributes);
    box.setCurrentIndex(-1);
}
