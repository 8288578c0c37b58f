#include "workbench/inspectiondata/project/ForeignPlace.h"

#include <algorithm>

namespace inspection {

namespace {

/// Without signs that would show another place than it is: those that turn the direction of the letters, line ends.
QString shown(QString text) {
    std::replace_if(
        text.begin(), text.end(),
        [](QChar sign) {
            return sign.category() == QChar::Other_Control || sign.category() == QChar::Other_Format;
        },
        QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace

QString ForeignPlace::text() const {
    const QString place = shown(where);
    switch (use) {
    case Use::Read:
        return QStringLiteral("读取文件夹 %1").arg(place);
    case Use::Store:
        return QStringLiteral("读写数据库文件 %1").arg(place);
    case Use::Link:
        return QStringLiteral("经链接读写文件夹 %1").arg(place);
    case Use::Server:
        return QStringLiteral("连接服务器 %1").arg(place);
    case Use::Unclear:
        break;
    }
    return QStringLiteral("打开 %1 及其引用的文件或网址").arg(place);
}

QString ForeignPlace::key() const {
    switch (use) {
    case Use::Read:
        return QStringLiteral("read ") + where;
    case Use::Store:
        return QStringLiteral("store ") + where;
    case Use::Link:
        return QStringLiteral("link ") + where;
    case Use::Server:
        return QStringLiteral("server ") + where;
    case Use::Unclear:
        break;
    }
    return QStringLiteral("unclear ") + where;
}

} // namespace inspection
