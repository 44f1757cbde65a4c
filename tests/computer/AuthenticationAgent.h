#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStringList>

#include <memory>

namespace orvanel::test {

/// Answers the questions for a password in one login session, as the authentication agent of a desktop does
/// (https://www.freedesktop.org/software/polkit/docs/latest/, org.freedesktop.PolicyKit1.AuthenticationAgent).
class AuthenticationAgent final : public QDBusVirtualObject {
public:
    enum class Answer {
        password,
        wrongPassword,
        /// The user closes the dialog.
        dismissal,
    };

    explicit AuthenticationAgent(QString password);

    /// Serves the session that this process belongs to. A sentence when that is refused, otherwise empty.
    [[nodiscard]] QString serveSession();
    /// What the user does at the next questions.
    void answerWith(Answer answer) { m_answer = answer; }
    /// The messages of the questions so far.
    QStringList questions() const { return m_questions; }

    QString password() const { return m_password; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void begin(const QDBusMessage& message);
    void readAnswer();
    void finish(bool isGranted);

    const QString m_password;
    Answer m_answer = Answer::password;
    QStringList m_questions;
    QDBusMessage m_open;
    std::unique_ptr<QProcess> m_helper;
};

} // namespace orvanel::test
