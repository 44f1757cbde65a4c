#pragma once

#include <stdexcept>
#include <string>

namespace orvanel::standin {

/// The part of a compose file that the stand-in understands: one service with a name, an image, one port on 127.0.0.1,
/// and one folder mounted at /app/data.
struct ComposeFile {
    std::string service;
    std::string containerName;
    std::string image;
    std::string restartPolicy;
    int port = 0;
    std::string data; ///< absolute
};

/// Reads the text of the file at `path`. Throws std::runtime_error for anything that is missing, out of range or
/// unknown, in compose's words where compose has some. The stand-in is stricter than compose, so that no mistake goes
/// unnoticed.
ComposeFile composeFileFromText(const std::string& text, const std::string& path);

/// The host's port in "127.0.0.1:PORT:3001"; throws like composeFileFromText().
int portOfMapping(const std::string& mapping);

/// Whether docker accepts the text as "NAME:TAG".
bool isImageReference(const std::string& text);

} // namespace orvanel::standin
