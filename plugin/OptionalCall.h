#pragma once

#include <QMetaMethod>
#include <QObject>

/// Calls the slot or signal of that normalised signature with one argument. Does nothing where the object has
/// no such member. GUI thread.
template<typename Argument>
void callIfThere(QObject* object, const char* signature, const Argument& argument) {
    const int index = object ? object->metaObject()->indexOfMethod(signature) : -1;
    if (index >= 0) {
        object->metaObject()->method(index).invoke(
            object, Qt::DirectConnection,
            QGenericArgument(QMetaType::fromType<Argument>().name(), &argument));
    }
}

/// True when the object has that member.
inline bool hasMember(const QObject* object, const char* signature) {
    return object && object->metaObject()->indexOfMethod(signature) >= 0;
}
