#pragma once

#include <QObject>
#include <QString>

#include <stdexcept>

/// The child of that class and object name. Without one, and without a parent, it throws, which fails the
/// test that asked and spares those after it.
template<typename Child>
Child& theChild(const QObject* parent, const QString& name = {}) {
    if (!parent) {
        throw std::runtime_error("nothing there to look for " + name.toStdString() + " in");
    }
    auto* child = parent->findChild<Child*>(name);
    if (!child) {
        throw std::runtime_error(parent->objectName().toStdString() + " has no child " + name.toStdString());
    }
    return *child;
}
