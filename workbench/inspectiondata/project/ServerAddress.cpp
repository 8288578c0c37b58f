#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

namespace inspection {

namespace {

constexpr auto kScheme = "mysql://";

QString decoded(const QString& part) {
    return QString::fromUtf8(QByteArray::fromPercentEncoding(part.toUtf8()));
}

QString encoded(const QString& part) {
    return QString::fromLatin1(QUrl::toPercentEncoding(part));
}

} // namespace

QString ServerAddress::shown() const {
    QString text = kScheme + (user.isEmpty() ? QString() : encoded(user) + '@') + host;
    if (port != 0) {
        text += ':' + QString::number(port);
    }
    text += '/' + encoded(database);
    return socket.isEmpty() ? text : text + "?socket=" + socket;
}

bool isServerAddress(const QString& url) {
    return url.startsWith(QLatin1String(kScheme));
}

// QUrl refuses a user without a host, which is what a socket needs.
std::optional<ServerAddress> serverAddress(const QString& url) {
    static const QRegularExpression form(QStringLiteral(
        R"(^mysql://(?:([^:@/?]*)(?::([^@/?]*))?@)?(\[[^\]]*\]|[^:/?@\[]*)(?::(\d{1,5}))?/([^/?]+)(?:\?(.*))?$)"));
    const QRegularExpressionMatch parts = form.match(url);
    if (!parts.hasMatch()) {
        return std::nullopt;
    }
    const QUrlQuery options(parts.captured(6));
    ServerAddress address;
    address.user = decoded(parts.captured(1));
    address.password = parts.capturedStart(2) >= 0 ? decoded(parts.captured(2))
                                                   : qEnvironmentVariable("CORRIDOR_DATABASE_PASSWORD");
    address.host = decoded(parts.captured(3)).remove('[').remove(']');
    address.port = parts.captured(4).toInt();
    address.database = decoded(parts.captured(5));
    address.socket = decoded(options.queryItemValue(QStringLiteral("socket"), QUrl::FullyEncoded));
    address.readOnly = options.queryItemValue(QStringLiteral("mode")) == QLatin1String("ro");
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
