#include "standin/desktop/VirtualDisplay.h"

#include "support/Await.h"

#include <csignal>
#include <sys/prctl.h>

namespace orvanel::standin {

VirtualDisplay::VirtualDisplay() {
    // A test that crashes takes its display along.
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
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
