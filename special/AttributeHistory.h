#pragma once

#include <QStringList>

/// The attribute words that users have typed for special objects, one list per kind of object, and the text
/// file "record.txt" in the working directory that keeps them (GBK, one word per line, three blocks between
/// markers). GUI thread. Whoever writes the file last wins.
struct AttributeHistory {
    QStringList polygon; ///< special areas
    QStringList area;    ///< high-consequence areas
    QStringList point;   ///< special points
};

/// Appends the file's entries to the lists. Of each line the first word counts. Without a file nothing
/// changes.
void readAttributeHistory(AttributeHistory& history);

/// Writes the whole file anew. Silent when it cannot be written.
void writeAttributeHistory(const AttributeHistory& history);
