#include "app/StartupMessages.h"

#include <QString>
#include <QStringList>

#include <cstdio>
#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QStringList held;

void print(const QString& line) {
    std::fputs(qPrintable(line + u'\n'), stderr);
}

QString noDisplay() {
    QStringList tried;
    for (const char* const name : {"WAYLAND_DISPLAY", "DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name)) {
            tried << QString::fromLatin1(name) + u'=' + qEnvironmentVariable(name);
        }
    }
    if (tried.isEmpty()) {
        return u"orvanel: There is no display to show a window on; start Orvanel in a graphical session."_s;
    }
    return u"orvanel: Cannot connect to a display (%1); start Orvanel in a graphical session."_s.arg(
        tried.join(u", "_s));
}

void hold(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const QString line = qFormatLogMessage(type, context, message);
    if (qEnvironmentVariableIsSet("QT_DEBUG_PLUGINS")) {
        print(line);
    } else {
        held << line;
    }
    if (type == QtFatalMsg) {
        print(noDisplay());
        std::_Exit(EXIT_FAILURE);
    }
}

} // namespace

StartupMessages::StartupMessages()
    : m_previous(qInstallMessageHandler(hold)) {}

StartupMessages::~StartupMessages() {
    qInstallMessageHandler(m_previous);
    for (const QString& line : std::exchange(held, {})) {
        print(line);
    }
}

} // namespace orvanel
