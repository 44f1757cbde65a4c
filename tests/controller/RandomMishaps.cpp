#include "RandomSequence.h"

using namespace Qt::StringLiterals;

using std::chrono::milliseconds;

namespace orvanel::test {

// What happens to the controller from outside: Docker, the disk, the network and the server do what they like.

void RandomSequence::changeDaemon() {
    using standin::Daemon;
    m_world.docker().daemon = oneOf({Daemon::up, Daemon::up, Daemon::up, Daemon::down, Daemon::denied, Daemon::hangs});
    note(QString::number(int(m_world.docker().daemon)));
}

void RandomSequence::changeTools() {
    m_world.installedDocker = chance(25) ? std::nullopt : std::optional(oneOf({u"/opt/bin/docker"_s, u"/b/docker"_s}));
    m_world.installedTools.clear();
    for (const QString& tool : {u"brew"_s, u"colima"_s}) {
        if (chance(60)) {
            m_world.installedTools.insert(tool, u"/opt/bin/"_s + tool);
        }
    }
    m_world.rootHelper.reset();
    if (chance(60)) {
        m_world.rootHelper = aptHelper();
    }
    m_world.docker().colimaDelay = oneOf({0, 0, 2, -1});
    m_world.docker().compose = chance(70);
    m_world.docker().warning = chance(20) ? "WARNING: not found\n" : "";
}

void RandomSequence::changeUnits() {
    const QString load = oneOf({u"loaded"_s, u"loaded"_s, u"masked"_s, u"not-found"_s});
    const QString active = oneOf({u"inactive"_s, u"inactive"_s, u"failed"_s, u"active"_s, u"activating"_s});
    note(load + u' ' + active);
    m_world.units.states = {{u"docker.service"_s, UnitState{load, active}}};
    m_world.units.holds = chance(40);
    m_world.units.activeAfterStart = oneOf({u"active"_s, u"active"_s, u"activating"_s, u"failed"_s});
    m_world.units.refusal.reset();
    if (chance(50)) {
        m_world.docker().daemon = standin::Daemon::down;
    }
    if (chance(40)) {
        m_world.units.refusal = UnitRefusal{UnitRefusal::Reason::notAllowed, u"Access denied"_s};
    }
    m_world.units.onStart = [this] {
        if (chance(60)) {
            m_world.docker().daemon = oneOf({standin::Daemon::up, standin::Daemon::denied});
        }
    };
}

void RandomSequence::answerUnits() {
    for (const auto& question : m_world.units.questions) {
        question.complete(m_world.units.refusal);
    }
    m_world.units.questions.clear();
}

void RandomSequence::changeRegistry() {
    using standin::Registry;
    m_world.docker().registry = oneOf({Registry::up, Registry::up, Registry::unreachable, Registry::silent});
    m_world.docker().diskFull = chance(20);
    m_world.docker().pace = oneOf({0.0, 0.0, 0.05, 0.3});
    if (chance(40)) {
        m_world.docker().images.clear();
    }
}

void RandomSequence::changePorts() {
    m_world.listeningPorts.clear();
    m_world.closingPorts.clear();
    for (const int port : {3001, 3002, 3003, 4000}) {
        if (chance(20)) {
            m_world.listeningPorts.insert(port);
        }
        if (chance(20)) {
            m_world.closingPorts.insert(port);
        }
    }
    using standin::PortHolder;
    m_world.docker().portHolder = oneOf({PortHolder::nobody, PortHolder::nobody, PortHolder::process});
}

void RandomSequence::changeContainer() {
    if (chance(25)) {
        m_world.removeContainer();
    } else if (m_world.docker().container) {
        m_world.docker().container->state =
            oneOf<const char*>({"running", "running", "restarting", "exited", "paused"});
    }
}

void RandomSequence::delayCommand() {
    const char* command = oneOf({"inspect", "inspect", "inspect", "info", "image inspect", "compose version",
                                 "compose up", "compose pull", "compose stop", "run", "unpause", "stop", "logs",
                                 "brew install", "colima start", "pkexec install", "pkexec join"});
    const milliseconds time(below(12000));
    note(u"%1 %2"_s.arg(QString::fromLatin1(command)).arg(time.count()));
    m_world.delay(command, time, 1);
}

void RandomSequence::hangCommand() {
    const char* command = oneOf({"inspect", "info", "image inspect", "compose version", "compose up", "compose pull",
                                 "pull", "compose stop", "unpause", "stop", "compose down", "rm", "run", "logs",
                                 "brew install", "colima start", "pkexec install", "pkexec join"});
    note(QString::fromLatin1(command));
    m_world.hang(command, 1);
}

void RandomSequence::failCommand() {
    const char* command = oneOf({"inspect", "info", "image inspect", "compose version", "compose up", "compose pull",
                                 "pull", "compose stop", "unpause", "stop", "compose down", "rm", "run", "brew install",
                                 "colima start", "ps", "pkexec install", "pkexec join"});
    note(QString::fromLatin1(command));
    m_world.answer(command, 1,
                   oneOf({QString(), u"Cannot connect to the Docker daemon"_s, u"port is already allocated"_s,
                          u"No such container"_s}),
                   1, milliseconds(below(3000)));
}

/// Named by where the helper stopped, and by how pkexec ends.
void RandomSequence::failHelper() {
    const char* command = oneOf({"pkexec install", "pkexec join"});
    const int status = oneOf({0, 66, 68, 70, 71, 72, 73, 126, 127});
    note(u"%1 %2"_s.arg(QString::fromLatin1(command)).arg(status));
    m_world.answer(command, status, u"words\n"_s, 1, milliseconds(below(3000)));
}

void RandomSequence::changePage() {
    m_world.page.answers = chance(75);
    m_world.page.exactAnswer =
        chance(25) ? std::optional(oneOf({PageAnswer::converting, PageAnswer::strange})) : std::nullopt;
    m_world.page.holdsQuestions = chance(35);
}

void RandomSequence::answerPage() {
    for (const ScriptedPage::Question& question : m_world.page.questions) {
        question.answer.complete(
            oneOf({PageAnswer::usual, PageAnswer::usual, PageAnswer::none, PageAnswer::converting}));
    }
    m_world.page.questions.clear();
}

StatusPageResult RandomSequence::randomStatus() {
    if (chance(15)) {
        return StatusPageError{u"Could not."_s};
    }
    QList<MonitorRow> rows;
    for (int id = 1; id <= 3; ++id) {
        for (int row = below(10) == 0 ? 2 : chance(85) ? 1 : 0; row > 0; --row) {
            const int status = oneOf({0, 0, 1, 1, 1, 2, 3, -1});
            rows.append(
                monitor(id, status < 0 ? std::nullopt : std::optional<std::int64_t>(status), u"Monitor %1"_s.arg(id)));
        }
    }
    return statusPage(rows);
}

void RandomSequence::changeStatusPage() {
    m_world.page.status = randomStatus();
    m_world.page.holdsReads = chance(35);
}

void RandomSequence::answerStatusPage() {
    for (const ScriptedPage::Read& read : m_world.page.reads) {
        read.answer.complete(randomStatus());
    }
    m_world.page.reads.clear();
}

void RandomSequence::changeReleases() {
    m_world.releases.letGo();
    m_world.releases.questions.clear();
    m_world.releases.holds = chance(25);
    if (chance(20)) {
        m_world.releases.answer = ReleaseError{u"Could not check for updates (HTTP 403)."_s};
        return;
    }
    m_world.releases.answer =
        LatestRelease{.version = oneOf({u"2.1.0"_s, u"3.0.0-beta.1"_s, u"2"_s, u"2\n    privileged: true"_s})};
}

void RandomSequence::changeBackups() {
    ScriptedBackups& backups = m_world.backups;
    backups.holds = chance(60);
    backups.failure = chance(20) ? std::optional(u"The disk is full."_s) : std::nullopt;
    backups.databaseProblem = chance(15) ? std::optional(u"row 7"_s) : std::nullopt;
    backups.hasData = chance(80);
    backups.copyIsThere = chance(85);
    backups.fingerprint = oneOf({u"f00d"_s, u"f00d"_s, u"f00d"_s, u"cafe"_s, QString()});
}

void RandomSequence::endBackups() {
    for (const ScriptedBackups::Job& job : m_world.backups.jobs) {
        job.go.complete();
    }
}

} // namespace orvanel::test
