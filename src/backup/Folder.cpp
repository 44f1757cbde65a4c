#include "backup/Folder.h"

#include "backup/FileError.h"

#include <QFile>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace orvanel {

FileDescriptor openFolder(int parent, const std::string& name) {
    return FileDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::vector<std::string> entriesOf(int folder, const std::string& path) {
    struct Close {
        void operator()(DIR* stream) const { ::closedir(stream); }
    };
    // The stream closes its descriptor, and its position belongs to it alone.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) {
        throw fileError(path, errno);
    }
    const std::unique_ptr<DIR, Close> stream(::fdopendir(own));
    if (!stream) {
        const int code = errno;
        ::close(own);
        throw fileError(path, code);
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(stream.get())) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
        errno = 0;
    }
    if (errno != 0) {
        throw fileError(path, errno);
    }
    return names;
}

std::optional<struct stat> statusOf(const QString& path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0) {
        return std::nullopt;
    }
    return status;
}

bool isFolder(const QString& path) {
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
}

QStringList namesIn(const QString& folder) {
    const std::string path = QFile::encodeName(folder).toStdString();
    const FileDescriptor open(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!open.isOpen()) {
        return {};
    }
    QStringList names;
    try {
        for (const std::string& name : entriesOf(open.get(), path)) {
            names << QFile::decodeName(name.c_str());
        }
    } catch (const AppError&) {
        return {};
    }
    return names;
}

} // namespace orvanel
