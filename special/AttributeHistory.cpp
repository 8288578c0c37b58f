#include "special/AttributeHistory.h"

#include "host/Gbk.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <iostream>

namespace {

constexpr char kFileName[] = "record.txt";

struct Block {
    const char* start;
    const char* end;
    QStringList AttributeHistory::* list;
};

/// In the order of the file.
constexpr std::array<Block, 3> kBlocks = {{{"startPolygon", "endPolygon", &AttributeHistory::polygon},
                                           {"startArea", "endArea", &AttributeHistory::area},
                                           {"startPoint", "endPoint", &AttributeHistory::point}}};

std::string_view firstWord(std::string_view line) {
    constexpr char kBlanks[] = " \t\v\f\r";
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return line.substr(begin, line.find_first_of(kBlanks, begin) - begin);
}

/// Which blocks are open, and what their words become.
class Reader {
public:
    explicit Reader(AttributeHistory& history) : m_history(history) {}

    void take(std::string_view word) {
        for (std::size_t index = 0; index < kBlocks.size(); ++index) {
            if (word == kBlocks[index].start || word == kBlocks[index].end) {
                m_isOpen[index] = word == kBlocks[index].start;
                return; // a marker only opens or closes its block; it is never an attribute
            }
        }
        // A word under two open blocks of a malformed file goes to both.
        for (std::size_t index = 0; index < kBlocks.size(); ++index) {
            if (m_isOpen[index]) {
                (m_history.*kBlocks[index].list).append(fromGbk(std::string(word)));
            }
        }
    }

private:
    AttributeHistory& m_history;
    std::array<bool, kBlocks.size()> m_isOpen{};
};

/// A word that GBK lacks is left out rather than written with '?' in place of its characters: read back, it
/// would be offered as a word that nobody typed. So is what was read from bytes that are no text.
void appendEntry(std::string& text, const QString& entry) {
    const std::string bytes = toGbk(entry);
    if (!holdsOnlyGbk(bytes)) {
        std::cout << kFileName << " goes without an attribute that has characters that GBK lacks"
                  << std::endl;
        return;
    }
    text.append(bytes).append("\n");
}

} // namespace

bool readAttributeHistory(AttributeHistory& history) {
    QFile file(kFileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray bytes = file.readAll();
    takeAttributes({bytes.constData(), static_cast<std::size_t>(bytes.size())}, history);
    return true;
}

void takeAttributes(std::string_view bytes, AttributeHistory& history) {
    Reader reader(history);
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        if (const std::string_view word = firstWord(bytes.substr(0, end)); !word.empty()) {
            reader.take(word);
        }
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
}

std::string textOf(const AttributeHistory& history) {
    std::string text;
    for (const Block& block : kBlocks) {
        text.append(block.start).append("\n");
        for (const QString& entry : history.*block.list) {
            appendEntry(text, entry);
        }
        text.append(block.end).append("\n");
    }
    return text;
}

void writeAttributeHistory(const AttributeHistory& history) {
    const std::string text = textOf(history);
    QSaveFile file(kFileName);
    file.setDirectWriteFallback(true); // for a folder in which only this file may be written
    const auto size = static_cast<qint64>(text.size());
    // Without the flush a full disk would be noticed too late to keep the old file.
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::Text) &&
                           file.write(text.data(), size) == size && file.flush() && file.commit();
    if (!isWritten) {
        std::cout << kFileName << " is not written: " << file.errorString().toStdString() << std::endl;
    }
}

void rememberAttribute(AttributeHistory& history, QStringList AttributeHistory::* list,
                       const QString& attribute) {
    QStringList& known = history.*list;
    if (attribute.isEmpty() || known.contains(attribute)) {
        return;
    }
    known.append(attribute);
    writeAttributeHistory(history);
}
