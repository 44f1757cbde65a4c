#pragma once

#include "ControllerWatch.h"
#include "task/TaskScope.h"

#include <random>

namespace orvanel::test {

/// One sequence of random clicks, settings, mishaps and pauses. The same seed gives the same sequence.
class RandomSequence {
public:
    explicit RandomSequence(std::uint64_t seed);

    /// Carries out the sequence and lets everything end. Returns the rule that was broken; empty if none was.
    QString run();
    /// What was done, line by line.
    QStringList trace() const { return m_trace; }
    const QSet<QString>& seen() const { return m_watch.seen(); }

private:
    using Step = void (RandomSequence::*)();
    struct Choice {
        int weight;
        const char* name;
        Step step;
    };
    static const std::vector<Choice>& choices();

    int below(int bound);
    bool chance(int percent) { return below(100) < percent; }
    template <class Value>
    Value oneOf(std::initializer_list<Value> values) {
        return *(values.begin() + below(static_cast<int>(values.size())));
    }
    void note(const QString& what) { m_trace.last() += u' ' + what; }

    void takeStep();
    void settle();
    void finish();

    void start();
    void stop();
    void restart();
    void requestOperation(void (KumaController::*request)());
    void cancel();
    void removeEverything();
    void answerDialog();
    void choosePath();
    void checkForUpdates();
    void updateNow();
    void goBack();
    void backUpNow();
    void restoreBackup();
    void switchDailyBackup();
    void changeDay();
    void installRuntime();
    void startRuntime();
    void installDocker();
    void joinGroup();
    void startService();
    void requestSetup(void (KumaController::*request)());
    void cancelSetup();
    void recheck();
    void fetchLogs();
    void begin();
    void shutDown();
    void pause();
    void longPause();

    void changeSlug();
    void changePort();
    void changeTag();
    void changeOverride();

    void changeDaemon();
    void changeTools();
    void changeUnits();
    void answerUnits();
    void changeRegistry();
    void changePorts();
    void changeContainer();
    void delayCommand();
    void hangCommand();
    void failCommand();
    void failHelper();
    void changePage();
    void answerPage();
    void changeStatusPage();
    void answerStatusPage();
    void changeReleases();
    void changeBackups();
    void endBackups();
    StatusPageResult randomStatus();

    std::mt19937_64 m_random;
    ControllerFixture m_world;
    ControllerWatch m_watch{&m_world};
    KumaController* m_kuma = nullptr;
    TaskScope m_tasks;
    QStringList m_trace;
};

} // namespace orvanel::test
