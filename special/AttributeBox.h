#pragma once

#include <QComboBox>
#include <QStringList>

/// Makes an editable combo box one for attributes: nothing but what the user types or picks ever stands in
/// it. Similar attributes are offered below it, and neither Enter nor a difference in letter case makes one
/// of them of what was typed.
void prepareAttributes(QComboBox& box);

/// Offers the attributes before those that the box offers already. Nothing is chosen.
void offerAttributes(QComboBox& box, const QStringList& attributes);
