#include "controller/DockerKind.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace orvanel {

// Docker's answer has the sections "Client:" and "Server:" instead.
DockerKind kindByInfo(const QString& output) {
    return output.split(u'\n').contains(u"host:"_s) ? DockerKind::podman : DockerKind::docker;
}

// Podman has no such command, or names the other program that it calls, or that program names podman.
DockerKind kindByComposeVersion(const QString& output) {
    const bool isPodman = output.contains(u"podman"_s, Qt::CaseInsensitive) ||
                          output.contains(u"external compose provider"_s, Qt::CaseInsensitive);
    return isPodman ? DockerKind::podman : DockerKind::docker;
}

bool isDockerCompose(const QString& output) {
    return output.contains(u"Docker Compose version"_s);
}

QString withoutPodmansNotice(const QString& output) {
    const auto notice = u"Emulate Docker CLI using podman."_s;
    if (!output.startsWith(notice)) {
        return output;
    }
    const qsizetype end = output.indexOf(u'\n');
    return end < 0 ? QString() : output.mid(end + 1);
}

} // namespace orvanel
