#pragma once

#include "controller/Container.h"
#include "standin/tools/InProcessDocker.h"
#include "support/FakeClock.h"
#include "support/TestHome.h"

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// What a container needs: a state, a throw-away home, and a stand-in docker that takes no time.
class ContainerWorld {
public:
    ContainerWorld() {
        host.run = docker.runner();
        host.findDocker = [this](const QString&) { return installedDocker; };
        host.findToolElsewhere = [this](const QString&) { return dockerElsewhere; };
        state->update([](ControllerState& next) {
            next.port = 3001;
            next.imageTag = u"2"_s;
        });
    }

    /// The names of the docker commands that were called since the last call of this function.
    QStringList takeCommands() {
        QStringList commands;
        for (; m_taken < docker.calls().size(); ++m_taken) {
            commands.append(docker.calls().at(m_taken).command);
        }
        return commands;
    }

    Container container(const QString& tool = u"/some/docker"_s) const { return {context, tool}; }

    TestHome home;
    FakeClock clock;
    standin::InProcessDocker docker{&clock};
    std::optional<QString> installedDocker = u"/opt/bin/docker"_s;
    std::optional<QString> dockerElsewhere;
    int changes = 0;
    const std::shared_ptr<StateStore> state = std::make_shared<StateStore>([this] { changes += 1; });
    HostFunctions host;
    const ContainerFiles files{home.path(u".local/share"_s)};
    BringUp bringUp{clock};
    const ContainerContext context{*state, host, files, bringUp};

private:
    std::size_t m_taken = 0;
};

} // namespace orvanel::test
