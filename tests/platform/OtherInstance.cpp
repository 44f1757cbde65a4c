// Another process with a SingleInstance, for TestSingleInstance: OtherInstance BUS-ADDRESS LOCK-FILE
// Prints what happens to it, one line each: the outcome of its start ("First" …), and "activated [TOKEN] [STARTUP-ID]".
#include "platform/SingleInstance.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QString nameOf(SingleInstance::Outcome outcome) {
    switch (outcome) {
    case SingleInstance::Outcome::First:
        return u"First"_s;
    case SingleInstance::Outcome::Successor:
        return u"Successor"_s;
    case SingleInstance::Outcome::AlreadyRunning:
        return u"AlreadyRunning"_s;
    case SingleInstance::Outcome::NoBus:
        return u"NoBus"_s;
    case SingleInstance::Outcome::Leaving:
        return u"Leaving"_s;
    case SingleInstance::Outcome::DataInUse:
        return u"DataInUse"_s;
    }
    return u"?"_s;
}

} // namespace

int main(int argc, char** argv) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const auto tokens = SingleInstance::LaunchTokens::fromEnvironment();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    SingleInstance instance(arguments.value(2), QDBusConnection::connectToBus(arguments.value(1), u"bus"_s));
    QObject::connect(&instance, &SingleInstance::activated, [](const QString& token, const QString& startupId) {
        say(u"activated [%1] [%2]"_s.arg(token, startupId));
    });
    auto outcome = instance.start(tokens);
    say(nameOf(outcome));
    if (outcome == SingleInstance::Outcome::Leaving) {
        outcome = instance.waitForEnd();
        say(nameOf(outcome));
    }
    const bool leaves =
        outcome == SingleInstance::Outcome::AlreadyRunning || outcome == SingleInstance::Outcome::DataInUse;
    return leaves ? 0 : QCoreApplication::exec();
}
