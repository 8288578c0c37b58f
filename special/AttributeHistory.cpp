#include "special/AttributeHistory.h"

#include "host/Gbk.h"

#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr char kFileName[] = "record.txt";

void writeBlock(std::ofstream& file, const char* begin, const QStringList& entries, const char* end) {
    file << begin << std::endl;
    for (const QString& entry : entries)
        file << toGbk(entry) << std::endl;
    file << end << std::endl;
}

} // namespace

void readAttributeHistory(AttributeHistory& history) {
    std::ifstream file(kFileName);
    bool inPolygon = false;
    bool inArea = false;
    bool inPoint = false;
    std::string line;
    while (std::getline(file, line)) {
        std::string word;
        if (!(std::istringstream(line) >> word))
            continue;
        if (word == "startPolygon") {
            inPolygon = true;
            continue;
        }
        if (word == "endPolygon")
            inPolygon = false;
        if (word == "startArea") {
            inArea = true;
            continue;
        }
        if (word == "endArea")
            inArea = false;
        if (word == "startPoint") {
            inPoint = true;
            continue;
        }
        if (word == "endPoint")
            inPoint = false;
        // A word under two open blocks of a malformed file goes to both.
        if (inPoint)
            history.point.append(fromGbk(word));
        if (inArea)
            history.area.append(fromGbk(word));
        if (inPolygon)
            history.polygon.append(fromGbk(word));
    }
}

void writeAttributeHistory(const AttributeHistory& history) {
    std::ofstream file(kFileName, std::ios::trunc);
    writeBlock(file, "startPolygon", history.polygon, "endPolygon");
    writeBlock(file, "startArea", history.area, "endArea");
    writeBlock(file, "startPoint", history.point, "endPoint");
}
