#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace orvanel::test {

/// The stand-in Uptime Kuma server on a free port of 127.0.0.1, with a throw-away state folder. Ends with the object.
class KumaServer {
public:
    struct Request {
        QString method;
        /// The path as it was sent, including the query.
        QString path;
        QString host;
        /// Whether the client asked for the connection to be closed.
        bool wantsClose = false;
        /// All header lines, joined by " | ".
        QString headers;
    };

    /// Returns when the server listens. main.cpp describes `script`, which is there from the start.
    explicit KumaServer(const QByteArray& script = {});
    ~KumaServer();
    KumaServer(const KumaServer&) = delete;
    KumaServer& operator=(const KumaServer&) = delete;

    /// The path of the program, for tests that start it in other ways.
    static QString program();

    int port() const { return m_port; }
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    QString folder() const { return m_folder.path(); }

    /// Replaces the script, from the next request on. An empty script makes a healthy server.
    void script(const QByteArray& text) const;
    /// Sets the answers for the status page `slug` and for its heartbeats.
    void page(const QString& slug, const QByteArray& json) const;
    void heartbeat(const QString& slug, const QByteArray& json) const;
    /// Writes any file of the state folder.
    void file(const QString& name, const QByteArray& content) const;

    /// The requests so far, in the order of arrival.
    QList<Request> requests() const;
    /// What the server wrote to its standard output and standard error.
    QByteArray output();

    /// Ends the server with SIGTERM and returns its exit code; -1 if it had to be killed or crashed.
    int stop();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    int m_port = 0;
};

} // namespace orvanel::test
