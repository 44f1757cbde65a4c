#include "controller/CappedLog.h"

#include "task/Event.h"

#include <memory>
#include <mutex>
#include <utility>

namespace orvanel {
namespace {

struct Feed {
    std::mutex mutex;
    QString waiting;
    bool isPosted = false;

    /// Returns whether the receiving thread must be told to fetch the text.
    bool add(const QString& chunk) {
        const std::lock_guard lock(mutex);
        waiting += chunk;
        // What stays is enough to cut any log that it is appended to, and contains everything that the cut log keeps.
        if (waiting.size() > 2 * cappedLogLimit) {
            waiting = waiting.last(cappedLogLimit);
        }
        return !std::exchange(isPosted, true);
    }

    QString take() {
        const std::lock_guard lock(mutex);
        isPosted = false;
        return std::exchange(waiting, {});
    }
};

} // namespace

QString appendCapped(QString log, const QString& chunk) {
    constexpr qsizetype kept = 20000;

    log += chunk;
    if (log.size() < cappedLogLimit) {
        return log;
    }
    const qsizetype start = log.size() - kept;
    return log.sliced(log.at(start).isLowSurrogate() ? start + 1 : start);
}

DockerCLI::OutputCallback logFeed(std::function<void(const QString& text)> append) {
    const auto feed = std::make_shared<Feed>();
    const PostToThread post = postToThisThread();
    return [feed, post, append = std::move(append)](QString chunk) {
        if (feed->add(chunk)) {
            post([feed, append] { append(feed->take()); });
        }
    };
}

DockerCLI::OutputCallback cappedLogFeed(StateStore& state, QString ControllerState::*log) {
    return logFeed([weak = state.weak_from_this(), log](const QString& text) {
        if (const auto store = weak.lock()) {
            store->set(log, appendCapped(**store.*log, text));
        }
    });
}

} // namespace orvanel
