#pragma once

#include "SoakDesktop.h"
#include "standin/tools/StateFolder.h"

#include <QFile>
#include <QMap>

namespace orvanel {

/// What the user and the world around the program do. Each function that returns bool returns whether the program
/// followed.
class SoakLife final {
public:
    struct Places {
        /// The folder with the state and the record of the stand-in docker.
        QString tools;
        /// The answers of the stand-in Uptime Kuma are copied from `site` to `server`.
        QString site;
        QString server;
    };

    SoakLife(SoakDesktop& desktop, const Places& places);

    /// Starts the program without a container, starts the container, and closes all windows.
    bool begin(const QString& program);
    /// Does everything that a user does once, and some things more often.
    bool liveForAWhile();
    /// Waits until the program has looked at the container `count` times.
    bool passPolls(int count);

    int polls() { return calls("\tdocker\tinspect\t"); }
    /// How many operations were asked for and completed, by kind.
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
    /// How often these words occur in the stand-in docker's record.
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
