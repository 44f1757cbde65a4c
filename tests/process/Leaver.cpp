// A program that ends while two runs of its shared runner are pending: one child is silent, the other writes without
// end. Its argument is the path of the test child. Prints how many of the runner's threads are left after the end of
// the application object.

#include "process/DockerCLI.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <thread>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

qsizetype threadCount() {
    return QDir(u"/proc/self/task"_s).entryList(QDir::NoDotAndDotDot | QDir::Dirs).size();
}

int runApplication(int count, char** values) {
    QCoreApplication app(count, values);
    const QString child = QString::fromLocal8Bit(values[1]);
    std::atomic<bool> isReady = false;
    const DockerCLI::OutputCallback onOutput = [&isReady](const QString&) { isReady = true; };
    constexpr std::chrono::duration<double> timeout(3600);
    const QStringList endless{u"flood"_s, u"1000000000000000"_s};
    DockerCLI::run(child, {u"stay"_s}, timeout, {}, onOutput);
    DockerCLI::run(child, endless, timeout);
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &app, [&] {
        if (isReady) {
            QCoreApplication::quit();
        }
    });
    look.start(std::chrono::milliseconds(1));
    return QCoreApplication::exec();
}

} // namespace

int main(int count, char** values) {
    std::thread([] {}).join(); // with the first thread a sanitizer starts one of its own, which is not to be counted
    const auto threads = threadCount();
    const int status = runApplication(count, values);
    std::printf("leaving %d threads\n", static_cast<int>(threadCount() - threads));
    return status;
}
