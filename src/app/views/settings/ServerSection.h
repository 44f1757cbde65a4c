#pragma once

#include "app/views/settings/SettingsSection.h"

class QAction;

namespace orvanel {

/// The ports that a server without root rights can have. The settings take no other.
inline constexpr int lowestPort = 1024;
inline constexpr int highestPort = 65535;

/// The port that the user typed in plain digits, or none. Blanks around it do not count.
std::optional<int> portFrom(const QString& typed);

/// Whether more digits could make a port of it.
bool mayBecomePort(const QString& typed);

/// The port of Uptime Kuma, and the status page whose monitors are shown.
class ServerSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit ServerSection(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    void onPortEdited(const QString& text);
    void onPortEditingFinished();
    void forgetTypedPort();
    void storePort(int port);
    void showPort(int port);
    void showPortHint();
    void hidePortHint();

    ViewContext m_context;
    TextField* m_port;
    /// What Escape does while the field does not show the setting.
    QAction* m_forget;
    SettingProblem* m_portProblem;
    bool m_isPortSaved = true;
    TextField* m_slug;
    /// The setting as this section knows it, and the port that it goes back to when the user types no valid one.
    std::optional<int> m_storedPort;
    int m_agreedPort = 0;
};

} // namespace orvanel
