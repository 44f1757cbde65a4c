#include "backup/CopyTree.h"

#include "backup/CopyFile.h"
#include "backup/FileSystem.h"
#include "backup/ShareFile.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <deque>
#include <exception>
#include <fcntl.h>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Each level costs up to three open descriptors.
constexpr int deepest = 200;

/// A folder of the source and its copy, open as long as something in it is to be copied.
struct FolderPair {
    FileDescriptor from;
    FileDescriptor to;
    /// The same folder in an earlier copy, with which unchanged files are shared; closed when there is none.
    FileDescriptor earlier;
    std::string fromPath;
    std::string toPath;
};
using SharedPair = std::shared_ptr<const FolderPair>;

struct FileTask {
    SharedPair folder;
    std::string name;
};

/// Files waiting to be copied by two threads. The first error ends the work; it is thrown by finish().
class FileWorkers {
public:
    FileWorkers(bool mayVanish, std::stop_token stop)
        : m_mayVanish(mayVanish)
        , m_stop(std::move(stop)) {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this] { work(); });
        }
    }
    ~FileWorkers() {
        drop();
        join();
    }
    FileWorkers(const FileWorkers&) = delete;
    FileWorkers& operator=(const FileWorkers&) = delete;

    /// False once the work has failed: adding more is pointless.
    bool add(FileTask task) {
        std::unique_lock lock(m_mutex);
        m_room.wait(lock, [this] { return m_tasks.size() < most || m_error; });
        if (m_error) {
            return false;
        }
        m_tasks.push_back(std::move(task));
        m_more.notify_one();
        return true;
    }

    void finish() {
        join();
        if (m_error) {
            std::rethrow_exception(m_error);
        }
    }

private:
    /// Bounds the open folders as well.
    static constexpr std::size_t most = 96;

    void drop() {
        const std::lock_guard lock(m_mutex);
        m_tasks.clear();
    }

    /// Waits until all tasks are done.
    void join() {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_more.notify_all();
        for (std::thread& thread : m_threads) {
            if (thread.joinable()) {
                thread.join();
            }
        }
    }

    void work() {
        while (const auto task = next()) {
            try {
                throwIfStopped(m_stop);
                const FolderPair& folder = *task->folder;
                const FileCopy copy{folder.from.get(), folder.to.get(), task->name, folder.fromPath, folder.toPath};
                const bool isThere = shareFile(copy, folder.earlier.get(), m_sharing) || copyFile(copy, m_means);
                if (!isThere && !m_mayVanish) {
                    throw fileError(folder.fromPath + "/" + task->name, ENOENT);
                }
            } catch (...) {
                fail(std::current_exception());
            }
        }
    }

    std::optional<FileTask> next() {
        std::unique_lock lock(m_mutex);
        m_more.wait(lock, [this] { return !m_tasks.empty() || m_isEnding; });
        if (m_tasks.empty()) {
            return std::nullopt;
        }
        std::optional<FileTask> task(std::move(m_tasks.front()));
        m_tasks.pop_front();
        m_room.notify_one();
        return task;
    }

    void fail(std::exception_ptr error) {
        const std::lock_guard lock(m_mutex);
        m_error = m_error ? m_error : error;
        m_tasks.clear();
        m_room.notify_all();
    }

    const bool m_mayVanish;
    const std::stop_token m_stop;
    CopyMeans m_means;
    Sharing m_sharing;
    std::mutex m_mutex;
    std::condition_variable m_more;
    std::condition_variable m_room;
    std::deque<FileTask> m_tasks;
    std::exception_ptr m_error;
    bool m_isEnding = false;
    std::array<std::thread, 2> m_threads;
};

