#pragma once

#include "app/views/settings/SettingsSection.h"

namespace orvanel {

/// Where Uptime Kuma is reached, and which of its status pages is shown.
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
    void setPortHint(bool isShown);

    ViewContext m_context;
    QLineEdit* m_port;
    TextLabel* m_portHint;
    QLineEdit* m_slug;
    /// The setting as this section knows it, and what it goes back to when what is typed turns out to be no port.
    std::optional<int> m_storedPort;
    int m_agreedPort = 0;
};

} // namespace orvanel
