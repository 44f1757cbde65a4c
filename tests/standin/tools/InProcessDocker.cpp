#include "standin/tools/InProcessDocker.h"

#include "standin/tools/StandInDocker.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>
#include <stop_token>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

/// A host without processes: nothing runs in a running container.
class InProcessDocker::World final : public Host {
public:
    std::optional<std::string> readFile(const std::string& path) override {
        const std::ifstream file(path, std::ios::binary);
        if (!file) {
            return std::nullopt;
        }
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    bool isPortTaken(int /*port*/) override { return false; }
    ServerProcess startServer(const std::string& program, int /*port*/, const std::string& /*folder*/) override {
        qFatal("InProcessDocker starts no server: %s", program.c_str());
    }
    bool isAlive(const ServerProcess& /*server*/) override { return false; }
    void endServer(const ServerProcess& /*server*/, bool /*atOnce*/) override {}
    std::string serverLog() override { return {}; }
    void clearServerLog() override {}
    void installTool(const std::string& tool, const std::string& /*fromFolder*/) override {
        if (m_install) {
            m_install(QString::fromStdString(tool));
        }
    }

    std::function<void(const QString&)> m_install;
};

/// A running call. terminate() may be called from any thread, everything else only from the runner's.
class InProcessDocker::Child final : public RunningProcess {
public:
    void terminate() override {
        if (m_ignoresTerm) {
            m_onIgnoredTerm();
        } else {
            m_end.request_stop();
        }
    }
    /// Ends the run without the child, which ignores SIGTERM.
    void giveUp() {
        m_isGivenUp = true;
        m_end.request_stop();
    }
    bool isGivenUp() const { return m_isGivenUp; }
    /// Ends the child even if it ignores SIGTERM.
    void release() { m_end.request_stop(); }
    bool isEnded() const { return m_end.stop_requested(); }
    std::stop_token end() const { return m_end.get_token(); }

    void setOnTerm(OnTerm onTerm) {
        m_ignoresTerm = onTerm.ignored;
        m_onTerm = std::move(onTerm);
    }
    const OnTerm& onTerm() const { return m_onTerm; }

    void write(Stream stream, const std::string& text) {
        if (stream != m_stream) {
            flush();
            m_stream = stream;
        }
        m_chunk += text;
    }

    /// Passes on, as one chunk, what was written since the last time.
    void flush() {
        const QString chunk = QString::fromStdString(std::exchange(m_chunk, {}));
        m_result.output += chunk;
        if (m_onOutput && !chunk.isEmpty()) {
            m_onOutput(chunk);
        }
    }

    CommandResult m_result;
    DockerCLI::OutputCallback m_onOutput;
    std::function<Answer(DockerState&)> m_next;
    milliseconds m_latencyLeft{0};
    std::function<void()> m_onIgnoredTerm = [] {};
    std::unique_ptr<Clock::Timer> m_patience;

private:
    bool m_isGivenUp = false;
    std::stop_source m_end;
    std::atomic<bool> m_ignoresTerm = false;
    OnTerm m_onTerm;
    std::string m_chunk;
    Stream m_stream = Stream::out;
};

struct InProcessDocker::Shared {
    Clock* clock = nullptr;
    Latency latency;
    World world;
    DockerState state;
    std::vector<Call> calls;
    std::stop_source end;

