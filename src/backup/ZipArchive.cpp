#include "backup/ZipArchive.h"

#include "backup/SafePaths.h"
#include "process/AppError.h"
#include "process/DockerCLI.h"

#include <QFileInfo>

namespace orvanel {
namespace {

constexpr std::chrono::seconds timeLimit{600};

struct Command {
    QString program;
    QStringList arguments;
};

std::optional<QString> findDitto() {
    const QFileInfo ditto(qEnvironmentVariable("ORVANEL_TOOL_ROOT") + QStringLiteral("/usr/bin/ditto"));
    return ditto.isFile() && ditto.isExecutable() ? std::optional(ditto.filePath()) : std::nullopt;
}

/// In another locale than a UTF-8 one, bsdtar drops every name that is not ASCII.
Command bsdtar(const QStringList& arguments) {
    return {QStringLiteral("/usr/bin/env"),
            QStringList{QStringLiteral("LC_ALL=C.UTF-8"), QStringLiteral("/usr/bin/bsdtar")} + arguments};
}

Command packCommand(const QString& folder, const QString& archive) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {QStringLiteral("-c"), QStringLiteral("-k"), QStringLiteral("--keepParent"), folder, archive}};
    }
    return bsdtar({QStringLiteral("-c"), QStringLiteral("--format"), QStringLiteral("zip"), QStringLiteral("-f"),
                   archive, QStringLiteral("-C"), parentOf(folder), QStringLiteral("--"), nameOf(folder)});
}

/// Without -P, bsdtar writes neither through links nor to absolute names or "..". Set-uid bits and owners are not
/// taken over, blocks of zeros become holes.
Command unpackCommand(const QString& archive, const QString& folder) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {QStringLiteral("-x"), QStringLiteral("-k"), archive, folder}};
    }
    return bsdtar({QStringLiteral("-x"), QStringLiteral("-p"), QStringLiteral("-S"), QStringLiteral("--no-same-owner"),
                   QStringLiteral("-f"), archive, QStringLiteral("-C"), folder});
}

} // namespace

QCoro::Task<void> ZipArchive::pack(QString folder, QString archive) {
    const Command command = packCommand(folder, archive);
    const CommandResult result = co_await DockerCLI::run(command.program, command.arguments, timeLimit);
    if (!result.isSuccess()) {
        throw AppError(QStringLiteral("Could not create the zip file. ") + result.output);
    }
}

QCoro::Task<void> ZipArchive::unpack(QString archive, QString folder) {
    const Command command = unpackCommand(archive, folder);
    const CommandResult result = co_await DockerCLI::run(command.program, command.arguments, timeLimit);
    if (!result.isSuccess()) {
        throw AppError(QStringLiteral("Could not open the zip file. ") + result.output);
    }
}

} // namespace orvanel
