// A walk through the first hours on a computer, in a login session of its own:
//     computer-walk --part NAME --password TEXT --program FILE --log FILE --pictures FOLDER
// Exits with 0 when every step went well. The script run prepares the computer for each part.

#include "WalkSteps.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QString required(const QCommandLineParser& parser, const QString& option) {
    if (!parser.isSet(option)) {
        qFatal("--%s is missing", qPrintable(option));
    }
    return parser.value(option);
}

Part partNamed(const QString& name) {
    const QMap<QString, Part> parts{{u"without-agent"_s, Part::withoutAgent},
                                    {u"install"_s, Part::install},
                                    {u"again"_s, Part::again},
                                    {u"service"_s, Part::service},
                                    {u"group"_s, Part::group},
                                    {u"rootless"_s, Part::rootless}};
    if (!parts.contains(name)) {
        qFatal("there is no part \"%s\"", qPrintable(name));
    }
    return parts.value(name);
}

} // namespace

int main(int argc, char** argv) {
    // Qt would ask the bus for a screen reader and wait for the answer, which only this process could give.
    const QString bus = qEnvironmentVariable(standin::sessionBusVariable);
    qputenv(standin::sessionBusVariable, "disabled:");
    QLoggingCategory::setFilterRules(u"qt.qpa.theme.dbus.warning=false"_s); // it misses the bus
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    for (const char* name : {"part", "password", "program", "log", "pictures"}) {
        const QString option = QString::fromLatin1(name);
        parser.addOption({option, QString(), option});
    }
    parser.process(application);

    const Part part = partNamed(required(parser, u"part"_s));
    const QString pictures = required(parser, u"pictures"_s);
    if (!QDir().mkpath(pictures)) {
        qFatal("%s cannot be made", qPrintable(pictures));
    }
    AuthenticationAgent agent(required(parser, u"password"_s));
    if (part != Part::withoutAgent) {
        if (const QString refusal = agent.serveSession(); !refusal.isEmpty()) {
            qFatal("no agent can serve this session: %s", qPrintable(refusal));
        }
    }
    standin::Stage stage({.program = required(parser, u"program"_s),
                          .bus = bus,
                          .log = required(parser, u"log"_s),
                          .site = {},
                          .server = {}});
    if (!stage.isReady()) {
        qFatal("there is no session bus here, or another desktop is on it");
    }
    standin::Tour tour(stage, walkSteps(part, agent), pictures);
    QObject::connect(&tour, &standin::Tour::finished, &application,
                     [](bool wentWell) { QApplication::exit(wentWell ? 0 : 1); });
    tour.start();
    return QApplication::exec();
}
