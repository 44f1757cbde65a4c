// A program that starts or updates Uptime Kuma, or goes back to the version before, and is killed before the step with
// the given number; 0 means never. A step is anything that another program could notice: a change of the published
// state, or the beginning or end of a command or a backup. Arguments: the folder with its settings and data, "start" or
// "update", the number.

#include "RecordingPlatform.h"
#include "controller/ControllerEnvironment.h"
#include "controller/HostFunctions.h"
#include "controller/KumaController.h"
#include "support/Await.h"
#include "task/Clock.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

class AgreeingDialogs final : public Dialogs {
public:
    QCoro::Task<bool> confirm(Alert /*alert*/) override { co_return true; }
    QCoro::Task<std::optional<QString>> chooseSavePath(SavePanel /*panel*/) override { co_return std::nullopt; }
    QCoro::Task<std::optional<QString>> chooseOpenPath(OpenPanel /*panel*/) override { co_return std::nullopt; }
};

int killAt = 0;
int steps = 0;

void step() {
    steps += 1;
    if (steps == killAt) {
        ::kill(::getpid(), SIGKILL);
    }
}

QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> limit,
                               std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
    step();
    const CommandResult result = co_await DockerCLI::run(path, arguments, limit, handle, onOutput);
    step();
    co_return result;
}

QCoro::Task<std::optional<BackupResult>> autoBackup(QString dataDir, QString backupsDir, QString label) {
    step();
    const std::optional<BackupResult> backup = co_await BackupManager::autoBackup(dataDir, backupsDir, label);
    step();
    co_return backup;
}

QCoro::Task<void> restore(QString source, QString dataDir, QString backupsDir, std::stop_token stop) {
    step();
    co_await BackupManager::restore(source, dataDir, backupsDir, stop);
    step();
}

QCoro::Task<PageAnswer> pageAnswers(int /*port*/) {
    co_return PageAnswer::usual;
}

QCoro::Task<ReleaseResult> latestRelease() {
    co_return LatestRelease{.version = u"2.1.0"_s};
}

int work(const QString& folder, const QString& what) {
    SettingsStore settings(folder + u"/settings.conf"_s);
    RecordingNotifier notifier;
    RecordingLoginItem loginItem;
    RecordingDesktop desktop;
    AgreeingDialogs dialogs;
    ControllerEnvironment environment;
    environment.defaults = &settings;
    environment.clock = &SystemClock::instance();
    environment.notifier = &notifier;
    environment.loginItem = &loginItem;
    environment.desktop = &desktop;
    environment.dialogs = &dialogs;
    environment.applicationSupport = folder;
    const auto host = std::make_shared<HostFunctions>();
    host->run = &run;
    environment.pageAnswers = &pageAnswers;
    environment.fetchLatestRelease = &latestRelease;
    host->autoBackup = &autoBackup;
    host->restore = &restore;
    environment.host = host;

    KumaController kuma(environment);
    kuma.recheck();
    kuma.checkForUpdates();
    await(kuma.finished());
    steps = 0;
    QObject::connect(&kuma, &KumaController::changed, &kuma, &step);
    if (what == u"update") {
        kuma.updateNow();
    } else if (what == u"go back") {
        kuma.goBack();
    } else {
        kuma.start();
    }
    await(kuma.finished());
    if (kuma.state().error) {
        std::fprintf(stderr, "%s\n%s\n", qPrintable(kuma.state().error->message),
                     qPrintable(kuma.state().error->details));
    }
    return kuma.state().error ? 1 : 0;
}

} // namespace

int main(int count, char** values) {
    const QCoreApplication application(count, values);
    const QStringList arguments = QCoreApplication::arguments();
    killAt = arguments.value(3).toInt();
    return work(arguments.value(1), arguments.value(2));
}
