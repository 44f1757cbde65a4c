#pragma once

#include "ControllerFixture.h"
#include "app/OrvanelApp.h"
#include "support/PrivateBus.h"

#include <utility>

namespace orvanel::test {

/// The whole program but for its process, in the world of a ControllerFixture. It has no session bus unless the test
/// gives it one, and its user has seen the guide.
class AppFixture : public ControllerFixture {
public:
    explicit AppFixture(QDBusConnection bus = PrivateBus::none());
    /// Ends whatever is still under way.
    ~AppFixture();

    /// A panel of the old kind, which appears when the test says so.
    class FakeLegacyTray final : public LegacyTray {
    public:
        bool isPresent() const override { return m_present; }
        void dock(quintptr /*window*/) override { m_hasIcon = m_present; }
        void appear() {
            m_present = true;
            Q_EMIT appeared();
        }
        void goAway() {
            m_present = false;
            if (std::exchange(m_hasIcon, false)) {
                Q_EMIT disappeared();
            }
        }

    private:
        bool m_present = false;
        bool m_hasIcon = false;
    };
    FakeLegacyTray legacyTray;

    /// Made when it is first asked for.
    OrvanelApp& app();
    KumaController& kuma() { return app().controller(); }
    /// The open window, or nullptr.
    QWidget* mainWindow() { return app().mainWindow(); }

    /// Starts the program with a container in that state, which the program itself made in an earlier run.
    void start(const QString& containerState);
    /// The same with one that runs, and a page that answers; false when the program does not see that.
    [[nodiscard]] bool startsWithRunningContainer();

    /// Runs the application's event loop and `actions` in it. Returns the exit code, or none if the loop did not end by
    /// itself.
    std::optional<int> runLoop(const std::function<void()>& actions);

private:
    const QDBusConnection m_bus;
    std::unique_ptr<OrvanelApp> m_app;
};

} // namespace orvanel::test
