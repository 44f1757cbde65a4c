#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace orvanel::test {

/// The session manager of a desktop for one program (XSMP 1.0), at an address of its own. One at a time.
class SessionManager final : public QObject {
    Q_OBJECT

public:
    SessionManager();
    ~SessionManager() override;

    /// The value for the variable SESSION_MANAGER.
    QString address() const;

    /// Whether a program belongs to the session and has said that it is ready.
    bool hasProgram() const;
    /// Asks the program to save its work because the session ends.
    void endSession();
    /// Whether the program has answered that it succeeded.
    std::optional<bool> saved() const;
    /// Tells the program to end.
    void die();
    /// How it wants to be treated by the next session, a number of SmRestart…; none when it has not said.
    std::optional<int> restartStyle() const;

private:
    struct Session;
    const std::unique_ptr<Session> m_session;
};

} // namespace orvanel::test
