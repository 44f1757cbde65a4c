#include "backup/ZipArchive.h"

#include "backup/DiskRoom.h"
#include "backup/FormatsModule.h"
#include "backup/SafePaths.h"
#include "backup/UnpackedCheck.h"
#include "process/AppError.h"
#include "process/DockerCLI.h"
#include "task/Worker.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr std::chrono::seconds timeLimit{600};

struct ToolCall {
    QString program;
    QStringList arguments;
};

std::optional<QString> findDitto() {
    const QFileInfo ditto(qEnvironmentVariable("ORVANEL_TOOL_ROOT") + u"/usr/bin/ditto"_s);
    return ditto.isFile() && ditto.isExecutable() ? std::optional(ditto.filePath()) : std::nullopt;
}

/// Outside a UTF-8 locale, bsdtar drops every name that is not ASCII.
ToolCall bsdtar(const QStringList& arguments) {
    return {u"/usr/bin/env"_s, QStringList{u"LC_ALL=C.UTF-8"_s, u"/usr/bin/bsdtar"_s} + arguments};
}

/// The fastest compression is used, because databases grow large and there is a time limit.
ToolCall packCommand(const QString& folder, const QString& archive) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {u"-c"_s, u"-k"_s, u"--keepParent"_s, folder, archive}};
    }
    const QString name = nameOf(folder);
    // bsdtar takes a name that begins with "@" for an archive to be included.
    const QString entry = name.startsWith(u'@') ? u"./"_s + name : name;
    return bsdtar({u"-c"_s, u"--format"_s, u"zip"_s, u"--options"_s, u"zip:compression-level=1"_s, u"-f"_s, archive,
                   u"-C"_s, parentOf(folder), u"--"_s, entry});
}

/// Without -P, bsdtar writes neither through links nor to absolute names or "..". Owners are not restored, blocks of
/// zeros become holes, and an encrypted archive fails instead of asking for its password.
ToolCall unpackCommand(const QString& archive, const QString& folder, const QStringList& only) {
    if (const auto ditto = findDitto()) {
        return {*ditto, {u"-x"_s, u"-k"_s, archive, folder}};
    }
    QStringList arguments{u"-x"_s, u"-p"_s, u"-S"_s, u"--no-same-owner"_s, u"--passphrase"_s, u"none"_s, u"-f"_s,
                          archive, u"-C"_s, folder};
    for (const QString& pattern : only) {
        arguments << u"--include"_s << pattern;
    }
    return bsdtar(arguments);
}

AppError packError(const QString& reason) {
    return AppError(u"Could not create the zip file. "_s + reason);
}

AppError unpackError(const QString& reason) {
    return AppError(u"Could not open the zip file. "_s + reason);
}

bool beginsLikeZip(const QString& archive) {
    QFile file(archive);
    return file.open(QIODevice::ReadOnly) && file.read(2) == "PK";
}

void requireEntries(const QString& archive, qint64 entries) {
    const auto listing = ZipArchive::list(archive);
    if (!listing || listing->entries != entries) {
        throw packError(u"Some files are missing from it."_s);
    }
}

/// The number of free bytes below which unpacking is stopped. An archive that is larger than it says may use half of
/// what should be left.
qint64 leastRoomFor(const QString& archive, const QString& folder) {
    if (!beginsLikeZip(archive)) {
        throw unpackError(u"It is not a zip archive."_s);
    }
    constexpr qint64 perEntry = 4096;
    const auto listing = ZipArchive::list(archive);
    const qint64 free = bytesFreeAt(folder);
    const qint64 entries = listing ? listing->entries * perEntry : 0;
    const qint64 bytes = listing ? listing->bytes : 0;
    if (bytes > free - entries) {
        throw unpackError(roomSentence(bytes, free));
    }
    return (free - entries - bytes) / 2;
}

/// Runs the archiver. It is ended with the program; otherwise it would go on filling the disk for nobody.
QCoro::Task<CommandResult> runArchiver(ToolCall call, std::shared_ptr<ProcessHandle> handle) {
    const QMetaObject::Connection ending = QObject::connect(
        qApp, &QCoreApplication::aboutToQuit, qApp, [handle] { handle->cancel(); }, Qt::DirectConnection);
    auto result = co_await DockerCLI::run(call.program, call.arguments, timeLimit, handle);
    QObject::disconnect(ending);
    co_return result;
}

QCoro::Task<void> unpackSome(QString archive, QString folder, QStringList only, std::stop_token stop) {
    const auto measuring = [archive, folder] { return leastRoomFor(archive, folder); };
    const qint64 least = co_await onWorker(measuring);
    const auto handle = std::make_shared<ProcessHandle>();
    const std::stop_callback cancelling(stop, [handle] { handle->cancel(); });
    std::stop_source unpacked;
    auto watch = watchRoom(folder, least, handle, unpacked.get_token());
    const ToolCall command = unpackCommand(archive, folder, only);
    const CommandResult result = co_await runArchiver(command, handle);
    unpacked.request_stop();
    const bool ranOut = co_await watch;
    throwIfStopped(stop);
    if (ranOut) {
        throw unpackError(u"There is not enough space on the disk."_s);
    }
    // The archiver calls it a failure when one of the patterns fits nothing.
    if (!result.isSuccess() && only.isEmpty()) {
        throw unpackError(result.output);
    }
    const auto checking = [folder] { requireHarmless(folder); };
    co_await onWorker(checking);
}

} // namespace

std::optional<ZipListing> ZipArchive::list(const QString& archive) {
    return fileFormats().listZip(archive);
}

QCoro::Task<void> ZipArchive::pack(QString folder, QString archive) {
    const auto counting = [folder] { return requirePackable(folder); };
    const qint64 entries = co_await onWorker(counting);
    const ToolCall command = packCommand(folder, archive);
    const auto handle = std::make_shared<ProcessHandle>();
    const CommandResult result = co_await runArchiver(command, handle);
    if (!result.isSuccess()) {
        throw packError(result.output);
    }
    const auto checking = [archive, entries] { requireEntries(archive, entries); };
    co_await onWorker(checking);
}

QCoro::Task<void> ZipArchive::unpack(QString archive, QString folder, std::stop_token stop) {
    const QStringList everything;
    return unpackSome(archive, folder, everything, stop);
}

QCoro::Task<void> ZipArchive::unpackDatabase(QString archive, QString folder) {
    const QStringList database{u"kuma.db"_s, u"kuma.db-wal"_s, u"*/kuma.db"_s, u"*/kuma.db-wal"_s};
    const std::stop_token never;
    return unpackSome(archive, folder, database, never);
}

} // namespace orvanel
