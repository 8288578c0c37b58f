#pragma once

#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

/// Stands between a program and a MariaDB server, on a socket of its own, and cuts the connection at a chosen
/// request. Requests are counted over all connections; those that get no answer do not count.
class CuttingProxy {
public:
    enum class Cut {
        Request, ///< the server never sees it
        Answer   ///< the server has done it, and nobody hears of it
    };

    /// `url` is the address of a database on the server.
    explicit CuttingProxy(const QString& url);
    ~CuttingProxy();
    CuttingProxy(const CuttingProxy&) = delete;
    CuttingProxy& operator=(const CuttingProxy&) = delete;

    /// The same database through the proxy.
    const QString& url() const { return m_url; }
    /// Cuts at the `number`th request from now on, once; 0 for none.
    void cutAt(int number, Cut cut = Cut::Request);
    /// Cuts at the next commit, once.
    void cutAtCommit(Cut cut);
    /// Whether it has come to that.
    bool hasCut() const { return m_hasCut; }
    /// While it does, new connections are closed at once.
    void refuseConnections(bool refuses) { m_refuses = refuses; }

private:
    enum class Fate { Passes, IsCut, IsUnheard };

    void accept();
    void serve(int client);
    /// Passes whole packets on. False when the connection is over.
    bool passRequest(int client, int server, bool& isUnheard);
    Fate fateOf(const std::vector<unsigned char>& packet);

    QTemporaryDir m_folder;
    QString m_serverSocket;
    QString m_url;
    int m_listener = -1;
    std::atomic<bool> m_isEnding{false};
    std::atomic<bool> m_refuses{false};
    std::atomic<bool> m_hasCut{false};
    std::mutex m_mutex;
    int m_countdown = 0;
    bool m_isAtCommit = false;
    Cut m_cut = Cut::Request;
    std::thread m_acceptor;
    std::vector<std::thread> m_connections; ///< of the acceptor's thread until that is joined
};
