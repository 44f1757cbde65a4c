#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <sys/types.h>

namespace orvanel::test {

/// Test programs that link this file send their system calls that change files through here. The calls are counted, and
/// a test can say before which one the process is killed, or how a call fails.
struct Interception {
    /// The process is killed before the call of this number, counted from 1; 0 means never.
    std::atomic<int> killAt{0};
    std::atomic<int> steps{0};
    /// Called before each call with its number, on whichever thread makes it.
    std::function<void(int step)> onStep = {};
    /// Plays a file system that cannot exchange two names.
    std::atomic<bool> withoutExchange{false};
    /// The error of a rename between these two names; 0 lets it happen.
    std::function<int(const std::string& from, const std::string& to)> renameFailure = {};
    /// The error of opening a file of that name for reading; 0 lets it happen.
    std::function<int(const std::string& name)> openFailure = {};
    /// The error of looking for data in a file from that place on; 0 lets it happen.
    std::function<int(off_t from)> seekFailure = {};
    /// The error of setting the permissions of the file or folder at that path; 0 lets it happen.
    std::function<int(const std::string& path)> modeFailure = {};
    /// The error of closing the file at that path, which is closed in any case; 0 means success.
    std::function<int(const std::string& path)> closeFailure = {};
    /// The error of writing to the file at that path; 0 lets it happen.
    std::function<int(const std::string& path)> writeFailure = {};
    /// Whether the folder at that path cannot contain links.
    std::function<bool(const std::string& folder)> isWithoutLinks = {};
    /// Called before a file of that name is made. Only for tests in which one thread makes files.
    std::function<void(const std::string& name)> beforeFile = {};
};

Interception& interception();

} // namespace orvanel::test
