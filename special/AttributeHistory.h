#pragma once

#include <QStringList>

#include <string>
#include <string_view>

/// The attribute words that users have typed for special objects, one list per kind of object, and the text
/// file "record.txt" in the working directory that keeps them (GBK, one word per line, three blocks between
/// markers, line ends of the platform's text files). GUI thread. Whoever writes the file last wins.
struct AttributeHistory {
    QStringList polygon; ///< special areas
    QStringList area;    ///< high-consequence areas
    QStringList point;   ///< special points
};

/// Appends the file's entries to the lists. Of each line the first word counts, however long it is. False,
/// and nothing is changed, when the file cannot be opened.
bool readAttributeHistory(AttributeHistory& history);

/// The same with the bytes of such a file.
void takeAttributes(std::string_view bytes, AttributeHistory& history);
/// The bytes of a file with these lists, without the words that GBK does not hold, each of which leaves a line in the log.
std::string textOf(const AttributeHistory& history);

/// Writes the whole file anew, without the words that GBK does not hold. A file that cannot be written is
/// left as it is. Either leaves a line in the log.
void writeAttributeHistory(const AttributeHistory& history);

/// Appends a new, non-empty attribute to one of the lists and writes the file; `list` is for example
/// &AttributeHistory::point.
void rememberAttribute(AttributeHistory& history, QStringList AttributeHistory::* list,
                       const QString& attribute);
