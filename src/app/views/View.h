#pragma once

#include <QWidget>

#include <functional>

class QPushButton;

namespace orvanel {

class Clock;
class Desktop;
class KumaController;

/// What every view is given: the state that it draws and the operations that it calls. All of it must outlive the view.
struct ViewContext {
    KumaController& controller;
    Desktop& desktop;
    Clock& clock;
    /// Opens the window of that id (see windowId) or brings the open one to the front, and activates the program.
    std::function<void(const QString& id)> openWindow;
};

/// A part of a window that draws from the controller and keeps no state but its own presentation.
class View : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// Shows the controller's current state, changing only what differs.
    virtual void render() = 0;

    /// The button that Return presses, or nullptr.
    virtual QPushButton* defaultButton() const { return nullptr; }

    /// The button that makes the controller look again, which may replace this view for a moment, or nullptr.
    virtual QPushButton* checkAgainButton() const { return nullptr; }
};

} // namespace orvanel
