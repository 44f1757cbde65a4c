// Another process with a SingleInstance, as TestSingleInstance needs it: OtherInstance BUS-ADDRESS LOCK-FILE
// Says on its standard output what became of it, one line each: "First" (and so on), "activated TOKEN".
#include "platform/SingleInstance.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>

using namespace orvanel;

namespace {

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QString nameOf(SingleInstance::Outcome outcome) {
    switch (outcome) {
    case SingleInstance::Outcome::First:
        return QStringLiteral("First");
    case SingleInstance::Outcome::Successor:
        return QStringLiteral("Successor");
    case SingleInstance::Outcome::AlreadyRunning:
        return QStringLiteral("AlreadyRunning");
    case SingleInstance::Outcome::NoBus:
        return QStringLiteral("NoBus");
    case SingleInstance::Outcome::DataInUse:
        return QStringLiteral("DataInUse");
    }
    return QStringLiteral("?");
}

} // namespace

int main(int argc, char** argv) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const auto tokens = SingleInstance::LaunchTokens::fromEnvironment();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    SingleInstance instance(arguments.value(2),
                            QDBusConnection::connectToBus(arguments.value(1), QStringLiteral("bus")));
    QObject::connect(&instance, &SingleInstance::activated,
                     [](const QString& token) { say(QStringLiteral("activated ") + token); });
    const auto outcome = instance.start(tokens);
    say(nameOf(outcome));
    const bool leaves =
        outcome == SingleInstance::Outcome::AlreadyRunning || outcome == SingleInstance::Outcome::DataInUse;
    return leaves ? 0 : QCoreApplication::exec();
}
