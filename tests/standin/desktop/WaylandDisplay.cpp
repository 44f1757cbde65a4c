#include "standin/desktop/WaylandDisplay.h"

#include "support/Await.h"

#include <QFile>
#include <QStandardPaths>

#include <csignal>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString program = u"weston"_s;
const QString socketName = u"wayland-test"_s;
const QString folderVariable = u"XDG_RUNTIME_DIR"_s;

} // namespace

bool WaylandDisplay::isInstalled() {
    return !QStandardPaths::findExecutable(program).isEmpty();
}

WaylandDisplay::WaylandDisplay(int scale) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(folderVariable, m_folder.path());
    m_server.setProcessEnvironment(environment);
    // If the test crashes, its display ends too.
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_server.setStandardOutputFile(QProcess::nullDevice());
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(program, {u"--backend=headless-backend.so"_s, u"--use-pixman"_s, u"--width=1280"_s,
                             u"--height=800"_s, u"--scale=%1"_s.arg(scale), u"--idle-time=0"_s, u"--no-config"_s,
                             u"--socket="_s + socketName, u"--log="_s + m_folder.filePath(u"log"_s)});
    const QString socket = m_folder.filePath(socketName);
    if (!test::waitUntil([&] { return QFile::exists(socket) || m_server.state() == QProcess::NotRunning; }) ||
        !QFile::exists(socket)) {
        qFatal("weston did not start: %s", qPrintable(m_server.errorString()));
    }
}

WaylandDisplay::~WaylandDisplay() {
    m_server.terminate();
    m_server.waitForFinished();
}

void WaylandDisplay::addTo(QProcessEnvironment& environment) const {
    environment.insert(folderVariable, m_folder.path());
    environment.insert(u"WAYLAND_DISPLAY"_s, socketName);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
}

} // namespace orvanel::standin
