#include "PullProgress.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace orvanel::standin {
namespace {

enum class Phase { waiting, downloading, downloaded, extracting, done };

struct Layer {
    std::string_view id;
    double megabytes;
    double done = 0;
    Phase phase = Phase::waiting;
};

using Layers = std::array<Layer, 6>;

constexpr Layers someLayers{{
    {"9f3c8a1be702", 28.23},
    {"4b7d05ce91aa", 46.78},
    {"c0de71f24e83", 1.712},
    {"e15a60b9d3f4", 36.19},
    {"70c2d94f8b16", 0.452},
    {"a86f3e5d1c09", 52.04},
}};

constexpr std::size_t downloadsAtOnce = 3;
constexpr double megabytesATick = 2.1;
constexpr double extractedATick = 5.0;
constexpr double tick = 290; // milliseconds

std::string size(double megabytes) {
    std::array<char, 16> text{};
    if (megabytes < 1) {
        std::snprintf(text.data(), text.size(), "%.4gkB", megabytes * 1000);
    } else {
        std::snprintf(text.data(), text.size(), "%.4gMB", megabytes);
    }
    return text.data();
}

std::string bar(const Layer& layer) {
    const auto width = static_cast<std::size_t>(layer.done / layer.megabytes * 50);
    std::string text = "[" + std::string(width, '=');
    if (width < 50) {
        text += ">" + std::string(49 - width, ' ');
    }
    const std::string done = size(layer.done);
    return text + "] " + std::string(done.size() < 8 ? 8 - done.size() : 0, ' ') + done + "/" + size(layer.megabytes);
}

/// Plays a download: calls line(layer, words, bar) for every line, and pause() after each tick.
template <class Line, class Pause>
void play(Line line, Pause pause) {
    Layers layers = someLayers;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        line(layers[i], "Pulling fs layer", false);
        if (i >= downloadsAtOnce) {
            line(layers[i], "Waiting", false);
        }
    }
    // Layers are downloaded side by side and unpacked one after the other.
    while (layers.back().phase != Phase::done) {
        pause();
        std::size_t active = 0;
        bool unpacking = false;
        for (Layer& layer : layers) {
            if (layer.phase <= Phase::downloading && active < downloadsAtOnce) {
                active += 1;
                layer.done = std::min(layer.done + megabytesATick, layer.megabytes);
                layer.phase = layer.done < layer.megabytes ? Phase::downloading : Phase::downloaded;
                line(layer, "Downloading", true);
                if (layer.phase == Phase::downloaded) {
                    line(layer, "Verifying Checksum", false);
                    line(layer, "Download complete", false);
                    layer.done = 0;
                }
            } else if (!unpacking && layer.phase >= Phase::downloaded && layer.phase != Phase::done) {
                layer.done = std::min(layer.done + extractedATick, layer.megabytes);
                layer.phase = layer.done < layer.megabytes ? Phase::extracting : Phase::done;
                line(layer, "Extracting", true);
                if (layer.phase == Phase::done) {
                    line(layer, "Pull complete", false);
                }
            }
            unpacking = unpacking || layer.phase != Phase::done;
        }
    }
}

/// `format(layer, words, isBar)` returns the line's text, or nothing if this style has no such line.
template <class Format>
std::vector<Piece> progress(const DockerState& state, Stream stream, Format format) {
    std::vector<Piece> pieces;
    double waited = 0;
    const auto line = [&](const Layer& layer, std::string_view words, bool isBar) {
        const std::string text = format(layer, words, isBar);
        if (!text.empty()) {
            pieces.push_back({paced(state, waited), stream, text});
            waited = 0;
        }
    };
    play(line, [&] { waited += tick; });
    return pieces;
}

} // namespace

std::vector<Piece> composePullProgress(const DockerState& state) {
    return progress(state, Stream::err, [](const Layer& layer, std::string_view words, bool isBar) {
        return " " + std::string(layer.id) + " " + std::string(words) + " " + (isBar ? bar(layer) : "") + "\n";
    });
}

std::vector<Piece> plainPullProgress(const DockerState& state, Stream stream) {
    return progress(state, stream, [](const Layer& layer, std::string_view words, bool isBar) {
        return isBar ? std::string() : std::string(layer.id) + ": " + std::string(words) + "\n";
    });
}

} // namespace orvanel::standin
