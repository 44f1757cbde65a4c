#pragma once

#include "RecordingPlatform.h"
#include "ThrottledMirror.h"

#include "controller/ControllerEnvironment.h"
#include "controller/KumaController.h"
#include "platform/SettingsStore.h"
#include "process/DockerCLI.h"
#include "statuspage/StatusPageClient.h"
#include "support/TestHome.h"

#include <QTcpSocket>

#include <memory>

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// Limits the waits for the engine, in milliseconds.
inline constexpr int engineTimeout = 90'000;

inline const auto oldTag = u"2"_s;
inline const auto newTag = u"2.1.0"_s;
/// The registry has no image with this tag.
inline const auto lackingTag = u"2.2.0"_s;
/// The path of the database below the home.
inline const auto database = u"support/Orvanel/data/kuma.db"_s;

/// A port that nothing listens on at this moment.
quint16 freePort();

/// A browser that has loaded the page and keeps its connection open; null if the page does not answer.
std::unique_ptr<QTcpSocket> openPage(int port);

/// A controller in a home of its own, with the engine and the registry that tests/engine/run has started.
class EngineWorld {
public:
    EngineWorld();
    ~EngineWorld();
    Q_DISABLE_COPY_MOVE(EngineWorld)

    void beginController();
    /// Ends the controller and removes the container and the images.
    void end();

    CommandResult docker(const QStringList& arguments) const;
    /// Empty if there is no container.
    QString containerState() const;
    /// A part of what the engine knows about the container; `part` is a template for docker.
    QString container(const QString& part) const;
    QString containerImage() const { return container(u"{{.Config.Image}}"_s); }
    QString containerId() const { return container(u"{{.Id}}"_s); }
    bool hasImage() const;

    /// Sets how the stand-in server behaves. The server reads these lines from the data folder.
    void script(const QByteArray& lines) const;
    QByteArray content(const QString& path) const;
    QStringList backups(const QString& name) const;
    /// Waits until the server in the container writes into the present data folder.
    bool isDataInUse() const;

    void choosePath(const QString& path) { m_dialogs.pathQuestions.takeLast().answer.complete(path); }
    void confirm() { m_dialogs.questions.takeLast().answer.complete(true); }

    QString errorMessage() const;
    /// The state in words, printed when a test fails.
    QString describe() const;

    TestHome m_home;
    QString m_docker = qEnvironmentVariable("ORVANEL_ENGINE_DOCKER");
    ThrottledMirror m_mirror;
    SettingsStore m_settings{m_home.path(u"settings.conf"_s)};
    StatusPageClient m_statusPage;
    RecordingNotifier m_notifier;
    RecordingLoginItem m_loginItem;
    RecordingDesktop m_desktop;
    RecordingDialogs m_dialogs;
    QString m_newestVersion = newTag;
    std::unique_ptr<KumaController> m_controller;
};

} // namespace orvanel::test
