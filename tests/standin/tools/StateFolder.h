#pragma once

#include "Answer.h"
#include "DockerState.h"

#include <functional>
#include <string>
#include <vector>

namespace orvanel::standin {

/// The folder that the stand-in tools of one test or demo share: the file `standin-state`, its lock, the record
/// `standin-calls.log` and the server's `container.log`. Errors of the system are std::runtime_error.
class StateFolder {
public:
    /// A recorded call. `tool` is "docker", "brew" or "colima".
    struct Call {
        long long milliseconds = 0; ///< since 1970
        std::string tool;
        Arguments arguments;
    };

    explicit StateFolder(std::string path);

    /// The folder in which a tool lies that was started as `argument0`; links of the tool itself are not followed.
    static std::string toolFolder(const char* argument0);

    /// What `standin` in that folder points to, if anything, so that tools in several folders can share one state; else
    /// the folder itself.
    static StateFolder ofTool(const char* argument0);

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

    /// The state of the moment; the default when there is no file.
    DockerState load() const;

    /// Loads, changes and saves, with the lock held meanwhile: no change of another process is lost.
    void change(const std::function<void(DockerState&)>& action) const;

    /// Adds a line to the record: the time, the tool and each argument, escaped, with a tab between them.
    void recordCall(const std::string& tool, const Arguments& arguments) const;
    std::vector<Call> calls() const;

private:
    std::string m_path;
};

} // namespace orvanel::standin
