#include "cli/Printable.h"

#include <QList>

namespace cli {

namespace {

constexpr qsizetype kLongest = 1000; ///< characters; more than any path that a system takes for one name
constexpr qsizetype kEnd = 300;

bool steers(char32_t letter) {
    switch (QChar::category(letter)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

} // namespace

std::string printable(const QString& text) {
    const QString shown = text.size() <= kLongest
                              ? text
                              : text.first(kLongest - kEnd) + QStringLiteral(" … ") + text.last(kEnd);
    QString safe;
    for (const char32_t letter : shown.toUcs4()) {
        safe += steers(letter)
                    ? QStringLiteral("\\u%1").arg(static_cast<uint>(letter), 4, 16, QLatin1Char('0'))
                    : QString::fromUcs4(&letter, 1);
    }
    return safe.toStdString();
}

std::string printable(const std::string& text) {
    return printable(QString::fromStdString(text));
}

} // namespace cli