bool copyOne(const std::string& fromPath, const std::string& toPath, const std::string& name) {
    const FileDescriptor from(::open(fromPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!from.isOpen()) {
        throw fileError(fromPath, errno);
    }
    const FileDescriptor to(::open(toPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!to.isOpen()) {
        throw fileError(toPath, errno);
    }
    CopyMeans means;
    return copyFile({from.get(), to.get(), name, fromPath, toPath}, means);
}

class TreeCopy {
public:
    TreeCopy(std::string target, const CopyOptions& options)
        : m_target(std::move(target))
        , m_options(options)
        , m_workers(options.mayVanish, options.stop) {}

    void run(const std::string& source) {
        auto pair = std::make_shared<FolderPair>();
        pair->from = FileDescriptor(::open(source.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        pair->fromPath = source;
        if (!pair->from.isOpen()) {
            throw fileError(source, errno);
        }
        if (!m_options.earlier.isEmpty()) {
            pair->earlier = openFolder(AT_FDCWD, QFile::encodeName(m_options.earlier).toStdString());
        }
        copyFolder(pair, AT_FDCWD, m_target, {}, 0);
        pair.reset();
        m_workers.finish();
        linkAgain();
        if (m_options.copyRest) {
            m_options.copyRest();
        }
        finishFolders();
    }

private:
    struct FinishedFolder {
        std::string path;
        struct stat status;
    };
    struct SecondName {
        std::string fromPath;
        std::string toPath;
        std::string name;
        std::string firstPath;
    };

    /// `pair` has its source open; its copy is made here, as `name` in `parent`. `relative` is its path from the top.
    void copyFolder(const std::shared_ptr<FolderPair>& pair, int parent, const std::string& name,
                    const std::string& relative, int depth) {
        struct stat status {};
        if (::fstat(pair->from.get(), &status) != 0) {
            throw fileError(pair->fromPath, errno);
        }
        if (FileId(status) == m_options.never) {
            throw AppError(u"A backup cannot be saved inside the data folder. Choose another place."_s);
        }
        if (depth > deepest) {
            throw fileError(pair->fromPath, ENAMETOOLONG);
        }
        pair->toPath = relative.empty() ? m_target : m_target + "/" + relative;
        if (::mkdirat(parent, name.c_str(), S_IRWXU) != 0) {
            throw fileError(pair->toPath, errno);
        }
        pair->to = openFolder(parent, name);
        if (!pair->to.isOpen()) {
            throw fileError(pair->toPath, errno);
        }
        // Permissions and dates are set last: a read-only folder takes no files, and each file changes the date.
        m_folders.push_back({pair->toPath, status});
        for (const std::string& entry : entriesOf(pair->from.get(), pair->fromPath)) {
            copyEntry(pair, entry, relative.empty() ? entry : relative + "/" + entry, depth);
        }
    }

    void copyEntry(const SharedPair& folder, const std::string& name, const std::string& relative, int depth) {
        throwIfStopped(m_options.stop);
        struct stat status {};
        if (::fstatat(folder->from.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            failUnlessVanished(*folder, name, errno);
            return;
        }
        if (S_ISDIR(status.st_mode)) {
            auto inner = std::make_shared<FolderPair>();
            inner->from = openFolder(folder->from.get(), name);
            inner->fromPath = folder->fromPath + "/" + name;
            if (!inner->from.isOpen()) {
                failUnlessVanished(*folder, name, errno);
                return;
            }
            if (folder->earlier.isOpen()) {
                inner->earlier = openFolder(folder->earlier.get(), name);
            }
            copyFolder(inner, folder->to.get(), name, relative, depth + 1);
        } else if (S_ISLNK(status.st_mode)) {
            copyLink(*folder, name, status);
        } else if (S_ISREG(status.st_mode) && !(depth == 0 && m_options.leaveOut.contains(name)) &&
                   isFirstName(status, *folder, name)) {
            if (!m_workers.add({folder, name})) {
                m_workers.finish();
            }
        }
    }

    void copyLink(const FolderPair& folder, const std::string& name, const struct stat& status) {
        std::array<char, PATH_MAX> text{};
        const ssize_t length = ::readlinkat(folder.from.get(), name.c_str(), text.data(), text.size() - 1);
        if (length < 0) {
            failUnlessVanished(folder, name, errno);
            return;
        }
        if (::symlinkat(text.data(), folder.to.get(), name.c_str()) != 0) {
            if (errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS) {
                throw AppError(u"This disk does not support links (%1). Back up to a zip file instead."_s.arg(
                    shownPath(folder.fromPath + "/" + name)));
            }
            throw fileError(folder.toPath + "/" + name, errno);
        }
        copyProperties(folder.to.get(), name, status);
    }

    /// Further names of a file become hard links once all files are copied.
    bool isFirstName(const struct stat& status, const FolderPair& folder, const std::string& name) {
        if (status.st_nlink == 1) {
            return true;
        }
        const auto [first, isNew] = m_firstNames.try_emplace(FileId(status), folder.toPath + "/" + name);
        if (!isNew) {
            m_secondNames.push_back({folder.fromPath, folder.toPath, name, first->second});
        }
        return isNew;
    }

    void linkAgain() {
        for (const SecondName& second : m_secondNames) {
            const std::string path = second.toPath + "/" + second.name;
            // The first name may be gone meanwhile, and not every file system supports hard links.
            if (::link(second.firstPath.c_str(), path.c_str()) != 0) {
                copyOne(second.fromPath, second.toPath, second.name);
            }
        }
    }

    void finishFolders() {
        // Innermost first: an outer folder may deny access to what is in it.
        for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder) {
            copyProperties(AT_FDCWD, folder->path, folder->status);
        }
    }

    void failUnlessVanished(const FolderPair& folder, const std::string& name, int code) const {
        if (!(m_options.mayVanish && code == ENOENT)) {
            throw fileError(folder.fromPath + "/" + name, code);
        }
    }

    const std::string m_target;
    const CopyOptions& m_options;
    FileWorkers m_workers;
    std::vector<FinishedFolder> m_folders;
    std::map<FileId, std::string> m_firstNames;
    std::vector<SecondName> m_secondNames;
};

} // namespace

void copyTree(const QString& source, const QString& target, const CopyOptions& options) {
    TreeCopy(QFile::encodeName(target).toStdString(), options).run(QFile::encodeName(source).toStdString());
}

void copyFiles(const QString& source, const QString& target, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        copyOne(QFile::encodeName(source).toStdString(), QFile::encodeName(target).toStdString(), name);
    }
}

} // namespace orvanel
