#pragma once

#include <QString>
#include <QStringList>

namespace orvanel {

/// What the words after the program's name ask for.
struct CommandLine {
    enum class Wish { run, showHelp, showVersion, refuse };

    Wish wish = Wish::run;
    /// The word that the program does not know; only with `refuse`.
    QString unknown;

    /// `arguments` without the program's name. Options that Qt itself reads, such as -platform, are let through.
    static CommandLine of(const QStringList& arguments);
    /// What --help prints, lines and all.
    static QString help();

    bool operator==(const CommandLine&) const = default;
};

} // namespace orvanel
