#pragma once

#include <QByteArray>
#include <QColor>
#include <QString>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>

class QTcpServer;
class QTcpSocket;

/// A real HTTP server of tiles on this machine, on a thread of its own.
class TileServer {
public:
    struct Tile {
        int level = 0;
        int column = 0;
        int row = 0; ///< as it stands in the address
    };
    struct Answer {
        int status = 200;
        QByteArray body;
        bool isSilent = false; ///< the request is taken and never answered
    };
    /// Called on the server's thread.
    using Answers = std::function<Answer(const Tile&)>;

    explicit TileServer(Answers answers);
    ~TileServer();
    TileServer(const TileServer&) = delete;
    TileServer& operator=(const TileServer&) = delete;

    /// "http://127.0.0.1:PORT/tiles/{z}/{x}/{y}.png". `user` is put before the host as it is.
    QString address(const QString& row = "{y}", const QString& user = {}) const;
    /// "WMTS:http://127.0.0.1:PORT/capabilities.xml", which names one layer of the same tiles.
    QString wmts() const;
    int requests() const { return m_requests; }
    int silentConnections() const { return m_silent; }
    /// The "Authorization" line of the latest request.
    QByteArray authorization() const;
    void setAnswers(Answers answers);
    /// What it answers in place of its capabilities; those again when empty.
    void setCapabilities(const QByteArray& document);
    /// Ends all connections and takes no more, or takes them again.
    void stop();
    void start();

    /// A tile of one colour.
    static QByteArray tile(const QColor& colour);
    static Answers always(const QColor& colour);
    static Answers silence();

private:
    void onThread(const std::function<void()>& work) const;
    void accept();
    void read(QTcpSocket& socket, const std::shared_ptr<QByteArray>& received);
    Answer answerTo(const QByteArray& path) const;

    QThread m_thread;
    std::unique_ptr<QObject> m_context; // lives on the thread, as do those below
    std::unique_ptr<QTcpServer> m_server;
    Answers m_answers;
    QByteArray m_authorization;
    QByteArray m_capabilities;
    quint16 m_port = 0;
    std::atomic<int> m_requests{0};
    std::atomic<int> m_silent{0};
};
