#pragma once

#include <QProcess>
#include <QString>

/// A web server on this machine that gives a folder's files, also in parts: busybox' own. One for each object.
class WebServer {
public:
    explicit WebServer(QString folder);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// "http://127.0.0.1:PORT/name".
    QString address(const QString& name) const;
    /// Takes connections, but answers nothing, until it goes on.
    void fallSilent();
    void goOn();
    /// Takes no connections any more, or takes them again.
    void stop();
    void start();

private:
    QString m_folder;
    quint16 m_port = 0;
    QProcess m_process;
};
