#include "app/CommandLine.h"
#include "app/LegacyTray.h"
#include "app/OrvanelApp.h"
#include "app/StartNotices.h"
#include "app/StartupMessages.h"
#include "app/StartupSequence.h"
#include "app/UserEnvironment.h"
#include "platform/AppIdentity.h"
#include "platform/QuitSignals.h"
#include "platform/SingleInstance.h"

#include <QApplication>
#include <QDir>
#include <QPixmapCache>
#include <QSessionManager>
#include <QThreadPool>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

/// Opens the standard streams if a launcher has closed them. Otherwise the next files that are opened, usually sockets,
/// would take their numbers.
void openStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= 2);
    ::close(descriptor);
}

void print(FILE* stream, const QString& text) {
    std::fputs(qPrintable(text), stream);
}

/// The exit status if the command line only asks for a text or is wrong; none if the program is to run. Needs no
/// display.
std::optional<int> answerAtOnce(int argc, const char* const* argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    const auto commandLine = CommandLine::of(arguments);
    switch (commandLine.wish) {
    case CommandLine::Wish::showHelp:
        print(stdout, CommandLine::help());
        return 0;
    case CommandLine::Wish::showVersion:
        print(stdout, u"Orvanel %1\n"_s.arg(QCoreApplication::applicationVersion()));
        return 0;
    case CommandLine::Wish::refuse:
        print(stderr, u"orvanel: \"%1\" is not an option; see \"orvanel --help\".\n"_s.arg(commandLine.unknown));
        return 2;
    case CommandLine::Wish::run:
        break;
    }
    return std::nullopt;
}

/// Ends the program where there is no display.
std::unique_ptr<QApplication> makeApplication(int& argc, char** argv) {
    const StartupMessages messages;
    return std::make_unique<QApplication>(argc, argv);
}

/// For `startupId`, see endStartupSequence(). `window` is the token with which the main window opens at once, if it
/// does.
int run(SingleInstance& instance, const QString& startupId, const std::optional<QString>& window) {
    // Never released: tasks may still use them while the program ends.
    static auto* const environment = new UserEnvironment;
    const std::unique_ptr<LegacyTray> legacyTray = LegacyTray::ofDisplay();
    static auto* const app = new OrvanelApp({environment->forController(), QDBusConnection::sessionBus(), *legacyTray});

    const QuitSignals signals_;
    QObject::connect(&signals_, &QuitSignals::quitRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&instance, &SingleInstance::activated, app, [](const QString& token, const QString& id) {
        app->openMainWindow(token);
        endStartupSequence(id);
    });
    QObject::connect(app, &OrvanelApp::quitting, &instance, &SingleInstance::leave);
    QObject::connect(&environment->notifier(), &DesktopNotifier::activated, app, &OrvanelApp::openMainWindow);
    // Only the login item decides whether the program starts with the session, so the session must not restart it.
    const auto neverRestart = [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); };
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, qApp, neverRestart, Qt::DirectConnection);
    QObject::connect(qApp, &QGuiApplication::saveStateRequest, qApp, neverRestart, Qt::DirectConnection);
    app->start();
    // Qt ends it with the first window, which may not open for long.
    endStartupSequence(startupId);
    if (window) {
        app->openMainWindow(*window);
    }
    const int code = QCoreApplication::exec();
    // A job on the data may still run. The program does not wait for it for ever, and keeps the lock on the data until
    // the process ends.
    if (!QThreadPool::globalInstance()->waitForDone(1000)) {
        std::_Exit(code);
    }
    return code;
}

} // namespace

int main(int argc, char* argv[]) {
    openStandardStreams();
    const auto tokens = SingleInstance::LaunchTokens::fromEnvironment();
    QCoreApplication::setApplicationName(identity::applicationName());
    QCoreApplication::setOrganizationName(identity::applicationName());
    QCoreApplication::setApplicationVersion(QString::fromUtf8(ORVANEL_VERSION));
    QGuiApplication::setDesktopFileName(identity::desktopId());
    if (const auto status = answerAtOnce(argc, argv)) {
        return *status;
    }
    const auto application = makeApplication(argc, argv);
    // In KiB. Qt caches the pictures of every new window's buttons, by default up to ten MiB.
    QPixmapCache::setCacheLimit(128);
    // The folder where the program was started can then be removed or unmounted.
    QDir::setCurrent(QDir::homePath());

    SingleInstance instance;
    std::optional<QString> window;
    auto outcome = instance.start(tokens);
    if (outcome == SingleInstance::Outcome::Leaving) {
        outcome = waitForLeavingCopy(instance);
    }
    switch (outcome) {
    case SingleInstance::Outcome::AlreadyRunning:
        endStartupSequence(tokens.startupId);
        return 0;
    case SingleInstance::Outcome::DataInUse:
        std::fputs("orvanel: Another copy of Orvanel, which cannot be reached from here, uses the same data.\n",
                   stderr);
        endStartupSequence(tokens.startupId);
        instance.leave();
        tellThatDataIsInUse();
        return 1;
    case SingleInstance::Outcome::Successor:
        window = tokens.activationToken;
        break;
    case SingleInstance::Outcome::First:
    case SingleInstance::Outcome::NoBus:
    case SingleInstance::Outcome::Leaving:
        break;
    }
    return run(instance, tokens.startupId, window);
}
