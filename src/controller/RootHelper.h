#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace orvanel {

/// The program that changes this computer for its user, with the rights of root, after polkit has asked for the
/// password; see helper/DockerSetup.h.
struct RootHelper {
    /// What asks for the password and starts the helper.
    QString pkexec;
    QString program;
    /// What the helper would install Docker with, in people's words ("apt-get install docker.io"); none where there is
    /// no package manager that it knows.
    std::optional<QString> installCommand;

    /// The arguments of pkexec for one of the helper's verbs. A terminal is never asked for the password.
    QStringList arguments(const QString& verb) const;

    bool operator==(const RootHelper&) const = default;

    /// The helper that belongs to the running program: the installed one, or the one in the same build folder. None
    /// where it, pkexec or polkit is missing. ORVANEL_TOOL_ROOT stands in for "/" here too, except for the helper.
    static std::optional<RootHelper> find();
    /// The same for a program in that folder.
    static std::optional<RootHelper> findFrom(const QString& programFolder);
};

} // namespace orvanel
