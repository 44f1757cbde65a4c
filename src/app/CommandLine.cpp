#include "app/CommandLine.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// As QGuiApplication, QApplication and the X11 platform document them. Session managers use "session".
const QStringList qtOptionsWithValue{
    u"display"_s,         u"geometry"_s,           u"icon"_s,          u"name"_s,  u"platform"_s, u"plugin"_s,
    u"session"_s,         u"platformpluginpath"_s, u"platformtheme"_s, u"style"_s, u"title"_s,    u"stylesheet"_s,
    u"qwindowgeometry"_s, u"qwindowicon"_s,        u"qwindowtitle"_s,
};
const QStringList qtOptions{u"dograb"_s, u"nograb"_s, u"reverse"_s, u"widgetcount"_s};

/// The option's name without its dashes and value; empty if the argument is not an option.
QString optionName(const QString& argument) {
    if (!argument.startsWith(u'-')) {
        return {};
    }
    const qsizetype start = argument.startsWith(u"--"_s) ? 2 : 1;
    return argument.sliced(start).section(u'=', 0, 0);
}

} // namespace

CommandLine CommandLine::of(const QStringList& arguments) {
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument == u"--help"_s || argument == u"-h"_s) {
            return {.wish = Wish::showHelp, .unknown = {}};
        }
        if (argument == u"--version"_s || argument == u"-v"_s) {
            return {.wish = Wish::showVersion, .unknown = {}};
        }
        const QString name = optionName(argument);
        if (qtOptionsWithValue.contains(name)) {
            i += argument.contains(u'=') ? 0 : 1;
        } else if (!qtOptions.contains(name)) {
            return {.wish = Wish::refuse, .unknown = argument};
        }
    }
    return {};
}

QString CommandLine::help() {
    return u"Usage: orvanel [OPTION]\n"
           "Runs and watches a local Uptime Kuma server from the status area of the desktop.\n"
           "If Orvanel is already running, this opens its window.\n"
           "\n"
           "  -h, --help     print this text and exit\n"
           "  -v, --version  print the version and exit\n"
           "\n"
           "Everything else is set in the settings window. Qt's own options, such as -platform\n"
           "and -style, are accepted too. For more, see \"man orvanel\".\n"_s;
}

} // namespace orvanel
