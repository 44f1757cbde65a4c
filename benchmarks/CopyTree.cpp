// Measures copyTree() against `cp -a` of the same tree, in turns, and a second daily copy against the first, and prints
// a line a figure: `bench-copy FOLDER`, a folder in which the tree and its copies, 2.2 GiB, are made and removed.

#include "backup/CopyTree.h"
#include "backup/DailyCopies.h"
#include "backup/DiskRoom.h"
#include "task/Worker.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <random>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

constexpr int rounds = 5;
constexpr int fewRounds = 3;
constexpr qsizetype folders = 100;
constexpr qsizetype filesInEach = 100;
constexpr qint64 bytesInAll = qint64{1} << 30;
constexpr double mebibyte = 1024 * 1024;

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "bench-copy: %s\n", what);
    std::exit(1);
}

QString pathOf(const QString& tree, qsizetype folder) {
    return tree + u"/folder%1"_s.arg(folder);
}

/// Writes other content of the same size for every `seed` into each `step`th file of a folder.
void writeFiles(const QString& tree, unsigned seed, qsizetype step) {
    std::mt19937 random(seed);
    QByteArray content(bytesInAll / (folders * filesInEach), '\0');
    for (char& byte : content) {
        byte = static_cast<char>(random());
    }
    for (qsizetype folder = 0; folder < folders; ++folder) {
        for (qsizetype number = 0; number < filesInEach; number += step) {
            QFile file(pathOf(tree, folder) + u"/file%1"_s.arg(number));
            if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
                giveUp("the tree could not be written");
            }
        }
    }
}

void makeTree(const QString& tree) {
    for (qsizetype folder = 0; folder < folders; ++folder) {
        QDir().mkpath(pathOf(tree, folder));
    }
    writeFiles(tree, 1, 1);
    // As in real data: the daily copy asks the disk with a file directly in the folder whether it shares blocks.
    QFile file(tree + u"/db-config.json"_s);
    if (!file.open(QIODevice::WriteOnly) || file.write("{}") != 2) {
        giveUp("the tree could not be made");
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

void printRow(const char* what, double ours, double reference, const char* unit, const char* goal) {
    std::printf("%-44s %10.2f %-6s %10.2f %-6s %6.3f   %s\n", what, ours, unit, reference, unit, ours / reference,
                goal);
    std::fflush(stdout);
}

void compareWithCp(const QString& tree, const QString& copy) {
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
    printRow("Copy of 1 GiB in 10,000 files, against cp -a", median(ours), median(reference), "s", "at most 1");
    printRow("Longest stall of a 5 ms timer meanwhile", stall, 50, "ms", "at most 1");
}

/// Returns 0 or errno.
int emptyCache() {
    ::sync();
    const int control = ::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC);
    if (control < 0) {
        return errno;
    }
    const int code = ::write(control, "3", 1) == 1 ? 0 : errno;
    ::close(control);
    return code;
}

void compareWithCpInColdCache(const QString& tree, const QString& copy) {
    std::vector<double> ours;
    std::vector<double> reference;
    for (int round = 0; round < fewRounds; ++round) {
        if (const int code = emptyCache()) {
            std::printf("The same with a cold cache: skipped, because only root may empty the cache (%s).\n",
                        std::strerror(code));
            return;
        }
        ours.push_back(runOurs(tree, copy).seconds);
        QDir(copy).removeRecursively();
        emptyCache();
        reference.push_back(runCp(tree, copy));
        QDir(copy).removeRecursively();
    }
    printRow("The same with a cold cache", median(ours), median(reference), "s", "at most 1");
}

QCoro::Task<void> makeDailyCopy(QString data, QString backups, QDateTime now, QEventLoop* loop) {
    const auto made = co_await DailyCopies::make(data, backups, now);
    if (!made || !made->deletedForRoom.isEmpty()) {
        giveUp("there is no data, or too little room");
    }
    loop->quit();
}

struct DailyCost {
    double seconds;
    /// What is less free on the disk: unlike the sizes of the files, it shows shared blocks as well.
    double bytes;
};

DailyCost runDaily(const QString& data, const QString& backups, const QDateTime& now) {
    ::sync();
    const qint64 free = bytesFreeAt(data);
    QEventLoop loop;
    QElapsedTimer time;
    time.start();
    const auto task = makeDailyCopy(data, backups, now, &loop);
    if (!task.isReady()) {
        loop.exec();
    }
    const double seconds = static_cast<double>(time.nsecsElapsed()) * 1e-9;
    ::sync();
    return {.seconds = seconds, .bytes = static_cast<double>(free - bytesFreeAt(data))};
}

bool canLink(const QString& folder) {
    const QByteArray name = QFile::encodeName(folder + u"/name"_s);
    const QByteArray second = QFile::encodeName(folder + u"/second"_s);
    QFile file(QFile::decodeName(name));
    const bool canLink = file.open(QIODevice::WriteOnly) && ::link(name.constData(), second.constData()) == 0;
    ::unlink(second.constData());
    ::unlink(name.constData());
    return canLink;
}

/// The first and the second daily copy, of which the second shares 95 % with the first.
void compareDailyCopies(const QString& folder, const QString& data) {
    constexpr qsizetype step = 20;
    const QString backups = folder + u"/Backups"_s;
    const QDateTime day(QDate(2026, 5, 5), QTime(3, 0));
    std::vector<double> firstSeconds;
    std::vector<double> firstSizes;
    std::vector<double> secondSeconds;
    std::vector<double> secondSizes;
    bool sharesBlocks = false;
    for (int round = 0; round < fewRounds; ++round) {
        const DailyCost first = runDaily(data, backups, day);
        writeFiles(data, 2 + static_cast<unsigned>(round), step);
        const DailyCost second = runDaily(data, backups, day.addDays(1));
        firstSeconds.push_back(first.seconds);
        firstSizes.push_back(first.bytes / mebibyte);
        secondSeconds.push_back(second.seconds);
        secondSizes.push_back(second.bytes / mebibyte);
        sharesBlocks = dailyCopiesIn(backups).last().sharesBlocks;
        QDir(backups).removeRecursively();
    }
    if (!sharesBlocks && !canLink(folder)) {
        std::printf("Second daily copy: skipped, because this disk can share neither blocks nor files.\n");
        return;
    }
    // Such a disk shares already the first copy with the data.
    const double wholeSize = sharesBlocks ? bytesInAll / mebibyte : median(firstSizes);
    printRow("Second daily copy, 5 % changed: disk", median(secondSizes), wholeSize, "MiB", "at most 0.1");
    printRow("Second daily copy, 5 % changed: time", median(secondSeconds), median(firstSeconds), "s",
             sharesBlocks ? "none, both share blocks" : "at most 0.333");
}

void compareIn(const QString& folder) {
    const QString tree = folder + u"/tree"_s;
    const QString copy = folder + u"/copy"_s;
    makeTree(tree);
    compareWithCp(tree, copy);
    compareWithCpInColdCache(tree, copy);
    compareDailyCopies(folder, tree);
    QDir(tree).removeRecursively();
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
