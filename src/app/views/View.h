#pragma once

#include <QWidget>

class QPushButton;

namespace orvanel {

class Desktop;
class KumaController;

/// What every view is given: the state that it draws and the operations that it calls. Both outlive the views.
struct ViewContext {
    KumaController& controller;
    Desktop& desktop;
};

/// A part of a window that draws from the controller and keeps no state but its own presentation.
class View : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// Brings what is shown up to the controller's state, changing only what differs.
    virtual void render() = 0;

    /// The button that Return presses, or nullptr.
    virtual QPushButton* defaultButton() const { return nullptr; }
};

} // namespace orvanel
