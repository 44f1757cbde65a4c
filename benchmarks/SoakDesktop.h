#pragma once

#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/ScreenReader.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/WindowFrames.h"

#include <QProcess>

namespace orvanel {

/// The desktop around the program, on the session bus and the display of this process. Each function that returns bool
/// waits, and returns whether the program followed in time.
class SoakDesktop final : public QObject {
    Q_OBJECT

public:
    enum class Color { red, green };

    SoakDesktop();
    /// Ends the program.
    ~SoakDesktop() override;

    /// Starts the program with shortened pauses and waits for its icon.
    bool start(const QString& program);
    qint64 processId() const { return m_program.processId(); }
    /// Why the program did not follow.
    QString trouble();
    /// Sets what trouble() will report from now on: "it did not …".
    void expect(const QString& what) { m_expected = what; }
    bool waitFor(const std::function<bool()>& condition) const;

    /// Chooses an entry of the icon's menu once it can be chosen.
    bool choose(const QString& entry);
    bool offers(const QString& entry) const;
    /// Whether the first line of the menu says that.
    bool says(const QString& status) const;
    bool shows(Color color) const;

    bool hasWindow(const QString& titleStart) const { return frame(titleStart) != nullptr; }
    bool closeWindow(const QString& title);
    /// Presses the button of that name in a window as soon as it can be pressed.
    bool pressButton(const QString& name);
    /// Waits until a window shows these words.
    bool reads(const QString& words);
    /// Whether the program with that window has a menu open.
    bool hasMenu(const QString& titleStart) const;
    /// Presses a key in the window whose title begins with `titleStart`.
    void pressKey(const QString& titleStart, quint32 keysym) const;

    /// Quits through the menu, and returns the exit code, or -1 if the program did not end.
    int quit();

    /// Signals about the icon, its tooltip and its menu.
    int news() const { return m_news; }

private:
    Q_SLOT void onNews() { m_news += 1; }
    const standin::WindowFrame* frame(const QString& titleStart) const;

    standin::StatusArea m_area;
    standin::NotificationServer m_notifications;
    standin::ScreenReader m_reader;
    const standin::DesktopLook m_look = standin::DesktopLook::light();
    standin::WindowFrames m_frames{m_look};
    QProcess m_program;
    int m_news = 0;
    QString m_expected;
};

} // namespace orvanel
