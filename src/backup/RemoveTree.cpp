#include "backup/RemoveTree.h"

#include "backup/FileSystem.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace orvanel {
namespace {

/// Each level costs an open descriptor. Deeper folders are moved up to the top and removed from there.
constexpr int deepest = 40;

class Removal {
public:
    /// Removes what is in the folder, but not the folder itself. Returns false if something could not be removed.
    bool empty(int top, const std::string& path) {
        m_top = top;
        do {
            m_lifted = false;
            emptyFolder(top, path, 0);
        } while (m_lifted && !m_error);
        return !m_error;
    }

    const std::optional<AppError>& error() const { return m_error; }

private:
    void note(const std::string& path, int code) {
        if (!m_error && code != ENOENT) {
            m_error.emplace(fileError(path, code));
        }
    }

    void emptyFolder(int folder, const std::string& path, int depth) {
        // The owner may lack these permissions; a folder of another user stays as it is.
        ::fchmod(folder, S_IRWXU);
        std::vector<std::string> names;
        try {
            names = entriesOf(folder, path);
        } catch (const AppError& error) {
            m_error = m_error ? m_error : error;
            return;
        }
        for (const std::string& name : names) {
            removeEntry(folder, name, path + "/" + name, depth);
        }
    }

    void removeEntry(int folder, const std::string& name, const std::string& path, int depth) {
        if (::unlinkat(folder, name.c_str(), 0) == 0) {
            return;
        }
        if (errno != EISDIR) {
            note(path, errno);
            return;
        }
        if (::unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0) {
            return;
        }
        if (depth >= deepest && lift(folder, name)) {
            return;
        }
        FileDescriptor inner = openFolder(folder, name);
        if (!inner.isOpen() && errno == EACCES && ::fchmodat(folder, name.c_str(), S_IRWXU, 0) == 0) {
            inner = openFolder(folder, name);
        }
        if (!inner.isOpen()) {
            note(path, errno);
            return;
        }
        emptyFolder(inner.get(), path, depth + 1);
        if (::unlinkat(folder, name.c_str(), AT_REMOVEDIR) != 0) {
            note(path, errno);
        }
    }

    bool lift(int folder, const std::string& name) {
        const std::string lifted = ".lifted-" + std::to_string(m_count++);
        const bool isLifted = ::renameat(folder, name.c_str(), m_top, lifted.c_str()) == 0;
        m_lifted = m_lifted || isLifted;
        return isLifted;
    }

    int m_top = -1;
    int m_count = 0;
    bool m_lifted = false;
    std::optional<AppError> m_error;
};

} // namespace

void removeTree(const QString& path) {
    const std::string name = QFile::encodeName(path).toStdString();
    if (::unlink(name.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) {
        return;
    }
    if (errno != EISDIR) {
        throw fileError(path, errno);
    }
    FileDescriptor folder = openFolder(AT_FDCWD, name);
    if (!folder.isOpen() && errno == EACCES && ::chmod(name.c_str(), S_IRWXU) == 0) {
        folder = openFolder(AT_FDCWD, name);
    }
    if (!folder.isOpen()) {
        throw fileError(path, errno);
    }
    Removal removal;
    removal.empty(folder.get(), name);
    if (removal.error()) {
        throw *removal.error();
    }
    if (::rmdir(name.c_str()) != 0 && errno != ENOENT) {
        throw fileError(path, errno);
    }
}

} // namespace orvanel
