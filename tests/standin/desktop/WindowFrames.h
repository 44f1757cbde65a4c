#pragma once

#include "standin/desktop/DesktopLook.h"

#include <QAbstractNativeEventFilter>
#include <QRect>
#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

struct xcb_configure_request_event_t;

namespace orvanel::standin {

/// The title bar and border of one window, drawn behind it.
class WindowFrame final : public QWidget {
    Q_OBJECT

public:
    WindowFrame(const DesktopLook& look, quint32 window);

    static constexpr int titleHeight = 36;

    quint32 window() const { return m_window; }
    QString title() const { return m_title; }
    void setTitle(const QString& title);
    /// The window inside the frame, in the coordinates of the screen.
    void setInside(const QRect& inside);
    QRect inside() const { return geometry().adjusted(1, titleHeight, -1, -1); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const DesktopLook& m_look;
    const quint32 m_window;
    QString m_title;
};

/// A window manager that does just enough for a picture to look like a desktop: it gives windows a place, a title bar
/// and the focus. Needs the xcb platform, and must be the only window manager on its display.
class WindowFrames final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit WindowFrames(const DesktopLook& look);
    ~WindowFrames() override;

    /// From the lowest to the highest.
    std::vector<const WindowFrame*> frames() const;
    const WindowFrame* find(const QString& title) const;
    /// Asks the window to close, as its close button does.
    void close(const WindowFrame& frame);

    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;

Q_SIGNALS:
    /// A window came, went, moved or changed its title.
    void changed();

private:
    struct Atoms;

    void manage(quint32 window);
    void forget(quint32 window);
    void readTitle(WindowFrame& frame);
    void activate(WindowFrame& frame);
    QRect placeFor(const QSize& size, quint32 transientFor) const;
    void configure(const xcb_configure_request_event_t& request);
    WindowFrame* frameOf(quint32 window) const;

    const DesktopLook& m_look;
    const std::unique_ptr<Atoms> m_atoms;
    std::vector<std::unique_ptr<WindowFrame>> m_frames;
};

} // namespace orvanel::standin
