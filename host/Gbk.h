#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>
#include <QStringEncoder>

#include <algorithm>
#include <string>

/// The one place that knows the 8-bit code page of names, keys, bus messages and records.
///
/// It is GBK. GB18030 serves as the codec: it gives the same bytes for everything that GBK holds and has a
/// place for every other character, so that a name with a rare character survives the way through an 8-bit
/// record. All functions are reentrant and never fail: what is not valid in the source becomes U+FFFD or '?'.

/// UTF-16 text to GBK bytes.
inline std::string toGbk(const QString& text) {
    // Names of letters and digits are the same in both, and many: a converter takes longer to open than to use.
    const auto isAscii = [](QChar character) { return character.unicode() < 0x80U; };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        return text.toLatin1().toStdString();
    }
    QStringEncoder encoder("GB18030");
    const QByteArray bytes = encoder.encode(text);
    return bytes.toStdString();
}

/// UTF-8 source literal to GBK bytes.
inline std::string toGbk(const char* utf8) {
    return toGbk(QString::fromUtf8(utf8));
}

/// True when GBK itself has every character of `bytes`, which come from toGbk: the others have codes of four
/// bytes, the second of which is a digit.
inline bool holdsOnlyGbk(const std::string& bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (static_cast<unsigned char>(bytes[i]) < 0x80U) {
            continue;
        }
        ++i;
        if (i == bytes.size() || (bytes[i] >= '0' && bytes[i] <= '9')) {
            return false;
        }
    }
    return true;
}

/// GBK bytes to UTF-16 text.
inline QString fromGbk(const std::string& bytes) {
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80U; };
    if (std::all_of(bytes.begin(), bytes.end(), isAscii)) {
        return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    }
    QStringDecoder decoder("GB18030");
    // No character goes on with a line's end, so that the decoder does not wait for the rest of one that was cut off.
    QString text = decoder.decode(QByteArray::fromStdString(bytes) + '\n');
    text.chop(1);
    return text;
}

/// GBK bytes to UTF-8, as labels on the globe need them.
inline std::string gbkToUtf8(const std::string& bytes) {
    return fromGbk(bytes).toStdString();
}

/// UTF-8 bytes, as databases and rasters give them, to GBK.
inline std::string utf8ToGbk(const std::string& utf8) {
    return toGbk(QString::fromStdString(utf8));
}
