#pragma once

#include <QImage>

/// The picture without the margins of its corner's colour around what is shown, but for a narrow one, and no flatter than
/// three to one. As it is where nothing is shown. Any thread.
QImage withoutEmptyMargins(const QImage& picture);
