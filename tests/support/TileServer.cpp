#include "tests/support/TileServer.h"

#include <QBuffer>
#include <QImage>
#include <QMetaObject>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

constexpr auto kCapabilities = R"(<?xml version="1.0"?>
<Capabilities xmlns="http://www.opengis.net/wmts/1.0" xmlns:ows="http://www.opengis.net/ows/1.1"
  xmlns:xlink="http://www.w3.org/1999/xlink" version="1.0.0"><Contents>
<Layer><ows:Identifier>ground</ows:Identifier>
<Style isDefault="true"><ows:Identifier>default</ows:Identifier></Style>
<Format>image/png</Format>
<TileMatrixSetLink><TileMatrixSet>web</TileMatrixSet></TileMatrixSetLink>
<ResourceURL format="image/png" resourceType="tile"
  template="http://127.0.0.1:%1/tiles/{TileMatrix}/{TileCol}/{TileRow}.png"/></Layer>
<TileMatrixSet><ows:Identifier>web</ows:Identifier>
<ows:SupportedCRS>urn:ogc:def:crs:EPSG::3857</ows:SupportedCRS>%2</TileMatrixSet>
</Contents></Capabilities>)";

constexpr auto kMatrix = R"(<TileMatrix><ows:Identifier>%1</ows:Identifier>
<ScaleDenominator>%2</ScaleDenominator><TopLeftCorner>-20037508.342789 20037508.342789</TopLeftCorner>
<TileWidth>256</TileWidth><TileHeight>256</TileHeight><MatrixWidth>%3</MatrixWidth>
<MatrixHeight>%3</MatrixHeight></TileMatrix>)";

QByteArray capabilities(quint16 port) {
    QString matrices;
    for (int level = 0; level <= 12; ++level) {
        // Of the well-known scale set GoogleMapsCompatible (OGC 07-057r7).
        const double scale = 559082264.0287178 / (1 << level);
        matrices += QString(kMatrix).arg(level).arg(scale, 0, 'f', 9).arg(1 << level);
    }
    return QString(kCapabilities).arg(port).arg(matrices).toUtf8();
}

void send(QTcpSocket& socket, int status, const QByteArray& body) {
    socket.write("HTTP/1.1 " + QByteArray::number(status) + " Answer\r\nContent-Length: " +
                 QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    socket.disconnectFromHost();
}

} // namespace

TileServer::TileServer(Answers answers)
    : m_context(std::make_unique<QObject>()), m_answers(std::move(answers)) {
    m_context->moveToThread(&m_thread);
    m_thread.start();
    start();
}

TileServer::~TileServer() {
    stop();
    m_thread.quit();
    m_thread.wait();
}

void TileServer::onThread(const std::function<void()>& work) const {
    QMetaObject::invokeMethod(m_context.get(), work, Qt::BlockingQueuedConnection);
}

void TileServer::start() {
    onThread([this] {
        m_server = std::make_unique<QTcpServer>();
        QObject::connect(m_server.get(), &QTcpServer::newConnection, m_context.get(), [this] { accept(); });
        m_server->listen(QHostAddress::LocalHost, m_port);
        m_port = m_server->serverPort();
    });
}

void TileServer::stop() {
    onThread([this] { m_server.reset(); });
}

void TileServer::setAnswers(Answers answers) {
    onThread([&] { m_answers = std::move(answers); });
}

QByteArray TileServer::authorization() const {
    QByteArray line;
    onThread([&] { line = m_authorization; });
    return line;
}

QString TileServer::address(const QString& row, const QString& user) const {
    return "http://" + user + "127.0.0.1:" + QString::number(m_port) + "/tiles/{z}/{x}/" + row + ".png";
}

QString TileServer::wmts() const {
    return QStringLiteral("WMTS:http://127.0.0.1:%1/capabilities.xml").arg(m_port);
}

void TileServer::setCapabilities(const QByteArray& document) {
    onThread([&] { m_capabilities = document; });
}

void TileServer::accept() {
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        auto received = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::readyRead, m_context.get(),
                         [this, socket, received] { read(*socket, received); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void TileServer::read(QTcpSocket& socket, const std::shared_ptr<QByteArray>& received) {
    received->append(socket.readAll());
    if (!received->contains("\r\n\r\n")) {
        return;
    }
    ++m_requests;
    static const QRegularExpression authorization("\r\nAuthorization: ([^\r]*)");
    m_authorization = authorization.match(QString::fromLatin1(*received)).captured(1).toLatin1();
    const Answer answer = answerTo(received->split(' ').value(1));
    received->clear();
    if (!answer.isSilent) {
        return send(socket, answer.status, answer.body);
    }
    ++m_silent;
    QObject::connect(&socket, &QTcpSocket::disconnected, m_context.get(), [this] { --m_silent; });
}

TileServer::Answer TileServer::answerTo(const QByteArray& path) const {
    static const QRegularExpression form("^/tiles/(\\d+)/(\\d+)/(\\d+)\\.png$");
    const QRegularExpressionMatch tile = form.match(QString::fromLatin1(path));
    if (tile.hasMatch()) {
        return m_answers({tile.captured(1).toInt(), tile.captured(2).toInt(), tile.captured(3).toInt()});
    }
    const Answer answer = m_answers({});
    return path == "/capabilities.xml" && !answer.isSilent
               ? Answer{200, m_capabilities.isEmpty() ? capabilities(m_port) : m_capabilities}
           : answer.isSilent ? answer
                             : Answer{404, {}};
}

QByteArray TileServer::tile(const QColor& colour) {
    QImage picture(256, 256, QImage::Format_RGB32);
    picture.fill(colour);
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");
    return png;
}

TileServer::Answers TileServer::always(const QColor& colour) {
    return [png = tile(colour)](const Tile&) { return Answer{200, png}; };
}

TileServer::Answers TileServer::silence() {
    return [](const Tile&) { return Answer{200, {}, true}; };
}
