#pragma once

#include "controller/ControllerState.h"

#include <QMenu>

namespace orvanel {

/// What the changing entries of the menu offer. Either "Start" or "Stop" is shown, never both.
struct MenuOffers {
    bool dashboard = false;
    bool showsStart = false;
    /// Whether the shown one of "Start" and "Stop" can be chosen.
    bool startOrStop = false;
};

MenuOffers menuOffers(const ControllerState& state);

class Desktop;
class KumaController;

/// The menu of the status icon. It is built once; afterwards its entries only change.
class MenuContent final : public QObject {
    Q_OBJECT

public:
    /// Who paints the menu. They differ in how they read '&' and '_'.
    enum class Painter { panel, ourselves };

    MenuContent(KumaController& controller, Desktop& desktop, Painter painter);

    QMenu& menu() { return m_menu; }

    /// Shows the controller's current state, changing only entries that differ.
    void render();

    /// The text for an entry that must show `text` as it is written.
    static QString entryText(const QString& text, Painter painter);

Q_SIGNALS:
    void openWindowRequested();

private:
    QAction* addEntry(const QString& text);

    KumaController& m_controller;
    const Painter m_painter;
    QMenu m_menu;
    QAction* m_status;
    QAction* m_openDashboard;
    QAction* m_start;
    QAction* m_stop;
};

} // namespace orvanel
