#include "ComposeFile.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <sstream>

namespace orvanel::standin {
namespace {

std::string unquoted(std::string text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

std::string dataFolder(const std::string& mapping, const std::string& composePath) {
    const std::string mountPoint = ":/app/data";
    if (!mapping.ends_with(mountPoint)) {
        throw std::runtime_error("services.uptime-kuma.volumes.0 is not mounted at /app/data: " + mapping);
    }
    const std::filesystem::path folder = mapping.substr(0, mapping.size() - mountPoint.size());
    return (std::filesystem::path(composePath).parent_path() / folder).lexically_normal().string();
}

class Reader {
public:
    explicit Reader(const std::string& path)
        : m_path(path) {}

    void readLine(std::string line) {
        m_number += 1;
        const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
        line.erase(0, indent);
        if (line.empty() || line.starts_with('#')) {
            return;
        }
        if (line.find('\t') != std::string::npos) {
            complain("found character that cannot start any token");
        }
        if (indent == 0 && line == "services:") {
            return;
        }
        if (indent == 2 && line.ends_with(':') && m_file.service.empty()) {
            m_file.service = line.substr(0, line.size() - 1);
            return;
        }
        if (indent == 4) {
            readKey(line);
            return;
        }
        if (indent == 6 && line.starts_with("- ")) {
            readEntry(unquoted(line.substr(2)));
            return;
        }
        complain("did not find expected key");
    }

    ComposeFile finish() {
        if (!isImageReference(m_file.image)) {
            throw std::runtime_error(m_file.image.empty() ? "service \"" + m_file.service +
                                                                "\" has neither an image nor a build context "
                                                                "specified: invalid compose project"
                                                          : "invalid reference format");
        }
        if (m_file.containerName.empty() || m_file.port == 0 || m_file.data.empty()) {
            throw std::runtime_error("the stand-in expects a container_name, a port and a volume");
        }
        return m_file;
    }

private:
    [[noreturn]] void complain(const std::string& what) const {
        throw std::runtime_error("yaml: line " + std::to_string(m_number) + ": " + what);
    }

    void readKey(const std::string& line) {
        const std::size_t colon = std::min(line.find(':'), line.size());
        m_key = line.substr(0, colon);
        const std::string value = colon + 2 < line.size() ? unquoted(line.substr(colon + 2)) : std::string();
        if (m_key == "image") {
            m_file.image = value;
        } else if (m_key == "container_name") {
            m_file.containerName = value;
        } else if (m_key == "restart") {
            m_file.restartPolicy = value;
        } else if (m_key != "ports" && m_key != "volumes") {
            throw std::runtime_error("validating " + m_path + ": services." + m_file.service + " Additional property " +
                                     m_key + " is not allowed");
        }
    }

    void readEntry(const std::string& entry) {
        if (m_key == "ports") {
            m_file.port = portOfMapping(entry);
        } else if (m_key == "volumes") {
            m_file.data = dataFolder(entry, m_path);
        } else {
            complain("did not find expected key");
        }
    }

    std::string m_path;
    std::string m_key;
    ComposeFile m_file;
    int m_number = 0;
};

} // namespace

ComposeFile composeFileFromText(const std::string& text, const std::string& path) {
    Reader reader(path);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        reader.readLine(line);
    }
    return reader.finish();
}

int portOfMapping(const std::string& mapping) {
    const std::string before = "127.0.0.1:";
    const std::string after = ":3001";
    int port = 0;
    if (mapping.starts_with(before) && mapping.ends_with(after) && mapping.size() > before.size() + after.size()) {
        const char* end = mapping.data() + mapping.size() - after.size();
        const auto result = std::from_chars(mapping.data() + before.size(), end, port);
        if (result.ec == std::errc() && result.ptr == end && port > 0 && port < 65536) {
            return port;
        }
    }
    throw std::runtime_error("invalid hostPort: " + mapping);
}

bool isImageReference(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        return false;
    }
    const auto isWord = [](char c) { return (std::isalnum(static_cast<unsigned char>(c)) != 0) || c == '_'; };
    const auto isIn = [&](const std::string& part, const std::string& more) {
        return std::all_of(part.begin(), part.end(),
                           [&](char c) { return isWord(c) || more.find(c) != std::string::npos; });
    };
    const std::string name = text.substr(0, colon);
    const std::string tag = text.substr(colon + 1);
    const bool isLower = std::none_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return isLower && isIn(name, "-./:") && !tag.empty() && tag.size() <= 128 && isWord(tag.front()) && isIn(tag, "-.");
}

} // namespace orvanel::standin
