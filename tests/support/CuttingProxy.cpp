#include "tests/support/CuttingProxy.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int kTickMilliseconds = 20; // after which an end is noticed

sockaddr_un addressOf(const QString& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = path.toUtf8();
    if (static_cast<std::size_t>(name.size()) >= sizeof address.sun_path) {
        throw std::runtime_error("the path of a socket is too long");
    }
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    return address;
}

int newSocket() {
    return ::socket(AF_UNIX, SOCK_STREAM, 0);
}

/// A socket that is closed when its scope ends.
class Socket {
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    ~Socket() { ::close(m_descriptor); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

bool sendAll(int to, const unsigned char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = ::send(to, bytes, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool receiveAll(int from, unsigned char* bytes, std::size_t size) {
    return size == 0 || ::recv(from, bytes, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

/// Header of a packet: three bytes for its size and one for its number within a request.
constexpr std::size_t kHeader = 4;

bool receivePacket(int from, std::vector<unsigned char>& packet) {
    packet.resize(kHeader);
    if (!receiveAll(from, packet.data(), kHeader)) {
        return false;
    }
    const std::size_t size = packet[0] + (std::size_t{packet[1]} << 8U) + (std::size_t{packet[2]} << 16U);
    packet.resize(kHeader + size);
    return receiveAll(from, packet.data() + kHeader, size);
}

bool isReady(int descriptor) {
    pollfd wait{descriptor, POLLIN, 0};
    return ::poll(&wait, 1, 0) > 0;
}

} // namespace

CuttingProxy::CuttingProxy(const QString& url)
    : m_serverSocket(url.section("socket=", 1)), m_listener(newSocket()) {
    const QString path = m_folder.filePath("proxy");
    m_url = url.section("socket=", 0, 0) + "socket=" + path;
    const sockaddr_un address = addressOf(path);
    if (::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 8) != 0) {
        throw std::runtime_error("the proxy cannot listen");
    }
    m_acceptor = std::thread([this] { accept(); });
}

CuttingProxy::~CuttingProxy() {
    m_isEnding = true;
    m_acceptor.join();
    for (std::thread& connection : m_connections) {
        connection.join();
    }
    ::close(m_listener);
}

void CuttingProxy::cutAt(int number, Cut cut) {
    const std::lock_guard lock(m_mutex);
    m_countdown = number;
    m_isAtCommit = false;
    m_cut = cut;
    m_hasCut = false;
}

void CuttingProxy::cutAtCommit(Cut cut) {
    cutAt(0, cut);
    const std::lock_guard lock(m_mutex);
    m_isAtCommit = true;
}

void CuttingProxy::accept() {
    while (!m_isEnding) {
        pollfd wait{m_listener, POLLIN, 0};
        if (::poll(&wait, 1, kTickMilliseconds) <= 0) {
            continue;
        }
        const int client = ::accept(m_listener, nullptr, nullptr);
        if (client < 0 || m_refuses) {
            ::close(client);
        } else {
            m_connections.emplace_back([this, client] { serve(client); });
        }
    }
}

CuttingProxy::Fate CuttingProxy::fateOf(const std::vector<unsigned char>& packet) {
    constexpr unsigned char kQuit = 0x01;
    constexpr unsigned char kQuery = 0x03;
    constexpr unsigned char kCloseStatement = 0x19;
    const std::lock_guard lock(m_mutex);
    if (packet[3] != 0 || packet.size() == kHeader || packet[kHeader] == kQuit ||
        packet[kHeader] == kCloseStatement) {
        return Fate::Passes;
    }
    const std::string text(packet.begin() + kHeader + 1, packet.end());
    const bool isIt =
        m_isAtCommit ? packet[kHeader] == kQuery && text == "commit" : m_countdown > 0 && --m_countdown == 0;
    if (!isIt) {
        return Fate::Passes;
    }
    m_isAtCommit = false;
    m_hasCut = true;
    return m_cut == Cut::Request ? Fate::IsCut : Fate::IsUnheard;
}

bool CuttingProxy::passRequest(int client, int server, bool& isUnheard) {
    std::vector<unsigned char> packet;
    if (!receivePacket(client, packet)) {
        return false;
    }
    const Fate fate = fateOf(packet);
    isUnheard = isUnheard || fate == Fate::IsUnheard;
    return fate != Fate::IsCut && sendAll(server, packet.data(), packet.size());
}

void CuttingProxy::serve(int clientDescriptor) {
    const Socket client(clientDescriptor);
    const Socket server(newSocket());
    const sockaddr_un address = addressOf(m_serverSocket);
    if (::connect(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return;
    }
    bool isUnheard = false;
    std::array<unsigned char, 65536> answer{};
    while (!m_isEnding) {
        std::array<pollfd, 2> wait{pollfd{client.get(), POLLIN, 0}, pollfd{server.get(), POLLIN, 0}};
        if (::poll(wait.data(), wait.size(), kTickMilliseconds) <= 0) {
            continue;
        }
        if (isReady(server.get())) {
            const ssize_t size = ::recv(server.get(), answer.data(), answer.size(), 0);
            if (size <= 0 || isUnheard ||
                !sendAll(client.get(), answer.data(), static_cast<std::size_t>(size))) {
                return;
            }
        }
        if (isReady(client.get()) && !passRequest(client.get(), server.get(), isUnheard)) {
            return;
        }
    }
}
