// Measures DockerCLI::run against the bare system calls that do the same, by turns, and prints one line for each
// figure: `bench-runner CHILD` (CHILD is bench-child).

#include "process/DockerCLI.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

constexpr int rounds = 7;
constexpr std::size_t chunk = 65536;
/// The size of our own buffer.
constexpr std::size_t ring = std::size_t{2} * 1024 * 1024;

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "bench-runner: %s\n", what);
    std::exit(1);
}

QCoro::Task<void> runAndLeave(QString path, QStringList arguments, QEventLoop* loop) {
    const CommandResult result = co_await DockerCLI::run(path, arguments, std::chrono::hours(1));
    if (!result.isSuccess()) {
        giveUp("the child failed");
    }
    loop->quit();
}

void runWithRunner(const QString& path, const QStringList& arguments) {
    QEventLoop loop;
    const auto task = runAndLeave(path, arguments, &loop);
    if (!task.isReady()) {
        loop.exec();
    }
}

void runWithQProcess(const QString& path, const QStringList& arguments) {
    QEventLoop loop;
    QProcess process;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    process.start(path, arguments);
    loop.exec();
    process.readAll();
}

/// Starts a child with its output in a pipe, reads until the end, 64 KiB at a time, into a ring of `space` bytes, and
/// waits for the child.
void runBareInto(std::size_t space, const QString& path, const QStringList& arguments) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        giveUp("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

    std::vector<QByteArray> words{path.toUtf8()};
    for (const QString& argument : arguments) {
        words.push_back(argument.toUtf8());
    }
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (QByteArray& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        giveUp("the child could not be started");
    }
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    static std::array<char, ring> buffer;
    std::size_t place = 0;
    while (::read(ends[0], buffer.data() + place, chunk) > 0) {
        place = (place + chunk) % space;
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
}

void runBare(const QString& path, const QStringList& arguments) {
    runBareInto(chunk, path, arguments);
}

void runBareIntoRing(const QString& path, const QStringList& arguments) {
    runBareInto(ring, path, arguments);
}

double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Rates {
    double ours;
    double reference;
};

/// `amount` per second for each of the two, measured by turns.
Rates compare(double amount, const std::function<void()>& ours, const std::function<void()>& reference) {
    std::vector<double> ourRates;
    std::vector<double> referenceRates;
    ours();
    reference();
    for (int round = 0; round < rounds; ++round) {
        ourRates.push_back(amount / seconds(ours));
        referenceRates.push_back(amount / seconds(reference));
    }
    return {median(ourRates), median(referenceRates)};
}

void print(const char* what, Rates rates, const char* unit, const char* goal) {
    std::printf("%-44s %10.1f %-6s %10.1f %-6s %6.2f   %s\n", what, rates.ours, unit, rates.reference, unit,
                rates.ours / rates.reference, goal);
    std::fflush(stdout);
}

using Run = void (*)(const QString& path, const QStringList& arguments);

Rates compareOutput(Run run, const QString& child, const QString& kind, double megabytes) {
    const QStringList arguments{kind, QString::number(static_cast<qint64>(megabytes * 1e6))};
    return compare(
        megabytes, [&] { run(child, arguments); }, [&] { runBare(child, arguments); });
}

/// The processor time of this process, without its children, in microseconds a run.
double ownTime(Run run, const QString& path) {
    constexpr int runs = 300;
    const auto spent = [] {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        const auto microseconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
        };
        return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
    };
    const double before = spent();
    for (int i = 0; i < runs; ++i) {
        run(path, QStringList());
    }
    return (spent() - before) / runs;
}

Rates compareOwnTime() {
    const QString path = u"/bin/true"_s;
    std::vector<double> ours;
    std::vector<double> bare;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(ownTime(runWithRunner, path));
        bare.push_back(ownTime(runBare, path));
    }
    return {median(ours), median(bare)};
}

Rates compareStarts(Run run) {
    constexpr int runs = 300;
    const QString path = u"/bin/true"_s;
    const auto repeat = [&](Run start) {
        for (int i = 0; i < runs; ++i) {
            start(path, QStringList());
        }
    };
    return compare(
        runs, [&] { repeat(run); }, [&] { repeat(runBare); });
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        giveUp("usage: bench-runner CHILD");
    }
    const QString child = QString::fromLocal8Bit(argv[1]);
    print("Output in blocks of 64 KiB", compareOutput(runWithRunner, child, u"blocks"_s, 2000), "MB/s", "at least 0.8");
    print("The same, by a loop that keeps 2 MiB", compareOutput(runBareIntoRing, child, u"blocks"_s, 2000), "MB/s",
          "the floor");
    print("Output in lines of 80 bytes", compareOutput(runWithRunner, child, u"lines"_s, 100), "MB/s", "at least 1.0");

    const Rates small = compareStarts(runWithRunner);
    print("Runs of /bin/true", small, "runs/s", "at least 0.7");
    print("The same, by QProcess", compareStarts(runWithQProcess), "runs/s", "to compare with");
    print("Own processor time a run", compareOwnTime(), "us", "the floor is 1");
    constexpr std::size_t mebibyte = std::size_t{1024} * 1024;
    const std::vector<char> heap(100 * mebibyte, 'x');
    const Rates large = compareStarts(runWithRunner);
    print("The same, with 100 MiB of heap in use", large, "runs/s", "at least 0.7");
    print("The same, against without that heap", {large.ours, small.ours}, "runs/s", "at least 1.0");
    return heap.back() == 'x' ? 0 : 1;
}
