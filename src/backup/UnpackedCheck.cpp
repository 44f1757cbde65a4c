#include "backup/UnpackedCheck.h"

#include "backup/FileSystem.h"

#include <QFile>
#include <QStringDecoder>

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <map>
#include <string_view>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Each level costs an open descriptor. No data folder is that deep, but an archive can be.
constexpr int deepest = 200;
/// An archive is unpacked into a folder above the one that was packed.
constexpr int deepestUnpacked = deepest + 1;

/// Calls `visit(folder, name, path, status, depth)` for everything below an open folder; `depth` is 0 directly in it.
/// Throws a file error if there are more than `levels` levels of folders.
template <class Visit>
void visitAll(int folder, const std::string& path, int depth, int levels, const Visit& visit) {
    if (depth > levels) {
        throw fileError(path, ENAMETOOLONG);
    }
    for (const std::string& name : entriesOf(folder, path)) {
        const std::string whole = path + "/" + name;
        struct stat status {};
        if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            throw fileError(whole, errno);
        }
        visit(folder, name, whole, status, depth);
        if (S_ISDIR(status.st_mode)) {
            const FileDescriptor inner = openFolder(folder, name);
            if (!inner.isOpen()) {
                throw fileError(whole, errno);
            }
            visitAll(inner.get(), whole, depth + 1, levels, visit);
        }
    }
}

template <class Visit>
void visitAll(const QString& folder, int levels, const Visit& visit) {
    const std::string path = QFile::encodeName(folder).toStdString();
    const FileDescriptor top = openFolder(AT_FDCWD, path);
    if (!top.isOpen()) {
        throw fileError(path, errno);
    }
    visitAll(top.get(), path, 0, levels, visit);
}

/// Whether a link in a folder `depth` levels below the top points to a place below the top. ".." is allowed only at the
/// beginning of its target: after a name, which may itself be a link, it could lead anywhere.
bool staysInside(std::string_view target, int depth) {
    if (target.starts_with('/')) {
        return false;
    }
    bool isClimbing = true;
    int climbed = 0;
    while (!target.empty()) {
        const auto slash = target.find('/');
        const std::string_view part = target.substr(0, slash);
        target = slash == std::string_view::npos ? std::string_view() : target.substr(slash + 1);
        if (part == "..") {
            ++climbed;
            if (!isClimbing || climbed > depth) {
                return false;
            }
        } else if (!part.empty() && part != ".") {
            isClimbing = false;
        }
    }
    return true;
}

[[noreturn]] void refuse(const std::string& path, const QString& what) {
    throw AppError(u"Could not open the zip file. It contains %1: %2"_s.arg(what, shownPath(path)));
}

/// Whether the target of the link `name` is below the top; the link is in the open folder `folder`, `depth` levels
/// down.
bool isLinkInside(int folder, const std::string& name, const std::string& path, int depth) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
    if (length < 0) {
        throw fileError(path, errno);
    }
    return staysInside(std::string_view(target.data(), static_cast<std::size_t>(length)), depth);
}

AppError packError(const QString& reason, const std::string& path) {
    return AppError(u"Could not create the zip file. %1: %2"_s.arg(reason, shownPath(path)));
}

void requireText(const std::string& name, const std::string& path) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
    if (decoder.hasError()) {
        throw packError(u"A file name is not valid UTF-8"_s, path);
    }
}

} // namespace

void requireHarmless(const QString& folder) {
    struct Names {
        nlink_t missing;
        std::string path;
    };
    std::map<FileId, Names> files;
    visitAll(folder, deepestUnpacked,
             [&](int parent, const std::string& name, const std::string& path, const struct stat& status, int depth) {
                 if (S_ISLNK(status.st_mode)) {
                     if (!isLinkInside(parent, name, path, depth)) {
                         refuse(path, u"a link that points outside it"_s);
                     }
                 } else if (S_ISREG(status.st_mode) && status.st_nlink > 1) {
                     --files.try_emplace(FileId(status), Names{status.st_nlink, path}).first->second.missing;
                 } else if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
                     refuse(path, u"something that is neither a file nor a folder"_s);
                 }
             });
    for (const auto& [id, names] : files) {
        if (names.missing > 0) {
            refuse(names.path, u"a hard link to a file outside it"_s);
        }
    }
}

qint64 requirePackable(const QString& folder) {
    qint64 entries = 1;
    visitAll(folder, deepest,
             [&](int parent, const std::string& name, const std::string& path, const struct stat& status, int depth) {
                 requireText(name, path);
                 if (S_ISLNK(status.st_mode) && !isLinkInside(parent, name, path, depth)) {
                     throw packError(
                         u"A link points outside the data folder. Only a backup to a folder can contain it"_s, path);
                 }
                 ++entries;
             });
    return entries;
}

} // namespace orvanel
