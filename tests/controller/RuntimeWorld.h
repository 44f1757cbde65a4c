#pragma once

#include "ControllerFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {

inline const auto brewStep = u"Installing Colima and Docker with Homebrew"_s;
inline const auto colimaStep = u"Starting Colima (the first start downloads a small Linux VM)"_s;

/// A world with these tools in it; `docker` is found in its usual place.
class RuntimeWorld : public ControllerFixture {
public:
    explicit RuntimeWorld(const QStringList& tools) {
        installedDocker = std::nullopt;
        for (const QString& tool : tools) {
            install(tool);
        }
    }

    void install(const QString& tool) {
        const QString path = u"/opt/bin/"_s + tool;
        if (tool == u"docker"_s) {
            installedDocker = path;
        } else {
            installedTools.insert(tool, path);
        }
    }

    /// Looks around once, as the poll loop would.
    void look() {
        controller().recheck();
        settle();
    }

    [[nodiscard]] bool setupEnds() {
        for (int turns = 0; turns < 200 && !controller().isIdle(); ++turns) {
            advance(std::chrono::seconds(1));
        }
        return controller().isIdle();
    }

    /// The result of the only run of that command.
    CommandResult resultOf(const QString& name) const {
        QList<CommandResult> results;
        for (const Command& command : commands()) {
            if (command.name() == name && command.result) {
                results.append(*command.result);
            }
        }
        return results.size() == 1 ? results.first() : CommandResult{.output = u"not run once"_s};
    }

    QString message() { return controller().state().error ? controller().state().error->message : QString(); }
    QString details() { return controller().state().error ? controller().state().error->details : QString(); }
};

} // namespace orvanel::test