    /// Records a call and prepares its child.
    std::size_t begin(const std::shared_ptr<Child>& child, const QString& tool, const QStringList& arguments) {
        Arguments plain;
        for (const QString& argument : arguments) {
            plain.push_back(argument.toStdString());
        }
        const std::string name = tool.toStdString();
        const QString command = QString::fromStdString(commandName(name, plain).value_or(""));
        calls.push_back({tool, arguments, command, clock->now(), std::nullopt, {}});
        child->m_latencyLeft = latency ? latency(command) : 0ms;
        child->m_next = [this, name, plain](DockerState& now) { return answer(name, now, plain, world); };
        return calls.size() - 1;
    }
};

InProcessDocker::InProcessDocker(Clock* clock, Latency latency)
    : m_shared(std::make_shared<Shared>()) {
    m_shared->clock = clock;
    m_shared->latency = std::move(latency);
}

InProcessDocker::~InProcessDocker() {
    m_shared->end.request_stop();
}

RunCommand InProcessDocker::runner() const {
    return [shared = m_shared](QString path, QStringList arguments, std::chrono::duration<double> timeout,
                               std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
        return run(shared, std::move(path), std::move(arguments), timeout, std::move(handle), std::move(onOutput));
    };
}

DockerState& InProcessDocker::state() {
    return m_shared->state;
}

const std::vector<InProcessDocker::Call>& InProcessDocker::calls() const {
    return m_shared->calls;
}

int InProcessDocker::running() const {
    return static_cast<int>(std::count_if(m_shared->calls.begin(), m_shared->calls.end(),
                                          [](const Call& call) { return !call.end.has_value(); }));
}

void InProcessDocker::onInstall(std::function<void(const QString&)> action) {
    m_shared->world.m_install = std::move(action);
}

QCoro::Task<CommandResult> InProcessDocker::run(std::shared_ptr<Shared> shared, QString path, QStringList arguments,
                                                std::chrono::duration<double> timeout,
                                                std::shared_ptr<ProcessHandle> handle,
                                                DockerCLI::OutputCallback onOutput) {
    const QString tool = path.section(u'/', -1);
    // A real child never ends before the next turn of its caller's event loop.
    const Event<> turn;
    const PostToThread post = postToThisThread();
    post([turn] { turn.complete(); });
    CommandResult notStarted;
    notStarted.cancelled = handle && handle->isCancelled();
    if (notStarted.cancelled) {
        co_await turn;
        co_return notStarted;
    }
    const QStringList known{u"docker"_s, u"brew"_s, u"colima"_s, u"pkexec"_s, u"journalctl"_s};
    if (!known.contains(tool)) {
        notStarted.output = u"Could not run %1: No such file or directory"_s.arg(path);
        co_await turn;
        co_return notStarted;
    }
    const auto child = std::make_shared<Child>();
    const std::size_t call = shared->begin(child, tool, arguments);
    child->m_onOutput = std::move(onOutput);
    child->m_onIgnoredTerm = [post, shared, weakChild = std::weak_ptr(child)] {
        post([shared, weakChild] { giveUpLater(shared, weakChild); });
    };
    if (handle && !handle->setProcess(child)) {
        child->terminate();
    }
    const auto timer = shared->clock->callAfter(std::chrono::duration_cast<milliseconds>(timeout), [child] {
        child->m_result.timedOut = true;
        child->terminate();
    });
    const std::stop_callback onEnd(shared->end.get_token(), [child] { child->release(); });
    co_await perform(shared, child);
    co_await turn;
    child->m_patience.reset();
    if (child->isGivenUp()) {
        child->m_result.status = -1;
    }
    child->m_result.cancelled = handle && handle->isCancelled();
    // If this object no longer exists, the clock may not exist either.
    if (!shared->end.stop_requested()) {
        shared->calls[call].end = shared->clock->now();
        shared->calls[call].result = child->m_result;
    }
    co_return child->m_result;
}

/// Gives the child up as the real runner does: see DockerCLI::run().
void InProcessDocker::giveUpLater(const std::shared_ptr<Shared>& shared, const std::weak_ptr<Child>& weakChild) {
    const auto child = weakChild.lock();
    if (!child || child->m_patience || child->isEnded() || shared->end.stop_requested()) {
        return;
    }
    child->m_patience = shared->clock->callAfter(std::chrono::seconds(5), [weakChild] {
        if (const auto late = weakChild.lock()) {
            late->giveUp();
        }
    });
}

/// Plays the chain of answers, from the call to the exit code.
QCoro::Task<void> InProcessDocker::perform(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child) {
    const milliseconds before = child->m_latencyLeft / 2;
    child->m_latencyLeft -= before;
    bool isPlaying = co_await pause(shared, child, before);
    if (!isPlaying) {
        child->m_result.status = child->onTerm().exitCode;
        co_return;
    }
    bool isFirst = true;
    while (child->m_next) {
        Answer answer = std::exchange(child->m_next, {})(shared->state);
        if (std::exchange(isFirst, false)) {
            child->setOnTerm(answer.onTerm);
        }
        child->m_result.status = answer.exitCode;
        child->m_next = std::move(answer.then);
        if (!isPlaying) {
            continue;
        }
        isPlaying = co_await play(shared, child, answer);
        if (!isPlaying) {
            child->write(Stream::err, child->onTerm().err);
            child->flush();
        }
        if (!isPlaying && !child->onTerm().daemonCarriesOn) {
            break;
        }
    }
    if (!isPlaying) {
        child->m_result.status = child->onTerm().exitCode;
    }
}

/// Plays one answer; returns false if it was ended early.
QCoro::Task<bool> InProcessDocker::play(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child, Answer answer) {
    for (const Piece& piece : answer.pieces) {
        if (piece.before > 0ms) {
            child->flush();
            const bool goesOn = co_await pause(shared, child, piece.before);
            if (!goesOn) {
                co_return false;
            }
        }
        child->write(piece.stream, piece.text);
    }
    if (child->m_next || answer.hangs) {
        child->flush();
    }
    if (answer.hangs) {
        const Event<> ended;
        const std::stop_callback onEnd(child->end(), [ended] { ended.complete(); });
        co_await ended;
        co_return false;
    }
    const milliseconds latency = std::exchange(child->m_latencyLeft, 0ms);
    const bool goesOn = co_await pause(shared, child, latency);
    child->flush();
    co_return goesOn;
}

QCoro::Task<bool> InProcessDocker::pause(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child,
                                         milliseconds time) {
    if (time > 0ms && !child->isEnded()) {
        co_await sleepFor(shared->clock, time, child->end());
    }
    co_return !child->isEnded();
}

} // namespace orvanel::standin
