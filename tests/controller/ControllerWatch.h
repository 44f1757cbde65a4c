#pragma once

#include "ControllerFixture.h"
#include "ReadingsWatch.h"
#include "SetupWatch.h"

#include <QSet>

namespace orvanel::test {

/// Watches a controller while a test does anything with it, and notices when it breaks one of the rules that always
/// hold. Made before the controller.
class ControllerWatch : public QObject {
    Q_OBJECT

public:
    explicit ControllerWatch(ControllerFixture* world);
    /// Connects to the controller, which must be new.
    void attach();

    /// The first rule that was broken; empty if none was.
    QString violation() const { return m_violation; }
    /// Notes that a rule is broken.
    void violate(const QString& rule);
    /// Checks what can be seen from outside. Call it when everything that takes no time has happened.
    void checkState();

    int operations() const { return m_operations; }
    /// What has happened so far: commands that were run, errors, states, news.
    const QSet<QString>& seen() const { return m_seen; }

    bool isOperating() const { return m_isOperating; }
    SetupWatch& setup() { return m_setup; }
    /// Whether the operation under way is doing something that is not a command, a backup or a restore.
    bool isDeleting() const { return m_isOperating && m_underWay.isEmpty() && m_world->backups.underWay == 0; }

    /// Tell the watch what the test is about to do, or has just done.
    void willRecheck();
    void didRecheck();
    void didBegin() {
        m_isLoopWanted = true;
        m_isLeaving = false;
    }
    void didShutDown();
    void willCancel();
    void didChangeComposeSettings();
    void didChangeSlug();

private:
    /// The state before the controller's latest change.
    struct Snapshot {
        DockerState dockerState = DockerState::unknown;
        KumaState kuma = KumaState::stopped;
        std::optional<QString> busy;
        bool pulling = false;
        bool isSettingUp = false;
    };
    /// What has just ended, which explains what the controller does now.
    struct Cause {
        enum class Kind { none, operation, setup, look } kind = Kind::none;
        /// How many operations had begun when it was asked.
        int operations = 0;
        /// The tool that a setup asked.
        QString docker = {};
    };

    QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> limit,
                                   std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput);
    QCoro::Task<CommandResult> runSetup(QString path, QStringList arguments, std::chrono::duration<double> limit,
                                        std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput);
    QCoro::Task<PageAnswer> pageAnswers(int port);
    QCoro::Task<StatusPageResult> fetch(int port, QString slug);

    void jobBegins(const ScriptedBackups::Job& job);
    void dailyJobBegins(const ScriptedBackups::Job& job);
    void operationCommandBegins(const QString& name, bool isCancelled);
    void operationCommandEnds(const QString& name, const CommandResult& result);
    void lookBegins(const QString& name);
    void readBegins(const QString& slug);

    void changed();
    void operationBegins(const QString& label);
    void operationEnds();
    void checkChangeDuringOperation(const Snapshot& now);
    void checkChangeWhileIdle(const Snapshot& now);
    bool isFromSetup(const Snapshot& now) const;
    void checkComposeFile();
    void checkUpdated();
    void checkWentBack();
    void remember(const Snapshot& now);
    Snapshot snapshot() const;

    ControllerFixture* m_world;
    RunCommand m_run;
    QString m_violation;
    Snapshot m_before;
    Cause m_cause;

    int m_operations = 0;
    bool m_isOperating = false;
    QString m_label;
    /// The tags that an update may end with; empty if the settings changed meanwhile.
    QStringList m_tags;
    /// How many folders had been the data when the operation began.
    int m_dataFolders = 0;
    std::optional<QString> m_wayBackTag;
    QStringList m_operationCommands;
    QString m_underWay;
    bool m_isImagePresent = false;
    /// Whether a cancel came before the container was being brought up, and whether it came before anything had been
    /// done.
    bool m_isCancelled = false;
    bool m_mustEnd = false;
    bool m_hasPortError = false;

    SetupWatch m_setup;

    bool m_isLoopWanted = false;
    bool m_isLeaving = false;
    /// Whether an operation or a setup that ends with a look at the container has just ended.
    bool m_mayLook = false;
    int m_rechecks = 0;

    ReadingsWatch m_readings;
    QSet<QByteArray> m_composeTexts;
    QSet<QString> m_seen;
};

} // namespace orvanel::test
