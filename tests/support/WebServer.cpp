#include "tests/support/WebServer.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

sockaddr_in here(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A TCP socket of this machine; closed at its end.
class Socket {
public:
    ~Socket() { close(m_handle); }
    bool connectsTo(quint16 port) const {
        const sockaddr_in address = here(port);
        return connect(m_handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    quint16 freePort() const {
        sockaddr_in address = here(0);
        socklen_t size = sizeof address;
        bind(m_handle, reinterpret_cast<const sockaddr*>(&address), size);
        getsockname(m_handle, reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }

private:
    int m_handle = socket(AF_INET, SOCK_STREAM, 0);
};

} // namespace

WebServer::WebServer(QString folder) : m_folder(std::move(folder)), m_port(Socket().freePort()) {
    start();
}

WebServer::~WebServer() {
    stop();
}

QString WebServer::address(const QString& name) const {
    return QStringLiteral("http://127.0.0.1:%1/%2").arg(m_port).arg(name);
}

void WebServer::start() {
    m_process.start("busybox",
                    {"httpd", "-f", "-p", QStringLiteral("127.0.0.1:%1").arg(m_port), "-h", m_folder});
    const QDeadlineTimer deadline(10000);
    while (!m_process.waitForStarted() || !Socket().connectsTo(m_port)) {
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning) {
            throw std::runtime_error("no web server for the tests (Debian: busybox)");
        }
        std::this_thread::yield();
    }
}

void WebServer::stop() {
    goOn();
    m_process.kill();
    m_process.waitForFinished();
}

void WebServer::fallSilent() {
    kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

void WebServer::goOn() {
    kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
}
