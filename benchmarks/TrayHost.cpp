// The status area that the measured programs register with: `bench-tray-host [--end-at-registration]`. Prints a line
// when it is ready, and another when an icon has registered. With the option, it then ends that icon's program with
// SIGUSR1, whose default action lets an instruction counter around the program still print its count.

#include "standin/desktop/StatusArea.h"

#include <QDBusConnectionInterface>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

using orvanel::standin::StatusArea;

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const bool endsPrograms = QGuiApplication::arguments().contains(u"--end-at-registration"_s);
    const QDBusConnection bus = QDBusConnection::sessionBus();

    StatusArea area(bus);
    bool wasTold = false;
    QObject::connect(&area, &StatusArea::changed, &area, [&] {
        if (wasTold || area.registeredItems().isEmpty()) {
            return;
        }
        wasTold = true;
        std::puts("registered");
        std::fflush(stdout);
        if (endsPrograms) {
            const QString service = area.registeredItems().first().section(u'/', 0, 0);
            const uint pid = bus.interface()->servicePid(service);
            ::kill(static_cast<pid_t>(pid), SIGUSR1);
        }
    });
    if (!area.open()) {
        std::fputs("bench-tray-host: this bus has a status area already\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return QGuiApplication::exec();
}
