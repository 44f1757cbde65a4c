#pragma once

#include "controller/ControllerState.h"

#include <QMenu>

#include <optional>

namespace orvanel {

/// What the entries of the menu that change offer. Of "Start" and "Stop" exactly one is shown.
struct MenuOffers {
    bool dashboard = false;
    bool showsStart = false;
    /// Whether the one of "Start" and "Stop" that is shown can be chosen.
    bool startOrStop = false;
};

MenuOffers menuOffers(KumaState kuma, DockerState dockerState, const std::optional<QString>& busy);

class Desktop;
class KumaController;

/// The menu of the status icon. Built once; afterwards its entries only change.
class MenuContent final : public QObject {
    Q_OBJECT

public:
    /// Who paints the menu: each reads '&' and '_' in another way.
    enum class Painter { panel, ourselves };

    MenuContent(KumaController& controller, Desktop& desktop, Painter painter);

    QMenu& menu() { return m_menu; }

    /// Brings the entries up to the controller's state, touching only those that differ.
    void render();

    /// The text of an entry that shows `text` as it stands.
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
