#pragma once

#include "ControllerFixture.h"
#include "ReadingsWatch.h"
#include "SetupWatch.h"

#include <QSet>

namespace orvanel::test {

/// Looks over a controller's shoulder while a test does whatever it likes with it, and notices when one of the rules is
/// broken that hold at all times, whatever happens in whatever order. Made before the controller.
class ControllerWatch : public QObject {
    Q_OBJECT

public:
    explicit ControllerWatch(ControllerFixture* world);
    /// Connects to the controller, which must be new.
    void attach();

    /// The rule that was broken first; empty while all hold.
    QString violation() const { return m_violation; }
    /// Notes that a rule is broken.
    void violate(const QString& rule);
    /// Checks what can be seen from outside; everything that takes no time must have happened.
    void checkState();

    int operations() const { return m_operations; }
    /// What has come about so far: the commands that were run, the errors, the states, the news.
    const QSet<QString>& seen() const { return m_seen; }

    bool isOperating() const { return m_isOperating; }
    SetupWatch& setup() { return m_setup; }
    /// Whether the operation under way is busy with something that is neither a command nor a backup or restore.
    bool isDeleting() const { return m_isOperating && m_underWay.isEmpty() && m_world->backups.underWay == 0; }

    /// What the test is about to do, or has just done.
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
    /// What the controller knew before it changed something.
    struct Snapshot {
        DockerState dockerState = DockerState::unknown;
        KumaState kuma = KumaState::stopped;
        std::optional<QString> busy;
        bool pulling = false;
        bool isSettingUp = false;
    };
    /// Whose turn it is: what the controller does now follows from the end of this.
    struct Cause {
        enum class Kind { none, operation, setup, look } kind = Kind::none;
        /// The operations begun when it was asked.
        int operations = 0;
        /// The tool that a setup has asked.
        QString docker = {};
    };

    QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> limit,
                                   std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput);
    QCoro::Task<CommandResult> runSetup(QString path, QStringList arguments, std::chrono::duration<double> limit,
                                        std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput);
    QCoro::Task<bool> pageAnswers(int port);
    QCoro::Task<StatusPageResult> fetch(int port, QString slug);

    void jobBegins(const ScriptedBackups::Job& job);
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
    /// The tags that an update may end with; empty when the settings changed meanwhile.
    QStringList m_tags;
    QStringList m_operationCommands;
    QString m_underWay;
    bool m_isImagePresent = false;
    /// A cancel came before the container was being brought up; it came while nothing had been done yet.
    bool m_isCancelled = false;
    bool m_mustEnd = false;
    bool m_hasPortError = false;

    SetupWatch m_setup;

    bool m_isLoopWanted = false;
    bool m_isLeaving = false;
    /// Somebody who looks once has just ended.
    bool m_mayLook = false;
    int m_rechecks = 0;

    ReadingsWatch m_readings;
    QSet<QByteArray> m_composeTexts;
    QSet<QString> m_seen;
};

} // namespace orvanel::test
