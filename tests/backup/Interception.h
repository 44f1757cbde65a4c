#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <sys/types.h>

namespace orvanel::test {

/// The system calls by which files are changed go through here in the test programs that link it: they are counted, and
/// a test says before which of them the process is killed, or which the file system does not know.
struct Interception {
    /// Killed before the call of this number, from 1 on; 0 is never.
    std::atomic<int> killAt{0};
    std::atomic<int> steps{0};
    /// As on a file system that cannot exchange two names.
    std::atomic<bool> withoutExchange{false};
    /// What a rename between these two names fails with; 0 lets it happen.
    std::function<int(const std::string& from, const std::string& to)> renameFailure = {};
    /// What opening a name for reading fails with; 0 lets it happen.
    std::function<int(const std::string& name)> openFailure = {};
    /// What looking for data from there on in a file fails with; 0 lets it happen.
    std::function<int(off_t from)> seekFailure = {};
    /// What setting the permissions of the file or folder of that path fails with; 0 lets it happen.
    std::function<int(const std::string& path)> modeFailure = {};
    /// What closing the file of that path fails with; 0 lets it succeed. It is closed in any case.
    std::function<int(const std::string& path)> closeFailure = {};
    /// Whether the folder of that path can hold no links.
    std::function<bool(const std::string& folder)> isWithoutLinks = {};
    /// Called before a file of that name is made. Only for tests in which one thread makes files.
    std::function<void(const std::string& name)> beforeFile = {};
};

Interception& interception();

} // namespace orvanel::test
