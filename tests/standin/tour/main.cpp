// The demo's tour, on a display and a session bus of its own:
//     standin-tour --program FILE --log FILE --site FOLDER --server FOLDER --pictures FOLDER [--dark]
// Exits with 0 when every step went well. scripts/demo prepares the world and the bus for it.

#include "Tour.h"

#include "platform/QuitSignals.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;
using namespace orvanel::standin;

namespace {

QString required(const QCommandLineParser& parser, const QString& option) {
    if (!parser.isSet(option)) {
        qFatal("--%s is missing", qPrintable(option));
    }
    return parser.value(option);
}

} // namespace

int main(int argc, char** argv) {
    // Qt would ask the bus for a screen reader and wait for the answer, which only this process could give.
    const QString bus = qEnvironmentVariable(sessionBusVariable);
    qputenv(sessionBusVariable, "disabled:");
    QLoggingCategory::setFilterRules(u"qt.qpa.theme.dbus.warning=false"_s); // it misses the bus
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (QGuiApplication::platformName() != u"xcb") {
        qFatal("the tour needs an X display of its own");
    }

    QCommandLineParser parser;
    for (const char* name : {"program", "log", "site", "server", "pictures"}) {
        const QString option = QString::fromLatin1(name);
        parser.addOption({option, QString(), option});
    }
    parser.addOption(QCommandLineOption(u"dark"_s));
    parser.process(application);

    const QString pictures = required(parser, u"pictures"_s);
    if (!QDir().mkpath(pictures)) {
        qFatal("%s cannot be made", qPrintable(pictures));
    }
    Stage stage({.program = required(parser, u"program"_s),
                 .bus = bus,
                 .log = required(parser, u"log"_s),
                 .site = required(parser, u"site"_s),
                 .server = required(parser, u"server"_s),
                 .dark = parser.isSet(u"dark"_s)});
    if (!stage.isReady()) {
        qFatal("there is no session bus here, or another desktop is on it");
    }
    Tour tour(stage, demoSteps(), pictures);
    QObject::connect(&tour, &Tour::finished, &application, [](bool wentWell) { QApplication::exit(wentWell ? 0 : 1); });
    // If the tour is interrupted, it still ends the program that it started.
    const orvanel::QuitSignals signals_;
    QObject::connect(&signals_, &orvanel::QuitSignals::quitRequested, &application, [] { QApplication::exit(1); });
    tour.start();
    return QApplication::exec();
}
