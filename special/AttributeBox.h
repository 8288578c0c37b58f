#pragma once

#include <QComboBox>
#include <QStringList>

/// Offers the attributes in an editable combo box that is empty so far. Nothing is chosen, and nothing but
/// what the user types or picks ever stands in it: similar attributes are offered below it, and neither Enter
/// nor a difference in letter case makes one of them of what was typed.
void offerAttributes(QComboBox& box, const QStringList& attributes);
