#pragma once

#include <QSet>
#include <QString>

#include <optional>

struct xcb_connection_t;
struct xcb_client_message_event_t;

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// Another program on an X display with a window manager: one window, in which the user types. It also sees what every
/// program sees there.
class OtherProgram {
public:
    explicit OtherProgram(const QString& display);
    ~OtherProgram();
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    /// Whether a window manager has the display.
    bool hasWindowManager() const;
    /// The title of the window that the window manager has made active; empty without one.
    QString activeTitle() const;

    void showWindow();
    /// The user clicks into the window, near its corner.
    void click();
    /// The user closes the active window by its frame.
    void closeActive();
    /// The user presses a key, in whatever window is active.
    void type();
    /// How many key presses have reached the window.
    int typed();
    /// Whether the active window claims that its user did something no earlier than the last key press here.
    bool isActiveAsNewAsTyping() const;
    /// Whether a program has said that the startup sequence of that id has ended.
    bool hasEnded(const QString& startupId);

    static QString title() { return u"Other program"_s; }

private:
    void askWindowManager(quint32 window, const char* message, quint32 data);
    void readEvents();
    void takeStartupMessage(const xcb_client_message_event_t& event);
    std::optional<quint32> property(quint32 window, const char* name) const;

    xcb_connection_t* const m_connection;
    quint32 m_root = 0;
    quint32 m_window = 0;
    int m_typed = 0;
    quint32 m_lastTime = 0;
    QByteArray m_startupMessage;
    QSet<QString> m_ended;
};

} // namespace orvanel::test
