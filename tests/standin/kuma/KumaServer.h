#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace orvanel::test {

/// The stand-in Uptime Kuma server on a free port of 127.0.0.1, with a throw-away state folder. Ends with its object.
class KumaServer {
public:
    struct Request {
        QString method;
        /// As it came over the wire, query included.
        QString path;
        QString host;
        /// Whether the client asked for the connection to be closed.
        bool wantsClose = false;
        /// All header lines, joined by " | ".
        QString headers;
    };

    /// Returns when the server listens. `script` is as described in main.cpp, there from the start.
    explicit KumaServer(const QByteArray& script = {});
    ~KumaServer();
    KumaServer(const KumaServer&) = delete;
    KumaServer& operator=(const KumaServer&) = delete;

    /// The program itself, for those who start it in other ways.
    static QString program();

    int port() const { return m_port; }
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    QString folder() const { return m_folder.path(); }

    /// Replaces the script; counts from the next request. Empty: a healthy server.
    void script(const QByteArray& text) const;
    /// What the status page `slug`, and its heartbeats, answer.
    void page(const QString& slug, const QByteArray& json) const;
    void heartbeat(const QString& slug, const QByteArray& json) const;
    /// Any file of the state folder.
    void file(const QString& name, const QByteArray& content) const;

    /// Those received so far, in the order of arrival.
    QList<Request> requests() const;
    /// What it wrote to its standard output and standard error.
    QByteArray output();

    /// Ends it with SIGTERM and returns its exit code; -1 when it had to be killed or crashed.
    int stop();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    int m_port = 0;
};

} // namespace orvanel::test
