// A program that ends while runs of its shared runner are pending: one child that is silent, one that talks without
// end. Its argument is the stand-in child.

#include "process/DockerCLI.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <cstdio>

using namespace orvanel;

int main(int count, char** values) {
    QCoreApplication app(count, values);
    const QString child = QString::fromLocal8Bit(values[1]);
    std::atomic<bool> isReady = false;
    const DockerCLI::OutputCallback onOutput = [&isReady](const QString&) { isReady = true; };
    constexpr std::chrono::duration<double> timeout(3600);
    const QStringList endless{QStringLiteral("flood"), QStringLiteral("1000000000000000")};
    DockerCLI::run(child, {QStringLiteral("stay")}, timeout, {}, onOutput);
    DockerCLI::run(child, endless, timeout);
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &app, [&] {
        if (isReady) {
            QCoreApplication::quit();
        }
    });
    look.start(std::chrono::milliseconds(1));
    const int status = QCoreApplication::exec();
    std::puts("leaving");
    return status;
}
