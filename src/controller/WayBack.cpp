#include "controller/WayBack.h"

#include "controller/ImageTag.h"

#include <exception>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

Alert goBackQuestion(const SafetyCopyNote& copy, const QString& backupsDir) {
    return {
        .style = Alert::Style::Warning,
        .message = u"Go back to Uptime Kuma %1?"_s.arg(copy.tag),
        .informativeText =
            u"Uptime Kuma is stopped, its data is put back as it was before the update (%1), and version %2 starts. "
            "What was recorded or changed since the update is then missing.\n\nThe present data is kept once in the "
            "folder\n%3\nas \"before-restore-\" and the time."_s.arg(copy.folder, copy.tag, backupsDir),
        .confirmButton = u"Go Back"_s,
        .cancelButton = u"Cancel"_s,
    };
}

Outcome nothingChanged() {
    return failed(u"Cancelled."_s, u"Nothing was changed."_s);
}

} // namespace

WayBack::WayBack(const ContainerContext& context, UserSettings& settings, Operations& operations,
                 ContainerOperations& containerOperations, BackupOperations& backups, Dialogs& dialogs,
                 TaskScope& tasks)
    : m_context(context)
    , m_settings(settings)
    , m_operations(operations)
    , m_containerOperations(containerOperations)
    , m_backups(backups)
    , m_dialogs(dialogs)
    , m_tasks(tasks) {}

QString WayBack::pathOf(const SafetyCopyNote& copy) const {
    return m_context.files.backupsDir() + u'/' + copy.folder;
}

/// Which folder the data is, so that it can be told whether it was replaced.
QString WayBack::presentData() const {
    return m_context.host.identity(m_context.files.dataDir());
}

void WayBack::look() const {
    const std::optional<SafetyCopyNote>& copy = m_settings.safetyCopy();
    const bool isThere = copy && copy->tag != m_context.state->imageTag && m_context.host.looksLikeData(pathOf(*copy));
    m_context.state.set(&ControllerState::wayBackTag, isThere ? std::optional(copy->tag) : std::nullopt);
}

void WayBack::goBack() {
    if (const std::optional<SafetyCopyNote>& copy = m_settings.safetyCopy()) {
        m_tasks.start(askToGoBack(*copy), u"question about going back"_s);
    }
}

QCoro::Task<void> WayBack::askToGoBack(SafetyCopyNote copy) {
    const Alert question = goBackQuestion(copy, m_context.files.backupsDir());
    const bool confirmed = co_await m_dialogs.confirm(question);
    if (confirmed) {
        m_operations.run(u"Going back to the version before…"_s,
                         [this, copy](std::stop_token stop) { return performGoBack(copy, stop); });
    }
}

/// Nothing is stopped or moved before the image and the copy are known to be there.
QCoro::Task<Outcome> WayBack::performGoBack(SafetyCopyNote copy, std::stop_token stop) {
    const std::optional<Container> found = findContainer(m_context);
    if (!found) {
        setDockerState(m_context.state, DockerState::missing);
        co_return std::nullopt;
    }
    const Container& container = *found;
    const Outcome noCopy = co_await obstacleToCopy(copy);
    if (noCopy) {
        co_return noCopy;
    }
    const Outcome noImage = co_await bringImage(container, copy.tag, stop);
    if (noImage) {
        co_return noImage;
    }
    if (stop.stop_requested() || m_context.bringUp.isForbidden()) {
        co_return nothingChanged();
    }
    if (!m_settings.setGoingBack({.tag = copy.tag, .data = presentData()})) {
        m_settings.forgetGoingBack();
        co_return Failure{.error = m_settings.notSaved()};
    }
    const QString source = pathOf(copy);
    const Outcome notReplaced = co_await m_backups.replaceData(source, stop);
    const bool isStored = settle();
    if (notReplaced) {
        co_return notReplaced;
    }
    const Outcome notStarted = co_await m_backups.startOnReplacedData(stop);
    if (!notStarted && !isStored) {
        co_return Failure{.error = m_settings.notSaved()};
    }
    co_return notStarted;
}

/// The copy must be what the update made: the old version may not understand anything else.
QCoro::Task<Outcome> WayBack::obstacleToCopy(SafetyCopyNote copy) const {
    const QString folder = pathOf(copy);
    const auto sentence = u"The backup from before the update is not what it was, so nothing was changed."_s;
    if (!m_context.host.looksLikeData(folder)) {
        co_return failed(sentence, u"%1 is gone or holds no data."_s.arg(folder));
    }
    try {
        const QString fingerprint = co_await m_context.host.fingerprint(folder);
        if (fingerprint != copy.fingerprint) {
            co_return failed(sentence, u"Files in %1 were changed, added or deleted since the update."_s.arg(folder));
        }
    } catch (const std::exception& thrown) {
        co_return failed(sentence, QString::fromUtf8(thrown.what()));
    }
    co_return std::nullopt;
}

QCoro::Task<Outcome> WayBack::bringImage(Container container, QString tag, std::stop_token stop) {
    const bool isThere = co_await container.hasImage(tag);
    if (isThere) {
        co_return std::nullopt;
    }
    const CommandResult pull = co_await m_containerOperations.pullImage(container, stop, tag);
    if (pull.isSuccess()) {
        m_operations.show(u"Going back to the version before…"_s);
        co_return std::nullopt;
    }
    if (pull.cancelled) {
        co_return nothingChanged();
    }
    co_return failed(u"Uptime Kuma %1 could not be downloaded, so nothing was changed."_s.arg(tag), pull.output);
}

bool WayBack::settle() const {
    const std::optional<GoingBack>& going = m_settings.goingBack();
    if (!going) {
        return true;
    }
    BackupManager::recover(m_context.files.dataDir(), m_context.files.backupsDir());
    const QString present = presentData();
    // The data that there was cannot be reached now; the next run may find it.
    if (present.isEmpty() && !going->data.isEmpty()) {
        return true;
    }
    if (present != going->data) {
        if (!m_settings.setImageTag(going->tag)) {
            return false;
        }
        m_settings.forgetSafetyCopy();
    }
    m_settings.forgetGoingBack();
    look();
    return true;
}

} // namespace orvanel
