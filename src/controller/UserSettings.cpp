#include "controller/UserSettings.h"

#include "controller/ImageTag.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int defaultPort = 3001;

constexpr auto portKey = "port"_L1;
constexpr auto slugKey = "slug"_L1;
constexpr auto stopOnQuitKey = "stopOnQuit"_L1;
constexpr auto dockerOverrideKey = "dockerOverride"_L1;
constexpr auto imageTagKey = "imageTag"_L1;
constexpr auto hasSeenGuideKey = "hasSeenGuide"_L1;
constexpr auto dailyBackupKey = "dailyBackup"_L1;
/// Not a user setting: see setTagToTakeBack().
constexpr auto tagToTakeBackKey = "tagToTakeBack"_L1;

/// Not settings of the user's either: see setSafetyCopy() and setGoingBack(). Their parts are divided by slashes, which
/// neither tags nor names have.
constexpr auto safetyCopyKey = "safetyCopy"_L1;
constexpr auto goingBackKey = "goingBack"_L1;

std::optional<SafetyCopyNote> safetyCopyFrom(const QString& text) {
    const QStringList parts = text.split(u'/');
    const bool isWhole = parts.size() == 3 && isValidImageTag(parts.at(0)) &&
                         parts.at(1).startsWith(u"before-update"_s) && !parts.at(2).isEmpty();
    return isWhole ? std::optional(SafetyCopyNote{parts.at(0), parts.at(1), parts.at(2)}) : std::nullopt;
}

std::optional<GoingBack> goingBackFrom(const QString& text) {
    const QStringList parts = text.split(u'/');
    const bool isWhole = parts.size() == 2 && isValidImageTag(parts.at(0));
    return isWhole ? std::optional(GoingBack{parts.at(0), parts.at(1)}) : std::nullopt;
}

int validPort(int port) {
    return port >= 1024 && port <= 65535 ? port : defaultPort;
}

} // namespace

UserSettings::UserSettings(SettingsStore& defaults, StateStore& state)
    : m_defaults(defaults)
    , m_state(state) {
    m_state.update([&defaults](ControllerState& read) {
        read.port = validPort(defaults.integer(portKey, 0));
        read.slug = defaults.text(slugKey, {});
        read.stopOnQuit = defaults.boolean(stopOnQuitKey, false);
        read.dockerOverride = defaults.text(dockerOverrideKey, {});
        read.imageTag = defaults.text(imageTagKey, u"2"_s);
        read.hasSeenGuide = defaults.boolean(hasSeenGuideKey, false);
        read.dailyBackup = defaults.boolean(dailyBackupKey, false);
    });
    m_safetyCopy = safetyCopyFrom(defaults.text(safetyCopyKey, {}));
    m_goingBack = goingBackFrom(defaults.text(goingBackKey, {}));
    const QString tag = defaults.text(tagToTakeBackKey, {});
    if (!tag.isEmpty() && setImageTag(tag)) {
        forgetTagToTakeBack();
    }
}

bool UserSettings::setPort(int port) {
    m_state.set(&ControllerState::port, port);
    return saved(m_defaults.setInteger(portKey, port));
}

bool UserSettings::setSlug(const QString& slug) {
    m_state.set(&ControllerState::slug, slug);
    return saved(m_defaults.setText(slugKey, slug));
}

bool UserSettings::setStopOnQuit(bool stop) {
    m_state.set(&ControllerState::stopOnQuit, stop);
    return saved(m_defaults.setBoolean(stopOnQuitKey, stop));
}

bool UserSettings::setDockerOverride(const QString& path) {
    m_state.update([&path](ControllerState& state) {
        state.dockerOverride = path;
        state.dockerPath = std::nullopt;
        state.composeAvailable = std::nullopt;
        state.dockerKind = std::nullopt;
    });
    return saved(m_defaults.setText(dockerOverrideKey, path));
}

bool UserSettings::setImageTag(const QString& tag) {
    m_state.set(&ControllerState::imageTag, tag);
    return saved(m_defaults.setText(imageTagKey, tag));
}

bool UserSettings::setHasSeenGuide(bool seen) {
    m_state.set(&ControllerState::hasSeenGuide, seen);
    return saved(m_defaults.setBoolean(hasSeenGuideKey, seen));
}

bool UserSettings::setDailyBackup(bool enabled) {
    m_state.set(&ControllerState::dailyBackup, enabled);
    return saved(m_defaults.setBoolean(dailyBackupKey, enabled));
}

bool UserSettings::setTagToTakeBack(const QString& tag) {
    return saved(m_defaults.setText(tagToTakeBackKey, tag));
}

void UserSettings::forgetTagToTakeBack() {
    forget(tagToTakeBackKey);
}

bool UserSettings::setSafetyCopy(const SafetyCopyNote& copy) {
    m_safetyCopy = copy;
    return saved(m_defaults.setText(safetyCopyKey, u"%1/%2/%3"_s.arg(copy.tag, copy.folder, copy.fingerprint)));
}

void UserSettings::forgetSafetyCopy() {
    m_safetyCopy.reset();
    forget(safetyCopyKey);
}

bool UserSettings::setGoingBack(const GoingBack& going) {
    m_goingBack = going;
    return saved(m_defaults.setText(goingBackKey, u"%1/%2"_s.arg(going.tag, going.data)));
}

void UserSettings::forgetGoingBack() {
    m_goingBack.reset();
    forget(goingBackKey);
}

void UserSettings::forget(QLatin1StringView key) {
    if (!m_defaults.text(key, {}).isEmpty()) {
        m_defaults.setText(key, {});
    }
}

bool UserSettings::saved(bool success) {
    if (!success) {
        replaceError(m_state, notSaved());
    }
    return success;
}

OpError UserSettings::notSaved() const {
    return {u"The settings could not be saved."_s, u"%1 could not be written."_s.arg(file())};
}

} // namespace orvanel
