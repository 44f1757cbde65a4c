#include "AuthenticationAgent.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>

#include <pwd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// "(sa{sv})": a kind, such as "unix-session", and what it is called.
struct Subject {
    QString kind;
    QVariantMap details;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Subject& subject) {
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Subject& subject) {
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

} // namespace orvanel::test

Q_DECLARE_METATYPE(orvanel::test::Subject)

namespace orvanel::test {
namespace {

/// Checks the password with PAM, and tells polkit. It belongs to root, as only root may do both.
const QString helperProgram = u"/usr/lib/polkit-1/polkit-agent-helper-1"_s;
const QString objectPath = u"/io/github/orvanel/test/AuthenticationAgent"_s;

QString userName() {
    const passwd* const entry = ::getpwuid(::getuid());
    return entry != nullptr ? QString::fromLocal8Bit(entry->pw_name) : QString();
}

} // namespace

AuthenticationAgent::AuthenticationAgent(QString password)
    : m_password(std::move(password)) {
    qDBusRegisterMetaType<Subject>();
}

QString AuthenticationAgent::serveSession() {
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.registerVirtualObject(objectPath, this)) {
        return u"the system bus cannot be reached"_s;
    }
    const Subject session{u"unix-session"_s, {{u"session-id"_s, qEnvironmentVariable("XDG_SESSION_ID")}}};
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.PolicyKit1"_s, u"/org/freedesktop/PolicyKit1/Authority"_s,
                                       u"org.freedesktop.PolicyKit1.Authority"_s, u"RegisterAuthenticationAgent"_s);
    call << QVariant::fromValue(session) << u"C"_s << objectPath;
    return bus.call(call).errorMessage();
}

QString AuthenticationAgent::introspect(const QString& /*path*/) const {
    return {};
}

bool AuthenticationAgent::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() == u"BeginAuthentication") {
        begin(message);
        return true;
    }
    if (message.member() == u"CancelAuthentication") {
        finish(false);
        return connection.send(message.createReply());
    }
    return false;
}

void AuthenticationAgent::begin(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    m_questions.append(arguments.value(1).toString());
    m_open = message;
    if (m_answer == Answer::dismissal) {
        finish(false);
        return;
    }
    const QString cookie = arguments.value(4).toString();
    m_helper = std::make_unique<QProcess>();
    QObject::connect(m_helper.get(), &QProcess::readyReadStandardOutput, this, &AuthenticationAgent::readAnswer);
    QObject::connect(m_helper.get(), &QProcess::errorOccurred, this, [this] { finish(false); });
    m_helper->start(helperProgram, {userName()});
    m_helper->write(cookie.toUtf8() + '\n');
}

void AuthenticationAgent::readAnswer() {
    while (m_helper && m_helper->canReadLine()) {
        const QByteArray line = m_helper->readLine();
        if (line.startsWith("PAM_PROMPT_ECHO_OFF")) {
            const QString typed = m_answer == Answer::password ? m_password : u"not "_s + m_password;
            m_helper->write(typed.toUtf8() + '\n');
        } else if (line.startsWith("SUCCESS") || line.startsWith("FAILURE")) {
            finish(line.startsWith("SUCCESS"));
        }
    }
}

/// polkit knows from the helper whether the password was right; the reply only ends the question.
void AuthenticationAgent::finish(bool isGranted) {
    if (m_open.type() != QDBusMessage::MethodCallMessage) {
        return;
    }
    const bool isDismissed = !isGranted && m_answer == Answer::dismissal;
    const QDBusMessage reply =
        isDismissed ? m_open.createErrorReply(u"org.freedesktop.PolicyKit1.Error.Cancelled"_s, u"dismissed"_s)
                    : m_open.createReply();
    QDBusConnection::systemBus().send(reply);
    m_open = QDBusMessage();
    if (m_helper) {
        // It ends by itself, soon after its last word.
        QProcess* const helper = m_helper.release();
        helper->disconnect(this);
        QObject::connect(helper, &QProcess::finished, helper, &QObject::deleteLater);
        helper->closeWriteChannel();
    }
}

} // namespace orvanel::test
