// Measures copyTree() against `cp -a` of the same tree, in turns, and prints a line a figure: `bench-copy FOLDER`, a
// folder in which the tree and its copies, 2 GiB, are made and removed.

#include "backup/CopyTree.h"
#include "task/Worker.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

constexpr int rounds = 5;
constexpr qsizetype folders = 100;
constexpr qsizetype filesInEach = 100;
constexpr qint64 bytesInAll = qint64{1} << 30;

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "bench-copy: %s\n", what);
    std::exit(1);
}

void makeTree(const QString& tree) {
    std::mt19937 random(1);
    QByteArray content(bytesInAll / (folders * filesInEach), '\0');
    for (char& byte : content) {
        byte = static_cast<char>(random());
    }
    for (qsizetype folder = 0; folder < folders; ++folder) {
        const QString path = tree + u"/folder%1"_s.arg(folder);
        QDir().mkpath(path);
        for (qsizetype number = 0; number < filesInEach; ++number) {
            QFile file(path + u"/file%1"_s.arg(number));
            if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
                giveUp("the tree could not be made");
            }
        }
    }
}

double runCp(const QString& from, const QString& to) {
    std::vector<QByteArray> words{"cp", "-a", QFile::encodeName(from), QFile::encodeName(to)};
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (QByteArray& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    QElapsedTimer time;
    time.start();
    pid_t child = 0;
    int status = 0;
    if (::posix_spawnp(&child, "cp", nullptr, nullptr, argv.data(), environ) != 0 ||
        ::waitpid(child, &status, 0) != child || status != 0) {
        giveUp("cp failed");
    }
    return static_cast<double>(time.nsecsElapsed()) * 1e-9;
}

QCoro::Task<void> copyAndLeave(std::function<void()> job, QEventLoop* loop) {
    co_await onWorker(job);
    loop->quit();
}

struct OurCopy {
    double seconds;
    /// The longest time by which a timer of the main thread was late meanwhile.
    double stallMilliseconds;
};

OurCopy runOurs(const QString& from, const QString& to) {
    constexpr int period = 5;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QElapsedTimer sinceTick;
    double longest = 0;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        longest = std::max(longest, static_cast<double>(sinceTick.nsecsElapsed()) * 1e-6 - period);
        sinceTick.restart();
    });
    QElapsedTimer time;
    const auto job = [&from, &to] { copyTree(from, to); };
    timer.start(period);
    sinceTick.start();
    time.start();
    const auto task = copyAndLeave(job, &loop);
    if (!task.isReady()) {
        loop.exec();
    }
    return {.seconds = static_cast<double>(time.nsecsElapsed()) * 1e-9, .stallMilliseconds = longest};
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compareIn(const QString& folder) {
    const QString tree = folder + u"/tree"_s;
    const QString copy = folder + u"/copy"_s;
    makeTree(tree);

    std::vector<double> ours;
    std::vector<double> reference;
    double stall = 0;
    for (int round = 0; round < rounds; ++round) {
        // Neither pays for what the other left to be written.
        ::sync();
        const OurCopy result = runOurs(tree, copy);
        ours.push_back(result.seconds);
        stall = std::max(stall, result.stallMilliseconds);
        QDir(copy).removeRecursively();
        ::sync();
        reference.push_back(runCp(tree, copy));
        QDir(copy).removeRecursively();
    }
    QDir(tree).removeRecursively();
    std::printf("%-44s %10.2f %-6s %10.2f %-6s %6.3f   at most 1\n", "Copy of 1 GiB in 10,000 files, against cp -a",
                median(ours), "s", median(reference), "s", median(ours) / median(reference));
    std::printf("%-44s %10.1f %-6s %10.1f %-6s %6.3f   at most 1\n", "Longest stall of a 5 ms timer meanwhile", stall,
                "ms", 50.0, "ms", stall / 50);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        giveUp("usage: bench-copy FOLDER");
    }
    try {
        compareIn(QFile::decodeName(argv[1]));
    } catch (const std::exception& failure) {
        giveUp(failure.what());
    }
    return 0;
}
