#pragma once

#include "SoakDesktop.h"
#include "standin/tools/StateFolder.h"

#include <QFile>
#include <QMap>

namespace orvanel {

/// What the user of the program and the world around it do. Whatever returns bool says whether the program followed.
class SoakLife final {
public:
    struct Places {
        /// The folder with the state and the record of the stand-in docker.
        QString tools;
        /// The answers of the stand-in Uptime Kuma come from `site` and go to `server`.
        QString site;
        QString server;
    };

    SoakLife(SoakDesktop& desktop, const Places& places);

    /// Starts the program without a container, brings that up, and leaves no window open.
    bool begin(const QString& program);
    /// Everything that a user does, once, and some of it more often.
    bool liveForAWhile();
    /// Waits until the container was looked at so many times.
    bool passPolls(int count);

    int polls() { return calls("\tdocker\tinspect\t"); }
    /// What was asked of the program and came to its end, by kind.
    const QMap<QString, int>& operations() const { return m_operations; }

private:
    bool openWindow();
    bool closeWindow();
    bool start();
    bool stop();
    bool restart();
    bool failToStart();
    bool readLogs();
    bool openSettings();
    bool backUp();
    bool breakMonitor();
    bool repairMonitor();
    bool loseDocker();

    bool showMonitors(const char* answers);
    bool isRunning() const;
    bool done(const char* operation);
    /// How often the stand-in docker's record says that.
    int calls(const char* words);

    SoakDesktop& m_desktop;
    const Places m_places;
    const standin::StateFolder m_tools;
    QFile m_record;
    QByteArray m_begun;
    QMap<QByteArray, int> m_calls;
    QMap<QString, int> m_operations;
};

} // namespace orvanel
