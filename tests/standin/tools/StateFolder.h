#pragma once

#include "Answer.h"
#include "DockerState.h"

#include <functional>
#include <string>
#include <vector>

namespace orvanel::standin {

/// The folder that the stand-in tools of one test or demo share. It holds the file `standin-state` and its lock, the
/// record `standin-calls.log`, and the server's `container.log`. System errors are thrown as std::runtime_error.
class StateFolder {
public:
    /// A recorded call. `tool` is "docker", "brew" or "colima".
    struct Call {
        long long milliseconds = 0; ///< since 1970
        std::string tool;
        Arguments arguments;
    };

    explicit StateFolder(std::string path);

    /// The folder of the tool that was started as `argument0`. If the tool itself is a link, the link is not followed.
    static std::string toolFolder(const char* argument0);

    /// The folder that `standin` in the tool's folder points to, so that tools in several folders can share one state;
    /// without such a link, the tool's folder itself.
    static StateFolder ofTool(const char* argument0);

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

    /// The present state; the default if there is no file.
    DockerState load() const;

    /// Loads, changes and saves the state while holding the lock, so that no change of another process is lost.
    void change(const std::function<void(DockerState&)>& action) const;

    /// Adds a line to the record: the time, the tool and each argument, escaped and separated by tabs.
    void recordCall(const std::string& tool, const Arguments& arguments) const;
    std::vector<Call> calls() const;

private:
    std::string m_path;
};

} // namespace orvanel::standin
