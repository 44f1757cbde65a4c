#include "standin/desktop/VirtualDisplay.h"

#include "support/Await.h"

#include <csignal>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

VirtualDisplay::VirtualDisplay(QSize size) {
    // If the test crashes, its display ends too.
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_server.setStandardErrorFile(QProcess::nullDevice());
    const QString screen = u"%1x%2x24"_s.arg(size.width()).arg(size.height());
    m_server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, screen, u"-nolisten"_s, u"tcp"_s});
    if (!test::waitUntil([this] { return m_server.canReadLine() || m_server.state() == QProcess::NotRunning; }) ||
        !m_server.canReadLine()) {
        qFatal("Xvfb did not start: %s", qPrintable(m_server.errorString()));
    }
    m_name = u':' + QString::fromLatin1(m_server.readLine().trimmed());
}

VirtualDisplay::~VirtualDisplay() {
    m_server.terminate();
    m_server.waitForFinished();
}

} // namespace orvanel::standin
