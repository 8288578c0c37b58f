#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

namespace inspection {

namespace {

constexpr auto kScheme = "mysql://";
constexpr int kLastPort = 65535;

QString decoded(const QString& part) {
    return QString::fromUtf8(QByteArray::fromPercentEncoding(part.toUtf8()));
}

QString encoded(const QString& part, const QByteArray& besides = {}) {
    return QString::fromLatin1(QUrl::toPercentEncoding(part, besides));
}

/// An address of the Internet's sixth version stands in brackets.
QString shownHost(const QString& host) {
    return host.contains(':') ? '[' + encoded(host, ":") + ']' : encoded(host);
}

QString hostOf(const QString& part) {
    return decoded(part.startsWith('[') ? part.mid(1, part.size() - 2) : part);
}

} // namespace

QString ServerAddress::shown() const {
    QString text = kScheme + (user.isEmpty() ? QString() : encoded(user) + '@') + shownHost(host);
    if (port != 0) {
        text += ':' + QString::number(port);
    }
    text += '/' + encoded(database);
    return socket.isEmpty() ? text : text + "?socket=" + encoded(socket, "/");
}

bool isServerAddress(const QString& url) {
    return url.startsWith(QLatin1String(kScheme));
}

// QUrl refuses a user without a host, which is what a socket needs.
std::optional<ServerAddress> serverAddress(const QString& url) {
    static const QRegularExpression form(
        QStringLiteral(
            R"(^mysql://(?:([^:@/?]*)(?::([^@/?]*))?@)?(\[[^\]/?@]*\]|[^:/?@\[]*)(?::(\d{1,5}))?/([^/?]+)(?:\?(.*))?\z)"),
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch parts = form.match(url);
    if (!parts.hasMatch()) {
        return std::nullopt;
    }
    ServerAddress address;
    address.port = parts.captured(4).toInt();
    if (address.port > kLastPort) {
        return std::nullopt;
    }
    const QUrlQuery options(parts.captured(6));
    address.user = decoded(parts.captured(1));
    address.password = parts.capturedStart(2) >= 0 ? decoded(parts.captured(2))
                                                   : qEnvironmentVariable("CORRIDOR_DATABASE_PASSWORD");
    address.host = hostOf(parts.captured(3));
    address.database = decoded(parts.captured(5));
    address.socket = decoded(options.queryItemValue(QStringLiteral("socket"), QUrl::FullyEncoded));
    address.readOnly = options.allQueryItemValues(QStringLiteral("mode")).contains(QLatin1String("ro"));
    return address;
}

QString forReading(const QString& serverUrl) {
    return serverUrl + (serverUrl.contains('?') ? '&' : '?') + "mode=ro";
}

QString shownDatabase(const QString& url) {
    if (!isServerAddress(url)) {
        return url;
    }
    const auto address = serverAddress(url);
    // Of what cannot be read nothing is known to be no password.
    return address ? address->shown() : kScheme + QStringLiteral("…");
}

} // namespace inspection
