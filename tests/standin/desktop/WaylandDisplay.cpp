#include "standin/desktop/WaylandDisplay.h"

#include "support/Await.h"

#include <QFile>
#include <QStandardPaths>

#include <csignal>
#include <sys/prctl.h>

namespace orvanel::standin {
namespace {

const QString program = QStringLiteral("weston");
const QString socketName = QStringLiteral("wayland-test");
const QString folderVariable = QStringLiteral("XDG_RUNTIME_DIR");

} // namespace

bool WaylandDisplay::isInstalled() {
    return !QStandardPaths::findExecutable(program).isEmpty();
}

WaylandDisplay::WaylandDisplay(int scale) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(folderVariable, m_folder.path());
    m_server.setProcessEnvironment(environment);
    // A test that crashes takes its display along.
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_server.setStandardOutputFile(QProcess::nullDevice());
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(program, {QStringLiteral("--backend=headless-backend.so"), QStringLiteral("--use-pixman"),
                             QStringLiteral("--width=1280"), QStringLiteral("--height=800"),
                             QStringLiteral("--scale=%1").arg(scale), QStringLiteral("--idle-time=0"),
                             QStringLiteral("--no-config"), QStringLiteral("--socket=") + socketName,
                             QStringLiteral("--log=") + m_folder.filePath(QStringLiteral("log"))});
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
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), socketName);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
}

} // namespace orvanel::standin
