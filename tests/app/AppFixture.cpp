#include "AppFixture.h"

#include "support/Await.h"

#include <QCoreApplication>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

constexpr int didNotEnd = 99;

} // namespace

AppFixture::AppFixture(QDBusConnection bus)
    : m_bus(std::move(bus)) {
    home.write(u".config/Orvanel/Orvanel.conf"_s, "[General]\nhasSeenGuide=true\n");
}

AppFixture::~AppFixture() {
    if (!m_app) {
        return;
    }
    KumaController& controller = m_app->controller();
    controller.shutdownPolling();
    controller.cancelOperation();
    // A window closes together with any question shown over it.
    for (const QString& id : {windowId::main(), windowId::logs(), windowId::settings()}) {
        delete m_app->window(id);
    }
    page.letGo();
    units.letGo();
    const auto isIdle = [&] { return controller.isIdle() && underWay().isEmpty(); };
    const bool ended = waitUntil([&] {
        settle();
        if (!isIdle()) {
            clock.advance(std::max(clock.untilNextTimer(), std::chrono::milliseconds(0)));
        }
        return isIdle();
    });
    if (!ended) {
        qFatal("the controller did not end");
    }
    drainEvents();
}

OrvanelApp& AppFixture::app() {
    if (!m_app) {
        m_app = std::make_unique<OrvanelApp>(AppEnvironment{environment(), m_bus, legacyTray});
    }
    return *m_app;
}

void AppFixture::start(const QString& containerState) {
    if (const auto failure = kuma().prepareFiles()) {
        qFatal("no compose file: %s", qPrintable(*failure));
    }
    standin::addContainer(docker(), containerState.toStdString(), kuma().state().port);
    app().start();
    settle();
}

bool AppFixture::startsWithRunningContainer() {
    start(u"running"_s);
    return kuma().state().kuma == KumaState::running;
}

std::optional<int> AppFixture::runLoop(const std::function<void()>& actions) {
    QTimer tooLate;
    tooLate.setSingleShot(true);
    tooLate.callOnTimeout([] { QCoreApplication::exit(didNotEnd); });
    tooLate.start(patience);
    QTimer::singleShot(0, &tooLate, actions);
    const int code = QCoreApplication::exec();
    return code == didNotEnd ? std::nullopt : std::optional(code);
}

} // namespace orvanel::test
