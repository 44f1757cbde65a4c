#include "backup/UnpackedCheck.h"

#include "backup/FileError.h"
#include "backup/Folder.h"

#include <QFile>
#include <QStringDecoder>

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <map>
#include <string_view>
#include <unistd.h>

namespace orvanel {
namespace {

/// Each level costs an open descriptor. No data folder is that deep, but an archive may be.
constexpr int deepest = 200;

/// Calls `visit(folder, name, path, status, depth)` for everything below an open folder; `depth` is 0 directly in it.
template <class Visit>
void visitAll(int folder, const std::string& path, int depth, const Visit& visit) {
    if (depth > deepest) {
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
            visitAll(inner.get(), whole, depth + 1, visit);
        }
    }
}

template <class Visit>
void visitAll(const QString& folder, const Visit& visit) {
    const std::string path = QFile::encodeName(folder).toStdString();
    const FileDescriptor top = openFolder(AT_FDCWD, path);
    if (!top.isOpen()) {
        throw fileError(path, errno);
    }
    visitAll(top.get(), path, 0, visit);
}

/// Whether a link in a folder `depth` below the top stays below it. Climbing is allowed only at the beginning, where it
/// is known which folders are climbed: after that, a name may itself be a link.
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
    throw AppError(QStringLiteral("Could not open the zip file. It holds %1: %2").arg(what, shownPath(path)));
}

void requireLinkInside(int folder, const std::string& name, const std::string& path, int depth) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
    if (length < 0) {
        throw fileError(path, errno);
    }
    if (!staysInside(std::string_view(target.data(), static_cast<std::size_t>(length)), depth)) {
        refuse(path, QStringLiteral("a link that leads out of it"));
    }
}

} // namespace

void requireHarmless(const QString& folder) {
    struct Names {
        nlink_t missing;
        std::string path;
    };
    std::map<FileId, Names> files;
    visitAll(folder,
             [&](int parent, const std::string& name, const std::string& path, const struct stat& status, int depth) {
                 if (S_ISLNK(status.st_mode)) {
                     requireLinkInside(parent, name, path, depth);
                 } else if (S_ISREG(status.st_mode) && status.st_nlink > 1) {
                     --files.try_emplace(FileId(status), Names{status.st_nlink, path}).first->second.missing;
                 } else if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
                     refuse(path, QStringLiteral("something that is neither a file nor a folder"));
                 }
             });
    for (const auto& [id, names] : files) {
        if (names.missing > 0) {
            refuse(names.path, QStringLiteral("another name of a file outside of it"));
        }
    }
}

qint64 requirePackable(const QString& folder) {
    qint64 entries = 1;
    visitAll(folder, [&](int, const std::string& name, const std::string& path, const struct stat&, int) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder.decode(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
        if (decoder.hasError()) {
            throw AppError(QStringLiteral("Could not create the zip file. A name in it is no UTF-8 text: %1")
                               .arg(shownPath(path)));
        }
        ++entries;
    });
    return entries;
}

} // namespace orvanel
