#include "backup/ZipArchive.h"

#include "backup/DiskRoom.h"
#include "backup/RoomWatch.h"
#include "backup/SafePaths.h"
#include "backup/UnpackedCheck.h"
#include "backup/ZipListing.h"
#include "process/AppError.h"
#include "process/DockerCLI.h"
#include "task/Worker.h"

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

/// The quickest compression: what grows large here is a database, and there is a time limit.
Command packCommand(const QString& folder, const QString& archive) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {QStringLiteral("-c"), QStringLiteral("-k"), QStringLiteral("--keepParent"), folder, archive}};
    }
    const QString name = nameOf(folder);
    // A name that begins with "@" would stand for an archive to be taken in.
    const QString entry = name.startsWith(u'@') ? QStringLiteral("./") + name : name;
    return bsdtar({QStringLiteral("-c"), QStringLiteral("--format"), QStringLiteral("zip"), QStringLiteral("--options"),
                   QStringLiteral("zip:compression-level=1"), QStringLiteral("-f"), archive, QStringLiteral("-C"),
                   parentOf(folder), QStringLiteral("--"), entry});
}

/// Without -P, bsdtar writes neither through links nor to absolute names or "..". Owners are not taken over, blocks of
/// zeros become holes, and nobody is asked for the password of an encrypted archive.
Command unpackCommand(const QString& archive, const QString& folder) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {QStringLiteral("-x"), QStringLiteral("-k"), archive, folder}};
    }
    return bsdtar({QStringLiteral("-x"), QStringLiteral("-p"), QStringLiteral("-S"), QStringLiteral("--no-same-owner"),
                   QStringLiteral("--passphrase"), QStringLiteral("none"), QStringLiteral("-f"), archive,
                   QStringLiteral("-C"), folder});
}

AppError packError(const QString& reason) {
    return AppError(QStringLiteral("Could not create the zip file. ") + reason);
}

AppError unpackError(const QString& reason) {
    return AppError(QStringLiteral("Could not open the zip file. ") + reason);
}

bool requireEntries(const QString& archive, qint64 entries) {
    const auto listing = readZipListing(archive);
    if (!listing || listing->entries != entries) {
        throw packError(QStringLiteral("Something is missing in it."));
    }
    return true;
}

/// Free bytes at which unpacking is stopped. An archive that is larger than it says may use half of what should be
/// left.
qint64 leastRoomFor(const QString& archive, const QString& folder) {
    if (!beginsLikeZip(archive)) {
        throw unpackError(QStringLiteral("It is not a zip archive."));
    }
    constexpr qint64 perEntry = 4096;
    const auto listing = readZipListing(archive);
    const qint64 free = bytesFreeAt(folder);
    const qint64 entries = listing ? listing->entries * perEntry : 0;
    const qint64 bytes = listing ? listing->bytes : 0;
    if (bytes > free - entries) {
        throw unpackError(roomSentence(bytes, free));
    }
    return (free - entries - bytes) / 2;
}

} // namespace

QCoro::Task<void> ZipArchive::pack(QString folder, QString archive) {
    const std::function<qint64()> counting = [folder] { return requirePackable(folder); };
    const qint64 entries = co_await onWorker<qint64>(counting);
    const Command command = packCommand(folder, archive);
    const CommandResult result = co_await DockerCLI::run(command.program, command.arguments, timeLimit);
    if (!result.isSuccess()) {
        throw packError(result.output);
    }
    const std::function<bool()> checking = [archive, entries] { return requireEntries(archive, entries); };
    co_await onWorker<bool>(checking);
}

QCoro::Task<void> ZipArchive::unpack(QString archive, QString folder) {
    const std::function<qint64()> measuring = [archive, folder] { return leastRoomFor(archive, folder); };
    const qint64 least = co_await onWorker<qint64>(measuring);
    const auto handle = std::make_shared<ProcessHandle>();
    std::stop_source stop;
    auto watch = watchRoom(folder, least, handle, stop.get_token());
    const Command command = unpackCommand(archive, folder);
    const CommandResult result = co_await DockerCLI::run(command.program, command.arguments, timeLimit, handle);
    stop.request_stop();
    const bool ranOut = co_await watch;
    if (ranOut) {
        throw unpackError(QStringLiteral("The disk has too little room for it."));
    }
    if (!result.isSuccess()) {
        throw unpackError(result.output);
    }
    const std::function<bool()> checking = [folder] {
        requireHarmless(folder);
        return true;
    };
    co_await onWorker<bool>(checking);
}

} // namespace orvanel
