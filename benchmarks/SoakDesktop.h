#pragma once

#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/WindowFrames.h"

#include <QFile>
#include <QProcess>

namespace orvanel {

/// The desktop around the program, on the session bus and the display of this process, and the hand of its user.
/// Whatever returns bool says whether the program followed in time.
class SoakDesktop final : public QObject {
    Q_OBJECT

public:
    struct Places {
        QString program;
        QString calls;
        QString site;
        QString server;
    };

    explicit SoakDesktop(const Places& places);
    ~SoakDesktop() override;

    /// Starts it without a container, brings that up, and leaves no window open.
    bool startProgram();
    qint64 processId() const { return m_program.processId(); }
    /// Why the program did not follow.
    QString trouble() const;

    bool openWindow();
    bool closeWindow();
    bool startContainer();
    bool stopContainer();
    bool breakMonitor();
    bool repairMonitor();
    /// Waits until the container was looked at so many times.
    bool passPolls(int count);
    /// Quits through the menu: the exit code, or -1.
    int quit();

    int operations() const { return m_operations; }
    int polls();
    /// Signals about the icon, its tooltip and its menu.
    int news() const { return m_news; }

private:
    Q_SLOT void onNews() { m_news += 1; }
    bool press(const char* text);
    bool offers(const char* text);
    bool showsColor(int hue);
    bool monitors(const char* answers);
    bool isClosed() const;

    const Places m_places;
    standin::StatusArea m_area;
    standin::NotificationServer m_notifications;
    const standin::DesktopLook m_look = standin::DesktopLook::light();
    standin::WindowFrames m_frames{m_look};
    QProcess m_program;
    QFile m_calls;
    int m_polls = 0;
    int m_news = 0;
    int m_operations = 0;
    QString m_last;
};

} // namespace orvanel
